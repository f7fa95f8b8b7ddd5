#include "common/tools/web/web.h"

#include "common/deployment_p.h"
#include "common/tools/sip/sipid.h"

namespace tools::web {

namespace {

constexpr int otherLocale = 0;
constexpr int primaryLocale = 1;
constexpr int europeanLocale = 2;

const QString primaryUrl =
    QStringLiteral("https://" QVCOMMON_PRIMARY_WEB_SERVICES_HOST "/integration/vesper");
const QString alternativeUrl =
    QStringLiteral("https://" QVCOMMON_ALTERNATIVE_WEB_SERVICES_HOST "/integration/vesper");

} // namespace

int Web::GetLocale(const QString& sipUri)
{
    QString user;
    QString host;
    QString displayName;
    sip::SipId::ParseURI(sipUri, user, host, displayName);
    if (host.endsWith(QLatin1String(".ru")))
        return primaryLocale;
    return host.endsWith(QLatin1String(".eu")) ? europeanLocale : otherLocale;
}

QString Web::GetUrl(const QString& sipUri, const QString& first, const QString& second)
{
    return GetLocale(sipUri) == primaryLocale ? first : second;
}

QString Web::GetWebServisesUrl(const QString& sipUri)
{
    return GetUrl(sipUri, primaryUrl, alternativeUrl);
}

} // namespace tools::web
