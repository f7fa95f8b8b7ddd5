#include "commands.h"
#include "console.h"

#include <common/tools/cipher/aes.h>

#include <algorithm>
#include <memory>

#include <unistd.h>

namespace qvtool {

using tools::cipher::AES;

namespace {

constexpr int longestKey = 32;
constexpr int blockSize = 16;

// Why something would be lost where the bytes become a text; empty if nothing would be.
QString Loss(const QByteArray& bytes)
{
    if (bytes.contains('\0'))
        return "has a zero character";
    if (bytes.startsWith("\xEF\xBB\xBF"))
        return "begins with a byte-order mark";
    return QString::fromUtf8(bytes).toUtf8() == bytes ? QString() : "is not UTF-8";
}

// The key from a file, or that of the current user; with @p error set, if there is none.
QString Key(Call& call, QString& error)
{
    if (!call.Has("key-file"))
        return AES::machineKey();
    const QString path = call.Text("key-file");
    const QByteArray key = WithoutLineEnd(ReadFile(path, error));
    if (error.isEmpty() && (key.isEmpty() || key.size() > longestKey))
        error = QString("the key in '%1' has %2 bytes, not 1 to %3")
                    .arg(path, QString::number(key.size()), QString::number(longestKey));
    if (error.isEmpty() && !Loss(key).isEmpty())
        error = QString("the key in '%1' %2").arg(path, Loss(key));
    return QString::fromUtf8(key);
}

QString Encrypt(const QString& key, const QByteArray& input, QString& error)
{
    if (!Loss(input).isEmpty())
        error = "the text " + Loss(input);
    return error.isEmpty() ? AES::encrypt(key, QString::fromUtf8(input)) : QString();
}

QString Decrypt(const QString& key, const QByteArray& input, QString& error)
{
    const auto cipherText = QByteArray::fromBase64Encoding(
        input.simplified().replace(' ', ""),
        QByteArray::Base64Encoding | QByteArray::AbortOnBase64DecodingErrors);
    if (!cipherText || (*cipherText).size() % blockSize != 0) {
        error = QString("the input is not the Base64 of whole blocks of %1 bytes").arg(blockSize);
        return QString();
    }
    QByteArray bytes;
    AES::decrypt(key, *cipherText, bytes);
    const QByteArray text = bytes.constData(); // up to the padding
    const bool isPadded = text.size() > bytes.size() - blockSize &&
                          std::all_of(bytes.cbegin() + text.size(), bytes.cend(),
                                      [](char byte) { return byte == '\0'; });
    if (!bytes.isEmpty() && (!isPadded || !Loss(text).isEmpty()))
        error = "the key is wrong, or the input is damaged";
    return QString::fromUtf8(text);
}

// Neither key nor text is ever taken from the command line, which other users can see.
template <typename Conversion>
int Convert(Call& call, Conversion conversion)
{
    QString error;
    QByteArray input;
    const QString key = Key(call, error);
    if (!error.isEmpty())
        return call.Fail(error);
    if (const auto code = call.ReadInput(input))
        return *code;
    const QString result = conversion(key, WithoutLineEnd(input), error);
    return error.isEmpty() ? call.Written(PrintLine(stdout, result)) : call.Fail(error);
}

int RunEncrypt(Call& call)
{
    const HiddenTyping hidden;
    if (isatty(STDIN_FILENO) == 1)
        call.Note("type the text (it is not shown), then Ctrl-D on a new line");
    return Convert(call, &Encrypt);
}

int RunDecrypt(Call& call)
{
    return Convert(call, &Decrypt);
}

const Option keyOption = {
    "key-file", "FILE",
    "Read the key from FILE, a regular file that contains 1 to 32 bytes of text in UTF-8. Without "
    "it, the key is derived from the name of the current user. A line end that ends the key or "
    "the input is ignored; the output ends with one."};

} // namespace

const Command encryptCommand = {
    "encrypt",   "Encrypt text from standard input and print it in Base64.", {}, {keyOption},
    &RunEncrypt,
};

const Command decryptCommand = {
    "decrypt",   "Decrypt Base64 from standard input and print the text.", {}, {keyOption},
    &RunDecrypt,
};

} // namespace qvtool
