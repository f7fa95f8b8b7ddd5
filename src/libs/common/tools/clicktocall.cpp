#include "common/tools/clicktocall.h"

namespace common {

QStringList ClickToCall::availableProtocols()
{
    return {};
}

QStringList ClickToCall::currentAvailableProtocols()
{
    return {};
}

bool ClickToCall::registerProtocols(const QStringList&, const QString&, const QString&)
{
    return false;
}

bool ClickToCall::unregisterProtocols(const QStringList&, const QString&, const QString&)
{
    return false;
}

bool ClickToCall::unregisterApplication(const QString&, const QString&)
{
    return false;
}

QStringList ClickToCall::stateOfProtocols(const QString&, const QString&)
{
    return {};
}

} // namespace common
