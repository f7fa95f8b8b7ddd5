#pragma once

#include <QByteArray>

namespace tools {

enum class GunzipResult { Done, Damaged, TooLarge };

/** Decompresses the first gzip member of @p input, but no more than @p maxSize bytes of it. */
GunzipResult Gunzip(const QByteArray& input, QByteArray& output, int maxSize);

} // namespace tools
