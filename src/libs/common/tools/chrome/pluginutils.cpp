#include "common/tools/chrome/pluginutils.h"

namespace common::chrome {

// Clients call it; defaulted, it would tempt one to move it into the header.
PluginUtils::~PluginUtils()
{
}

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
