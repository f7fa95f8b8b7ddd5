// Encrypts and decrypts any bytes, texts and pairs, against OpenSSL's interface for programs of
// today.
#include "fuzz.h"

#include <common/tools/cipher/aes.h>

#include <openssl/evp.h>

#include <memory>

using tools::cipher::AES;

namespace {

constexpr int blockSize = 16;

const EVP_CIPHER* CipherFor(int keySize)
{
    if (keySize <= 16)
        return EVP_aes_128_cbc();
    return keySize <= 24 ? EVP_aes_192_cbc() : EVP_aes_256_cbc();
}

QByteArray PlainCrypt(QByteArray key, QByteArray bytes, bool encrypt)
{
    bytes.append((blockSize - bytes.size() % blockSize) % blockSize, '\0');
    if (key.size() > 32)
        return QByteArray(bytes.size(), '\0');
    const EVP_CIPHER* cipher = CipherFor(key.size());
    key.append(32, '\0');
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(
        EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    const auto in = [](const QByteArray& array) {
        return reinterpret_cast<const uchar*>(array.constData());
    };
    QByteArray result(bytes.size() + blockSize, '\0');
    int size = 0;
    EXPECT(EVP_CipherInit_ex(context.get(), cipher, nullptr, in(key),
                             reinterpret_cast<const uchar*>("5D3A9C0E71B24F68"), encrypt));
    EVP_CIPHER_CTX_set_padding(context.get(), 0);
    EXPECT(EVP_CipherUpdate(context.get(), reinterpret_cast<uchar*>(result.data()), &size,
                            in(bytes), bytes.size()));
    EXPECT(size == bytes.size());
    result.truncate(size);
    return result;
}

void TryBytes(const QString& key, const QByteArray& bytes)
{
    QByteArray encrypted;
    EXPECT(AES::encrypt(key, bytes, encrypted) == PlainCrypt(key.toUtf8(), bytes, true));
    QByteArray decrypted = bytes;
    AES::decrypt(key, decrypted, decrypted);
    const int whole = bytes.size() / blockSize * blockSize;
    const QByteArray plain = PlainCrypt(key.toUtf8(), bytes, false);
    EXPECT(decrypted.size() == plain.size() && decrypted.left(whole) == plain.left(whole));
    for (int size = bytes.size(); size < decrypted.size(); ++size)
        EXPECT(decrypted[size] == '\0');
}

// What comes back is what UTF-8 can carry, to the first zero character.
void TryTexts(const QString& key, const QString& name, const QString& value)
{
    const auto carried = [](const QString& text) {
        return QString::fromUtf8(text.toUtf8().constData());
    };
    if (key.toUtf8().size() <= 32)
        EXPECT(AES::decrypt(key, AES::encrypt(key, value)) == carried(value));
    AES::decrypt(key, value);

    AES::decryptPair(name, value);
    const QString stored = AES::encryptPair(name, value);
    const QString pair = name + '=' + value;
    if (name.contains('%') || pair != carried(pair))
        return;
    EXPECT(AES::decryptPair(name, stored) == value);
    EXPECT(AES::decryptPair(name + 'x', stored).isNull() || value.startsWith("x=") ||
           name.contains('='));
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const int cleared = clearenv(); // each key is made from the whole environment
    Q_UNUSED(cleared)
    Input input(data, size);
    qputenv("USER", input.Bytes(3).replace('\0', '0'));
    const QString key = Text(input.Bytes(36));
    const QString name = Text(input.Bytes(10));
    const QByteArray bytes = input.Rest();
    TryBytes(key, bytes);
    TryTexts(key, name, Text(bytes));
    return 0;
}
