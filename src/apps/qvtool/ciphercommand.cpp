#include "ciphercommand.h"

#include "input.h"
#include "text.h"

#include <common/tools/cipher/aes.h>

#include <algorithm>

namespace qvtool {

using tools::cipher::AES;

namespace {

const auto keyFileOption = QStringLiteral("key-file");
constexpr int longestKey = 32;
constexpr int blockSize = 16;

// Why something would be lost where the bytes become a text; empty if nothing would be.
QString Loss(const QByteArray& bytes)
{
    if (bytes.contains('\0'))
        return QStringLiteral("has a zero character");
    if (bytes.startsWith("\xEF\xBB\xBF"))
        return QStringLiteral("begins with a byte-order mark");
    return QString::fromUtf8(bytes).toUtf8() == bytes ? QString() : QStringLiteral("is not UTF-8");
}

QByteArray WithoutSpace(const QByteArray& text)
{
    return text.simplified().replace(' ', "");
}

} // namespace

void CipherCommand::Declare(QCommandLineParser& parser)
{
    parser.addOption(
        {keyFileOption,
         QStringLiteral("Take the key from FILE, a regular file that holds a text of 1 "
                        "to %1 bytes. Without it, the key follows from the name of "
                        "the current user. A line end that closes the key or the "
                        "text is not a part of it; the result comes with one.")
             .arg(longestKey),
         QStringLiteral("FILE")});
}

void CipherCommand::Configure(Arguments& arguments)
{
    if (!arguments.AllPositionals({}).isEmpty()) // do not repeat it: it may be the secret
        arguments.Fail(QStringLiteral("it takes no arguments: the text comes from standard input"));
    keyFile_ = arguments.Text(keyFileOption);
    if (arguments.Has(keyFileOption) && keyFile_.isEmpty())
        arguments.Fail(QStringLiteral("--key-file takes a file name"));
}

QString CipherCommand::Stop()
{
    return QStringLiteral("the input was not read to its end");
}

void CipherCommand::Start()
{
    if (!TakeKey())
        return;
    Input* input = ReadInput();
    connect(input, &Input::ended, this, [=] { ShowResult(input->TakeRest()); });
}

bool CipherCommand::TakeKey()
{
    if (keyFile_.isEmpty()) {
        key_ = AES::machineKey();
        return true;
    }
    QString error;
    const QByteArray key = WithoutLineEnd(ReadFile(keyFile_, error));
    if (error.isEmpty() && (key.isEmpty() || key.size() > longestKey))
        error = QStringLiteral("the key in '%1' has %2 bytes, not 1 to %3")
                    .arg(keyFile_, QString::number(key.size()), QString::number(longestKey));
    const QString loss = Loss(key);
    if (error.isEmpty() && !loss.isEmpty())
        error = QStringLiteral("the key in '%1' %2").arg(keyFile_, loss);
    if (!error.isEmpty()) {
        Fail(error);
        return false;
    }
    key_ = QString::fromUtf8(key);
    return true;
}

void CipherCommand::ShowResult(const QByteArray& input)
{
    QString error;
    const QString result = Convert(key_, WithoutLineEnd(input), error);
    if (error.isEmpty())
        FinishWritten(PrintLine(stdout, result));
    else
        Fail(error);
}

EncryptCommand::EncryptCommand(ToolLogger& log)
    : CipherCommand(QStringLiteral("encrypt"),
                    QStringLiteral("Encrypt the text on standard input; print Base64."), log)
{
}

QString EncryptCommand::Convert(const QString& key, const QByteArray& input, QString& error)
{
    const QString loss = Loss(input);
    if (!loss.isEmpty()) {
        error = QStringLiteral("the text ") + loss;
        return QString();
    }
    return AES::encrypt(key, QString::fromUtf8(input));
}

DecryptCommand::DecryptCommand(ToolLogger& log)
    : CipherCommand(QStringLiteral("decrypt"),
                    QStringLiteral("Decrypt the Base64 on standard input; print the text."), log)
{
}

QString DecryptCommand::Convert(const QString& key, const QByteArray& input, QString& error)
{
    const auto cipherText = QByteArray::fromBase64Encoding(
        WithoutSpace(input), QByteArray::Base64Encoding | QByteArray::AbortOnBase64DecodingErrors);
    if (!cipherText || (*cipherText).size() % blockSize != 0) {
        error = QStringLiteral("the input is not the Base64 of whole blocks of %1 bytes")
                    .arg(blockSize);
        return QString();
    }
    QByteArray bytes;
    AES::decrypt(key, *cipherText, bytes);
    const QByteArray text = bytes.constData(); // up to the padding
    const bool padded = text.size() > bytes.size() - blockSize &&
                        std::all_of(bytes.cbegin() + text.size(), bytes.cend(),
                                    [](char byte) { return byte == '\0'; });
    if (!bytes.isEmpty() && (!padded || !Loss(text).isEmpty()))
        error = QStringLiteral("this key does not open it, or it is damaged");
    return QString::fromUtf8(text);
}

} // namespace qvtool
