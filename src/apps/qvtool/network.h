#pragma once

#include "command.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

namespace qvtool {

/** How a reply began. */
struct ReplyHead
{
    int status = 0;
    QString phrase;
    QString redirection;       ///< where a redirect leads that was not followed
    QString coding;            ///< the content coding
    qint64 announcedSize = -1; ///< or -1, if there was none

    /** As in "404 Not Found". */
    QString StatusLine() const { return QString::number(status) + ' ' + phrase; }
};

/** A manager that remembers how the latest reply began. */
class Network : public QNetworkAccessManager
{
public:
    Network();

    /**
     * From now on all managers use the proxies of http_proxy and https_proxy or HTTPS_PROXY, as a URL
     * or as HOST:PORT, except for the hosts of no_proxy or NO_PROXY, "*" for all.
     */
    static void UseProxiesOfEnvironment();

    const ReplyHead& Head() const { return head_; }
    /** What a reply with an error status says, otherwise the library's @p message. */
    QString Reason(QString message, const QUrl& url) const;

private:
    ReplyHead head_;
};

/** What download, get and post have in common. */
constexpr Argument urlArgument = {
    "URL", "Address that begins with http:// or https://. The environment variables http_proxy, "
           "https_proxy and no_proxy are respected."};
inline const Options networkOptions = {
    {"insecure", "Do not verify the server's certificate."},
    {"tries",
     "Number of attempts (default: 1). A download is tried again after any failure, get and post "
     "only after a network problem.",
     "N", "1"},
    {"timeout", "Give up when the server is silent for so long (default: 30); 0 for no limit.",
     "SECONDS", "30"},
};

} // namespace qvtool
