#pragma once

#include "common/qvcommon_export.h"

#include <QString>

namespace common::chrome {

/** Registration of a browser plug-in: not on Linux, so nothing is registered, ever. */
class QVCOMMON_EXPORT PluginUtils
{
public:
    ~PluginUtils();

    /** Always false. */
    static bool IsRegistered(const QString&);
    /** Always false. */
    static bool RegisterPlugin(const QString&);
    /** Always false. */
    static bool UnregisterPlugin(const QString&);
    /** Always false. */
    static bool IsChromeInstalled();
};

} // namespace common::chrome
