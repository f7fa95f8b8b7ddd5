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
    ClickToCall() = delete;

    /** An empty list. */
    static QStringList availableProtocols();
    /** An empty list. */
    static QStringList currentAvailableProtocols();
    /** Always false. */
    static bool registerProtocols(QStringList const&, QString const&, QString const&);
    /** Always false. */
    static bool unregisterProtocols(QStringList const&, QString const&, QString const&);
    /** Always false. */
    static bool unregisterApplication(QString const&, QString const&);
    /** An empty list. */
    static QStringList stateOfProtocols(QString const&, QString const&);
};

} // namespace common
