#pragma once

#include "command.h"

#include <common/tools/version.h>

namespace qvtool {

/** Tells which of two versions is the greater one. */
class CompareCommand : public Command
{
    Q_OBJECT

public:
    explicit CompareCommand(ToolLogger& log);

protected:
    void Declare(QCommandLineParser& parser) override;
    void Configure(Arguments& arguments) override;
    void Start() override;
    QString Stop() override;

private:
    common::Version first_;
    common::Version second_;
};

} // namespace qvtool
