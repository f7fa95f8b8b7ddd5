#include "commands.h"
#include "console.h"

#include <common/tools/cipher/aes.h>

#include <QScopeGuard>

#include <algorithm>

#include <termios.h>
#include <unistd.h>

namespace qvtool {

using tools::cipher::AES;

namespace {

constexpr int longestKey = 32;
constexpr int blockSize = 16;

// Whether nothing is lost where the bytes become a text.
bool IsText(const QByteArray& bytes)
{
    return !bytes.contains('\0') && QString::fromUtf8(bytes).toUtf8() == bytes;
}

// The key from a file, or that of the current user.
QString Key(const Call& call)
{
    if (!call.Has("key-file"))
        return AES::machineKey();
    const QString path = call.Text("key-file");
    const QByteArray key = WithoutLineEnd(ReadFile(path));
    if (key.isEmpty() || key.size() > longestKey || !IsText(key))
        Fail(QString("the key in '%1' is not a text of 1 to %2 bytes in UTF-8")
                 .arg(path, QString::number(longestKey)));
    return QString::fromUtf8(key);
}

// Neither key nor text is ever taken from the command line, which other users can see.
int Encrypt(Call& call)
{
    const QString key = Key(call);
    termios before = {};
    const bool onTerminal = tcgetattr(STDIN_FILENO, &before) == 0;
    const auto restore = qScopeGuard([&] {
        if (onTerminal)
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &before);
    });
    termios hidden = before;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    if (onTerminal) {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
        call.Note("type the text (it is not shown), then Ctrl-D on a new line");
    }
    const QByteArray text = WithoutLineEnd(Input().TakeAll());
    if (!IsText(text))
        Fail("the text is not in UTF-8 or has a zero character");
    PrintLine(AES::encrypt(key, QString::fromUtf8(text)));
    return Success;
}

int Decrypt(Call& call)
{
    const QString key = Key(call);
    const auto cipherText = QByteArray::fromBase64Encoding(
        Input().TakeAll().simplified().replace(' ', ""),
        QByteArray::Base64Encoding | QByteArray::AbortOnBase64DecodingErrors);
    if (!cipherText || (*cipherText).size() % blockSize != 0)
        Fail(QString("the input is not the Base64 of whole blocks of %1 bytes").arg(blockSize));
    QByteArray bytes;
    AES::decrypt(key, *cipherText, bytes);
    const QByteArray text = bytes.constData(); // up to the padding
    const bool isPadded = text.size() > bytes.size() - blockSize &&
                          std::all_of(bytes.cbegin() + text.size(), bytes.cend(),
                                      [](char byte) { return byte == '\0'; });
    if (!bytes.isEmpty() && (!isPadded || !IsText(text)))
        Fail("the key is wrong, or the input is damaged");
    PrintLine(QString::fromUtf8(text));
    return Success;
}

const Option keyOption = {
    "key-file", "FILE",
    "Read the key from FILE, a regular file that contains 1 to 32 bytes of text in UTF-8. Without "
    "it, the key is derived from the name of the current user. A line end that ends the key or "
    "the input is ignored; the output ends with one."};

} // namespace

const Command encryptCommand = {
    "encrypt", "Encrypt text from standard input and print it in Base64.", {}, {keyOption},
    &Encrypt,
};

const Command decryptCommand = {
    "decrypt", "Decrypt Base64 from standard input and print the text.", {}, {keyOption}, &Decrypt,
};

} // namespace qvtool
