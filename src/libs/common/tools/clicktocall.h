#pragma once

#include "common/qvcommon_export.h"

#include <QString>
#include <QStringList>

namespace common {

/**
 * Registration of the client for the protocols of telephone links: not on Linux, where packages do
 * that, so nothing is available or registered, ever.
 */
class QVCOMMON_EXPORT ClickToCall
{
public:
    /** An empty list. */
    static QStringList availableProtocols();
    /** An empty list. */
    static QStringList currentAvailableProtocols();
    /** Always false. */
    static bool registerProtocols(const QStringList&, const QString&, const QString&);
    /** Always false. */
    static bool unregisterProtocols(const QStringList&, const QString&, const QString&);
    /** Always false. */
    static bool unregisterApplication(const QString&, const QString&);
    /** An empty list. */
    static QStringList stateOfProtocols(const QString&, const QString&);
};

} // namespace common
