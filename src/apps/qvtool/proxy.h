#pragma once

namespace qvtool {

/**
 * Has all transfers use the proxies of http_proxy and https_proxy or HTTPS_PROXY, as a URL or as
 * HOST:PORT, except for the hosts of no_proxy or NO_PROXY, "*" for all.
 */
void UseProxiesOfEnvironment();

} // namespace qvtool
