// The stored data is defined by OpenSSL's low-level AES calls, which OpenSSL 3 deprecates.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "common/tools/cipher/aes.h"

#include "common/tools/arraysize_p.h"

#include <QProcess>
#include <QStringList>

#include <openssl/aes.h>

#include <algorithm>
#include <cstring>

namespace tools::cipher {

namespace {

// Its first characters are the IV as they stand, not as hexadecimal digits: stored data has it so.
constexpr char ivText[] = "5D3A9C0E71B24F68A0C2E94B17F6D8A3";
constexpr char mixingText[] = "C7E21D4F90A84B6E8D35F0A2B61C9E47";
constexpr char fallbackUser[] = "{3F7A2C91-8B4D-4E06-A1C5-92D7E0B4F638}";
constexpr int machineKeyLength = 32;

qsizetype RoundedUp(qsizetype size)
{
    return (size + AES_BLOCK_SIZE - 1) / AES_BLOCK_SIZE * AES_BLOCK_SIZE;
}

QByteArray ZeroPadded(const QByteArray& bytes, qsizetype size)
{
    return bytes + QByteArray(int(std::max<qsizetype>(0, size - bytes.size())), '\0');
}

unsigned char* Bytes(QByteArray& array)
{
    return reinterpret_cast<unsigned char*>(array.data());
}

bool SetKey(const QString& key, int enc, AES_KEY& schedule)
{
    QByteArray buffer;
    const int bits = AES::getKeyBuffer(key, buffer);
    return (enc ? AES_set_encrypt_key(Bytes(buffer), bits, &schedule)
                : AES_set_decrypt_key(Bytes(buffer), bits, &schedule)) == 0;
}

// OpenSSL works on whole blocks, in place. Zero bytes if it refuses the key, none of too many.
QByteArray CryptBlocks(const QString& key, const QByteArray& in, int enc)
{
    if (in.size() > maxArraySize)
        return QByteArray();
    QByteArray blocks = ZeroPadded(in, RoundedUp(in.size()));
    AES_KEY schedule;
    if (SetKey(key, enc, schedule)) {
        unsigned char iv[AES_BLOCK_SIZE];
        memcpy(iv, ivText, sizeof iv);
        AES_cbc_encrypt(Bytes(blocks), Bytes(blocks), static_cast<size_t>(blocks.size()), &schedule,
                        iv, enc);
    } else {
        blocks.fill('\0');
    }
    if (enc == AES_DECRYPT) // what the padding of a cut text decrypts to means nothing
        std::fill(blocks.begin() + in.size(), blocks.end(), '\0');
    return blocks;
}

} // namespace

int AES::getKeyBuffer(const QString& key, QByteArray& buffer)
{
    buffer = key.toUtf8();
    int bits = 512;
    for (const int size : {256, 192, 128}) {
        if (buffer.size() <= size / 8)
            bits = size;
    }
    buffer = ZeroPadded(buffer, bits / 8);
    return bits;
}

const char* AES::ivec()
{
    return ivText;
}

QByteArray& AES::crypt(const QString& key, const QByteArray& in, QByteArray& out, int enc)
{
    const QByteArray blocks = CryptBlocks(key, in, enc);
    const qsizetype size = std::min({out.size(), blocks.size(), enc ? blocks.size() : in.size()});
    std::copy_n(blocks.cbegin(), size, out.begin());
    return out;
}

QByteArray& AES::encrypt(const QString& key, const QByteArray& in, QByteArray& out)
{
    return out = CryptBlocks(key, in, AES_ENCRYPT);
}

QByteArray& AES::decrypt(const QString& key, const QByteArray& in, QByteArray& out)
{
    return out = CryptBlocks(key, in, AES_DECRYPT);
}

QByteArray& AES::encrypt(const QByteArray& in, QByteArray& out)
{
    return encrypt(machineKey(), in, out);
}

QByteArray& AES::decrypt(const QByteArray& in, QByteArray& out)
{
    return decrypt(machineKey(), in, out);
}

QString AES::encrypt(const QString& text)
{
    return encrypt(machineKey(), text);
}

QString AES::decrypt(const QString& text)
{
    return decrypt(machineKey(), text);
}

QString AES::encrypt(const QString& key, const QString& text)
{
    QByteArray bytes;
    return QString::fromLatin1(encrypt(key, text.toUtf8(), bytes).toBase64());
}

QString AES::decrypt(const QString& key, const QString& text)
{
    QByteArray bytes;
    // As a C string: up to the padding.
    return QString::fromUtf8(
        decrypt(key, QByteArray::fromBase64(text.toUtf8()), bytes).constData());
}

QString AES::encryptPair(const QString& name, const QString& value)
{
    // Two successive substitutions, on purpose: stored pairs were built so.
    return encrypt(QStringLiteral("%1=%2").arg(name).arg(value));
}

QString AES::decryptPair(const QString& name, const QString& text)
{
    const QString prefix = QStringLiteral("%1=").arg(name);
    const QString pair = decrypt(text);
    return pair.startsWith(prefix) ? pair.mid(prefix.size()) : QString();
}

QString AES::machineUser()
{
    const QStringList environment = QProcess::systemEnvironment();
    for (const QString& entry : environment) {
        for (const auto& name : {QLatin1String("USER="), QLatin1String("USERNAME=")}) {
            if (entry.startsWith(name, Qt::CaseInsensitive))
                return entry.mid(name.size());
        }
    }
    return QString();
}

QString AES::machineKey()
{
    QByteArray user = machineUser().toUtf8();
    if (user.isEmpty())
        user = fallbackUser;
    QByteArray mixed = mixingText;
    for (int i = 0; i < mixed.size(); ++i)
        mixed[i] = static_cast<char>(mixed.at(i) ^ user.at(i % user.size()));
    return QString::fromLatin1(mixed.toBase64().left(machineKeyLength));
}

} // namespace tools::cipher
