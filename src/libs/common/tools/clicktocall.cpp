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

bool ClickToCall::registerProtocols(QStringList const&, QString const&, QString const&)
{
    return false;
}

bool ClickToCall::unregisterProtocols(QStringList const&, QString const&, QString const&)
{
    return false;
}

bool ClickToCall::unregisterApplication(QString const&, QString const&)
{
    return false;
}

QStringList ClickToCall::stateOfProtocols(QString const&, QString const&)
{
    return {};
}

} // namespace common
