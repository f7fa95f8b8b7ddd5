#pragma once

#include <QCommandLineParser>
#include <QList>
#include <QPair>
#include <QString>
#include <QUrl>

namespace qvtool {

/**
 * Checked access to a parsed command line. The first thing that is wrong is kept, so a command
 * reads all it needs and then asks once.
 */
class Arguments
{
public:
    explicit Arguments(const QCommandLineParser& parser);

    bool Has(const QString& option) const;
    QString Text(const QString& option) const;
    /** Fails unless there are exactly these positional arguments. */
    void ExpectPositionals(const QStringList& names);
    /** All positional arguments; fails unless there are as many as names, or more. */
    QStringList AllPositionals(const QStringList& names);
    /** The positional argument with that index. */
    QString Positional(int index) const;

    int Number(const QString& option, int minimum);
    /** A count of bytes; -1 if the option was not given. */
    qint64 Size(const QString& option);
    /** So many hexadecimal digits, or empty if the option was not given. */
    QString Digest(const QString& option, int digits);
    /** Every use of the option, split at the first "=". */
    QList<QPair<QString, QString>> Pairs(const QString& option);
    /** The positional argument with that index as an absolute http or https address. */
    QUrl HttpUrl(int index);

    void Fail(const QString& reason);
    /** What is wrong first; empty if nothing is. */
    QString Error() const { return error_; }

private:
    qint64 Integer(const QString& option, qint64 minimum, qint64 maximum);

    const QCommandLineParser& parser_;
    QString error_;
};

} // namespace qvtool
