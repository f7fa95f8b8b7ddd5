#pragma once

#include "command.h"

namespace qvtool {

/** Prints the identity of this machine. */
class DeviceIdCommand : public Command
{
    Q_OBJECT

public:
    explicit DeviceIdCommand(ToolLogger& log);

protected:
    void Declare(QCommandLineParser& parser) override;
    void Configure(Arguments& arguments) override;
    void Start() override;
    QString Stop() override;

private:
    bool salted_ = false;
    QString salt_;
};

} // namespace qvtool
