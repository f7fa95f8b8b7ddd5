#include "common/tools/string/converter.h"

#include "common/tools/string/digest_p.h"

#include <QCryptographicHash>
#include <QIODevice>

namespace tools::string {

namespace {

constexpr int hashChunkSize = 256 * 1024;

} // namespace

QString converter::ToHex(const QString& text)
{
    return QString::fromLatin1(text.toUtf8().toHex());
}

QString converter::ToMD5(const QByteArray& data)
{
    return QString::fromLatin1(QCryptographicHash::hash(data, QCryptographicHash::Md5).toHex());
}

QString converter::ToMD5(const QString& text)
{
    return ToMD5(text.toUtf8());
}

QString converter::ToMD5(QIODevice& device)
{
    return DigestOf(device, QCryptographicHash::Md5);
}

QString DigestOf(QIODevice& device, QCryptographicHash::Algorithm algorithm)
{
    QCryptographicHash hash(algorithm);
    QByteArray chunk(hashChunkSize, Qt::Uninitialized);
    qint64 size = 0;
    while ((size = device.read(chunk.data(), chunk.size())) > 0)
        hash.addData(QByteArray::fromRawData(chunk.constData(), static_cast<int>(size)));
    return size == 0 ? QString::fromLatin1(hash.result().toHex()) : QString();
}

QString converter::ToUuidForm(const QString& text, unsigned int group)
{
    const QString hex = ToHex(text);
    QString result = QStringLiteral("{");
    int position = 0;
    if (group > 0) {
        // Counts the opening brace as one of the characters to group: stored identifiers rely on
        // where that puts the last separator.
        const qint64 step = group;
        for (qint64 left = hex.size() + 1; left >= 2 * step; left -= step) {
            result += hex.mid(position, static_cast<int>(step)) + QLatin1Char('-');
            position += static_cast<int>(step);
        }
    }
    result += hex.mid(position);
    result += QLatin1Char('}');
    return result;
}

} // namespace tools::string
