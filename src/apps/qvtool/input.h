#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

namespace qvtool {

/** Reads standard input from the event loop, which stays awake for an interrupt meanwhile. */
class Input : public QObject
{
    Q_OBJECT

public:
    explicit Input(QObject* parent);

Q_SIGNALS:
    /** A line was completed; all that was read so far. */
    void line(const QByteArray& all);
    /** The input has ended; all that was read. The last signal. */
    void ended(const QByteArray& all);
    /** The input cannot be read. The last signal. */
    void failed(const QString& reason);

private:
    QByteArray all_;
};

/** The content of a regular file; with @p error set, if it cannot be read. */
QByteArray ReadFile(const QString& path, QString& error);

/** Without one line end that closes the text. */
QByteArray WithoutLineEnd(QByteArray text);

} // namespace qvtool
