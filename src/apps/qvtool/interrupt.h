#pragma once

#include <QObject>

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

Q_SIGNALS:
    void interrupted();
};

} // namespace qvtool
