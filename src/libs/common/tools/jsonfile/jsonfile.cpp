#include "common/tools/jsonfile/jsonfile.h"

#include "common/logger/log.h"
#include "common/tools/arraysize_p.h"
#include "common/tools/cipher/aes.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <new>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace tools {

using cipher::AES;

namespace {

constexpr common::logger::ICategory logCategory{"jsonfile"};
constexpr char logSource[] = "src/libs/common/tools/jsonfile";

constexpr int longestKey = 32;

// Never waits for a writer, as opening a FIFO would.
bool OpenRegular(const QString& path, QFile& file)
{
    struct stat status = {};
    const int descriptor =
        open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0)
        return false;
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))
        return file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    close(descriptor);
    return false;
}

bool ReadAll(const QString& fileName, QByteArray& content)
{
    const QFileInfo info(fileName); // which looks up search paths
    QFile file(fileName);
    if (info.isNativePath() ? !OpenRegular(info.filePath(), file) : !file.open(QIODevice::ReadOnly))
        return false;
    if (file.size() > maxArraySize)
        return false;
    content = file.readAll();
    return file.error() == QFileDevice::NoError && content.size() >= file.size();
}

// Qt 5 doubles a buffer until a string fits, at six bytes a character at most, and overruns it once
// its size is no int any more.
bool CanBeWritten(const QString& text)
{
    return text.size() <= maxArraySize / (2 * 6);
}

bool CanBeWritten(const QJsonValue& value)
{
    if (value.isString())
        return CanBeWritten(value.toString());
    const QJsonArray array = value.toArray();
    for (const QJsonValue& item : array) {
        if (!CanBeWritten(item))
            return false;
    }
    const QJsonObject object = value.toObject();
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        if (!CanBeWritten(entry.key()) || !CanBeWritten(entry.value()))
            return false;
    }
    return true;
}

// Nothing if the text is too large for a byte array.
std::optional<QByteArray> Serialise(const QJsonDocument& document, const QString& key)
{
    if (!CanBeWritten(document.object()) || !CanBeWritten(document.array()))
        return std::nullopt;
    try {
        QByteArray content = document.toJson();
        if (content.size() > maxArraySize)
            return std::nullopt;
        if (!key.isEmpty())
            AES::encrypt(key, content, content);
        return content;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

QByteArray WithoutPadding(QByteArray content)
{
    qsizetype size = content.size();
    while (size > 0 && content.at(size - 1) == '\0')
        --size;
    content.truncate(size);
    return content;
}

QJsonDocument Parse(const QByteArray& content, const QString& key)
{
    if (key.isEmpty())
        return QJsonDocument::fromJson(content);
    QByteArray plain;
    return QJsonDocument::fromJson(WithoutPadding(AES::decrypt(key, content, plain)));
}

} // namespace

JsonFile::JsonFile(const QString& newFileName, const QString& newKey)
    : fileName(newFileName), key(newKey)
{
}

JsonFile::JsonFile(const QString& newFileName, const QJsonObject& object, const QString& newKey)
    : QJsonDocument(object), fileName(newFileName), key(newKey)
{
}

JsonFile::JsonFile(const QString& newFileName, const QJsonDocument& document, const QString& newKey)
    : QJsonDocument(document), fileName(newFileName), key(newKey)
{
}

const QString& JsonFile::FileName() const
{
    return fileName;
}

void JsonFile::SetDocument(const QJsonDocument& document)
{
    QJsonDocument::operator=(document);
}

bool JsonFile::Load()
{
    if (fileName.isEmpty()) {
        QVLOG(ERROR) << "FileName is empty!";
        return false;
    }
    try {
        QByteArray content;
        if (ReadAll(fileName, content)) {
            SetDocument(Parse(content, key));
            return true;
        }
    } catch (const std::bad_alloc&) {
        // A file too large for this process is one that cannot be read.
    }
    QVLOG(ERROR) << "Failed to open file '" << fileName << "' for read!";
    return false;
}

bool JsonFile::Save()
{
    if (fileName.isEmpty()) {
        QVLOG(ERROR) << "FileName is empty!";
        return false;
    }
    const bool keyFits = key.toUtf8().size() <= longestKey;
    const auto content = keyFits ? Serialise(*this, key) : std::nullopt;
    if (!content) {
        QVLOG(ERROR) << "Failed to save document in file '" << fileName << "'!";
        return false;
    }
    const QString directory = QFileInfo(fileName).absolutePath();
    if (!QDir(directory).exists() && !QDir().mkpath(directory)) {
        QVLOG(ERROR) << "Failed to create directory '" << directory << "'!";
        return false;
    }
    QFile file(fileName);
    // Unbuffered, so that a full disk fails the write itself.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        QVLOG(ERROR) << "Failed to open file '" << fileName << "' for write!";
        return false;
    }
    if (file.write(*content) != content->size()) {
        QVLOG(ERROR) << "Failed to save document in file '" << fileName << "'!";
        return false;
    }
    return true;
}

} // namespace tools

QTextStream& operator<<(QTextStream& stream, const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Object:
        return stream << value.toObject();
    case QJsonValue::Array:
        return stream << value.toArray();
    case QJsonValue::String:
        return stream << value.toString();
    case QJsonValue::Double:
        return stream << value.toDouble();
    case QJsonValue::Bool:
        return stream << static_cast<int>(value.toBool());
    case QJsonValue::Null:
        return stream << "(null)";
    default:
        return stream << "(undefined)";
    }
}

QTextStream& operator<<(QTextStream& stream, const QJsonObject& object)
{
    return stream << QJsonDocument(object);
}

QTextStream& operator<<(QTextStream& stream, const QJsonArray& array)
{
    return stream << QJsonDocument(array);
}

QTextStream& operator<<(QTextStream& stream, const QJsonDocument& document)
{
    return stream << tools::Serialise(document, QString()).value_or(QByteArray());
}
