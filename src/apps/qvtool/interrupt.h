#pragma once

#include <QObject>
#include <QSocketNotifier>

namespace qvtool {

/**
 * Turns the first SIGINT or SIGTERM into a Qt signal. The second ends the process as usual. There
 * is one at most.
 */
class Interrupt : public QObject
{
    Q_OBJECT

public:
    explicit Interrupt(QObject* parent = nullptr);
    ~Interrupt() override;

    /** Whether a signal has come, also while the event loop was busy. */
    static bool HasCome();

Q_SIGNALS:
    void interrupted();

private:
    QSocketNotifier* notifier_ = nullptr;
};

} // namespace qvtool
