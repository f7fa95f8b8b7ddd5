#pragma once

#include "common/qvcommon_export.h"

#include <QString>

namespace common::chrome {

/** Registration of a browser plug-in: not on Linux, so nothing is registered, ever. */
class QVCOMMON_EXPORT PluginUtils
{
public:
    ~PluginUtils();

    static bool IsRegistered(QString const&);
    static bool RegisterPlugin(QString const&);
    static bool UnregisterPlugin(QString const&);
    static bool IsChromeInstalled();
};

} // namespace common::chrome
