#include "common/tools/chrome/pluginutils.h"

namespace common::chrome {

PluginUtils::~PluginUtils() = default;

bool PluginUtils::IsRegistered(const QString&)
{
    return false;
}

bool PluginUtils::RegisterPlugin(const QString&)
{
    return false;
}

bool PluginUtils::UnregisterPlugin(const QString&)
{
    return false;
}

bool PluginUtils::IsChromeInstalled()
{
    return false;
}

} // namespace common::chrome
