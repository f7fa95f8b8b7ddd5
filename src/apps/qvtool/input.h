#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

class QSocketNotifier;

namespace qvtool {

/** Reads standard input from the event loop, which stays awake for an interrupt meanwhile. */
class Input : public QObject
{
    Q_OBJECT

public:
    explicit Input(QObject* parent);

    /** Takes the next complete line, without its end, of what was read and not taken yet. */
    bool TakeLine(QByteArray& line);
    /** Takes everything that was read and not taken yet. */
    QByteArray TakeRest();

Q_SIGNALS:
    /** More was read. */
    void arrived();
    /** The input has ended. The last signal. */
    void ended();
    /** The input cannot be read, or is too large to be kept. The last signal. */
    void failed(const QString& reason);

private:
    void Read();
    void Fail(const QString& reason);

    QSocketNotifier* notifier_; // a child
    QByteArray kept_;
    int searched_ = 0; // no line ends before
};

/** The content of a regular file; with @p error set, if it cannot be read. */
QByteArray ReadFile(const QString& path, QString& error);

/** Without one line end that closes the text. */
QByteArray WithoutLineEnd(QByteArray text);

} // namespace qvtool
