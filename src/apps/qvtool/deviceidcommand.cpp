#include "deviceidcommand.h"

#include "text.h"

#include <common/shell/linux/devinfo.h>

namespace qvtool {

using common::shell::DeviceInfo;

namespace {

const auto saltOption = QStringLiteral("salt");

} // namespace

DeviceIdCommand::DeviceIdCommand(ToolLogger& log)
    : Command(QStringLiteral("device-id"), QStringLiteral("Print the identity of this machine."),
              log)
{
}

void DeviceIdCommand::Declare(QCommandLineParser& parser)
{
    parser.addOption({saltOption,
                      QStringLiteral("Print the identity mixed with TEXT instead: different texts "
                                     "give identities that cannot be told to belong together."),
                      QStringLiteral("TEXT")});
}

void DeviceIdCommand::Configure(Arguments& arguments)
{
    arguments.ExpectPositionals({});
    salted_ = arguments.Has(saltOption);
    salt_ = arguments.Text(saltOption);
}

QString DeviceIdCommand::Stop()
{
    return QStringLiteral("nothing was printed");
}

void DeviceIdCommand::Start()
{
    FinishWritten(PrintLine(stdout, salted_ ? DeviceInfo::GetSerialNumberMD5Hash(salt_)
                                            : DeviceInfo::GetSerialNumber()));
}

} // namespace qvtool
