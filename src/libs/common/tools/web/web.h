#pragma once

#include "common/qvcommon_export.h"

#include <QString>

namespace tools::web {

/**
 * Chooses between the two deployments of the service's web interfaces by an account's SIP host.
 * Stateless; any thread.
 *
 * @code
 * const QUrl base(tools::web::Web::GetWebServisesUrl("sip:jane@example.test"));
 * @endcode
 *
 * The addresses are fixed when the library is built (see the CMake options
 * QVCOMMON_PRIMARY_WEB_SERVICES_HOST and QVCOMMON_ALTERNATIVE_WEB_SERVICES_HOST).
 */
class QVCOMMON_EXPORT Web
{
public:
    Web() = delete;

    /**
     * 1 for an account whose host ends in ".ru", 2 for ".eu" (both in lower case), 0 for any other
     * and for a text that is no address. A host with a port ends in that port, and so gives 0.
     */
    static int GetLocale(const QString& sipUri);

    /** @p first where GetLocale() is 1, else @p second. */
    static QString GetUrl(const QString& sipUri, const QString& first, const QString& second);

    /** The primary base address where GetLocale() is 1, else, also for ".eu", the alternative. */
    static QString GetWebServisesUrl(const QString& sipUri);
};

} // namespace tools::web
