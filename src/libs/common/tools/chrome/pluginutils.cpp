#include "common/tools/chrome/pluginutils.h"

namespace common::chrome {

PluginUtils::~PluginUtils()
{
}

bool PluginUtils::IsRegistered(QString const&)
{
    return false;
}

bool PluginUtils::RegisterPlugin(QString const&)
{
    return false;
}

bool PluginUtils::UnregisterPlugin(QString const&)
{
    return false;
}

bool PluginUtils::IsChromeInstalled()
{
    return false;
}

} // namespace common::chrome
