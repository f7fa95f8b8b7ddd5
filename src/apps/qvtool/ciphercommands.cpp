#include "command.h"
#include "console.h"

#include <common/tools/cipher/aes.h>

#include <QScopeGuard>

#include <csignal>

#include <termios.h>
#include <unistd.h>

namespace qvtool {

using tools::cipher::AES;

namespace {

constexpr int longestKey = 32;

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

termios usual = {};

void ShowTyping()
{
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &usual);
}

// Neither key nor text is ever taken from the command line, which other users can see.
int Encrypt(Call& call)
{
    const QString key = Key(call);
    const bool onTerminal = tcgetattr(STDIN_FILENO, &usual) == 0;
    if (onTerminal) {
        HandleSignals([](int number) {
            ShowTyping();
            raise(number);
        });
        termios hidden = usual;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    }
    const auto restore = qScopeGuard([&] {
        if (onTerminal)
            ShowTyping();
    });
    call.AskFor("the text (it is not shown)");
    const QByteArray text = WithoutLineEnd(ReadInput());
    if (!IsText(text))
        Fail("the text is not in UTF-8 or has a zero character");
    PrintLine(AES::encrypt(key, QString::fromUtf8(text)));
    return Success;
}

int Decrypt(Call& call)
{
    const QString key = Key(call);
    call.AskFor("what 'encrypt' printed");
    const QString cipherText = QString::fromLatin1(ReadInput().simplified().replace(' ', ""));
    const QString text = AES::decrypt(key, cipherText);
    if (AES::encrypt(key, text) != cipherText)
        Fail("the key is wrong, or the input is not what 'encrypt' printed");
    PrintLine(text);
    return Success;
}

const QCommandLineOption keyOption = {
    "key-file",
    "Read the key from FILE, a regular file that contains 1 to 32 bytes of text in UTF-8. Without "
    "it, the key is derived from the name of the current user. A line end that ends the key or "
    "the input is ignored; the output ends with one.",
    "FILE"};

} // namespace

const Command encryptCommand = {
    "encrypt", "Encrypt text from standard input and print it in Base64.", {}, {keyOption},
    &Encrypt,
};

const Command decryptCommand = {
    "decrypt", "Decrypt Base64 from standard input and print the text.", {}, {keyOption}, &Decrypt,
};

} // namespace qvtool
