#pragma once

#include <QCryptographicHash>
#include <QIODevice>

namespace tools::string {

/** Digest of what is left to read, in lower-case hexadecimal; empty if it cannot be read. */
QString DigestOf(QIODevice& device, QCryptographicHash::Algorithm algorithm);

} // namespace tools::string
