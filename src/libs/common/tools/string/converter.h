#pragma once

#include "common/qvcommon_export.h"

#include <QByteArray>
#include <QString>

class QIODevice;

namespace tools::string {

/**
 * Text into hexadecimal, digest and identifier forms. Stateless; any thread.
 *
 * @code
 * tools::string::converter::ToHex("Az");         // "417a"
 * tools::string::converter::ToUuidForm("Az", 2); // "{41-7a}"
 * @endcode
 */
class QVCOMMON_EXPORT converter
{
public:
    converter() = delete;

    /** The UTF-8 bytes of @p text in lower-case hexadecimal, two characters a byte. */
    static QString ToHex(const QString& text);

    /** The MD5 digest (RFC 1321) of @p data: 32 lower-case hexadecimal characters. */
    static QString ToMD5(const QByteArray& data);
    /**
     * The MD5 digest of the UTF-8 bytes of @p text. A literal must say which of the two it is:
     * ToMD5(QStringLiteral("text")).
     */
    static QString ToMD5(const QString& text);
    /**
     * The MD5 digest of what is left to read in @p device (a file of any size, say), in bounded
     * memory; empty if reading fails.
     */
    static QString ToMD5(QIODevice& device);

    /**
     * ToHex() of @p text in braces, with "-" between groups of @p group characters.
     *
     * Where the length is no multiple of @p group, the last group is shorter, or longer by less
     * than @p group; with a @p group of 1 a separator stands at the end, too. A @p group of 0, or
     * one longer than the text, gives no separator at all.
     */
    static QString ToUuidForm(const QString& text, unsigned int group);
};

} // namespace tools::string
