#pragma once

#include <QByteArray>
#include <QObject>

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

private:
    QByteArray all_;
};

} // namespace qvtool
