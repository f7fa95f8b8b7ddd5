#pragma once

#include "common/qvcommon_export.h"

#include <QByteArray>
#include <QString>

namespace tools::cipher {

/**
 * AES (FIPS 197) in CBC mode (NIST SP 800-38A) with zero padding and a fixed IV, for stored texts
 * such as saved passwords. Stateless; any thread.
 *
 * @code
 * using tools::cipher::AES;
 * const QString stored = AES::encryptPair("password", password);   // with this user's key
 * const QString back = AES::decryptPair("password", stored);       // null under another name
 * @endcode
 *
 * If the caller gives no key, it is derived from the user's login name, so what one user stored can
 * be read under the same login name only.
 *
 * @warning This hides a text from a casual look; it does not protect it. The machine key follows
 * from the user name and constants in this library, so whoever reads the file and knows the user's
 * name can decrypt it. It follows from the first 24 bytes of the name repeated over and over, so
 * "bo" and "bobo" share it, as do names that begin with the same 24 bytes. The fixed IV gives equal
 * texts, and equal beginnings of 16 bytes, equal cipher texts. Nothing is authenticated: a cipher
 * text can be altered unnoticed. A key that the caller gives is used unchanged, without a
 * derivation that would slow down guessing. Store secrets that must be safe in the desktop's secret
 * service.
 *
 * **Keys** are the UTF-8 bytes of a text: up to 16 bytes select AES-128, up to 24 AES-192, up to 32
 * AES-256, shorter ones padded with zero bytes. A longer key is refused by AES: the output, in both
 * directions, is then zero bytes, that is the Base64 of zero bytes from encrypting a text and the
 * empty text from decrypting one. Nothing secret gets out, but the text is lost: check the length
 * of a key that a user may choose.
 *
 * **Padding** is zero bytes up to the next multiple of 16; decrypting bytes leaves them there,
 * decrypting a text ends it at its first zero character.
 *
 * **Errors** are not reported. A wrong key or damaged cipher text gives garbage.
 */
class QVCOMMON_EXPORT AES
{
public:
    AES() = delete;

    /**
     * Sets @p buffer to the bytes of @p key, padded with zero bytes to its key size.
     *
     * @return that size in bits: 128, 192 or 256; 512 for a key of more than 32 bytes, which is
     *         never cut and cannot be used
     */
    static int getKeyBuffer(const QString& key, QByteArray& buffer);

    /** The text whose first 16 characters are the IV. */
    static const char* ivec();

    /**
     * The primitive: encrypts (@p enc is 1) or decrypts (0) all of @p in into @p out.
     *
     * @p out must have its size already: that of @p in rounded up to a multiple of 16. What does
     * not fit is left out. A rest of @p in below 16 bytes counts as padded with zero bytes; when
     * decrypting, @p out gets no more bytes than @p in has. @p in and @p out may be the same array.
     *
     * @return @p out
     */
    static QByteArray& crypt(const QString& key, const QByteArray& in, QByteArray& out, int enc);

    /**
     * Encrypts or decrypts bytes with @p key; @p out gets the size of @p in rounded up to a
     * multiple of 16. @p in and @p out may be the same array.
     *
     * @return @p out
     */
    static QByteArray& encrypt(const QString& key, const QByteArray& in, QByteArray& out);
    /** The way back: see encrypt(). */
    static QByteArray& decrypt(const QString& key, const QByteArray& in, QByteArray& out);

    /** The same with machineKey(). */
    static QByteArray& encrypt(const QByteArray& in, QByteArray& out);
    /** The way back, with machineKey(). */
    static QByteArray& decrypt(const QByteArray& in, QByteArray& out);

    /**
     * A text into the Base64 (RFC 4648) of its encrypted UTF-8 bytes, and back, with machineKey().
     * Read back, the text ends at a zero character, a byte-order mark at its beginning is gone, and
     * a lone surrogate is another character.
     */
    static QString encrypt(const QString& text);
    /** The way back: see encrypt(). */
    static QString decrypt(const QString& text);

    /** The same with @p key. */
    static QString encrypt(const QString& key, const QString& text);
    /** The way back, with @p key. */
    static QString decrypt(const QString& key, const QString& text);

    /**
     * A value stored under a name, with machineKey(): it cannot be read back under another name.
     *
     * A name with "=" can be mistaken for another one; one with a place marker of QString::arg()
     * ("%1", "%L2") cannot be read back. The value must not hold the zero character.
     */
    static QString encryptPair(const QString& name, const QString& value);
    /** The value, or null if @p text was not stored under @p name with this machineKey(). */
    static QString decryptPair(const QString& name, const QString& text);

    /**
     * The user's name: the value of the first environment variable that is called USER or
     * USERNAME, in any case; empty if there is none.
     */
    static QString machineUser();
    /** The key made from machineUser(), 32 ASCII characters; derived anew at each call. */
    static QString machineKey();
};

} // namespace tools::cipher
