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

    static QStringList availableProtocols();
    static QStringList currentAvailableProtocols();
    static bool registerProtocols(QStringList const&, QString const&, QString const&);
    static bool unregisterProtocols(QStringList const&, QString const&, QString const&);
    static bool unregisterApplication(QString const&, QString const&);
    static QStringList stateOfProtocols(QString const&, QString const&);
};

} // namespace common
