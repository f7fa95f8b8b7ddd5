#include "common/http/httprequestpartformdata.h"

#include "common/logger/log.h"

#include <QFile>
#include <QFileInfo>
#include <QHttpPart>

#include <memory>

namespace common::http {

namespace {

constexpr logger::ICategory logCategory{"http.form.part"};
constexpr char logSource[] = "src/libs/common/http/httprequestpartformdata";

// A regular file as it was when it was opened. Qt asks for the size again and again while it sends;
// the file may change meanwhile, and in /sys it has a size and no bytes.
class PartFile : public QFile
{
public:
    using QFile::QFile;

    bool Open()
    {
        if (!QFileInfo(*this).isFile() || !open(ReadOnly | Unbuffered))
            return false;
        size_ = QFile::size();
        return true;
    }

    qint64 size() const override { return size_; }
    bool atEnd() const override { return pos() >= size_; }

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        const qint64 wanted = qMin(maxSize, size_ - pos());
        const qint64 count = QFile::readData(data, wanted);
        if (count != 0 || wanted <= 0)
            return count;
        QVLOG(ERROR)
            << QStringLiteral("File '%1' became shorter while it was sent").arg(fileName());
        return -1; // which ends the request
    }

private:
    qint64 size_ = 0;
};

} // namespace

IHttpRequestPartData::~IHttpRequestPartData() = default;

QSharedPointer<IHttpRequestPartData>
IHttpRequestPartData::CreateFilePartFormData(const QString& name, const QString& filePath)
{
    return QSharedPointer<IHttpRequestPartData>(new HttpRequestFilePartFormData(name, filePath));
}

QSharedPointer<IHttpRequestPartData>
IHttpRequestPartData::CreateTextPartFormData(const QString& name, const QString& text)
{
    return QSharedPointer<IHttpRequestPartData>(new HttpRequestTextPartFormData(name, text));
}

HttpRequestPartFormData::HttpRequestPartFormData(const QString& name, const QString& value)
    : name_(name), value_(value)
{
}

HttpRequestPartFormData::~HttpRequestPartFormData() = default;

HttpRequestFilePartFormData::HttpRequestFilePartFormData(const QString& name,
                                                         const QString& filePath)
    : HttpRequestPartFormData(name, filePath)
{
}

HttpRequestFilePartFormData::~HttpRequestFilePartFormData() = default;

bool HttpRequestFilePartFormData::AppendTo(QHttpMultiPart& multiPart) const
{
    auto file = std::make_unique<PartFile>(Value());
    if (!file->Open()) {
        QVLOG(ERROR) << QStringLiteral("Failed to open file '%1'").arg(Value());
        return false;
    }

    QHttpPart part;
    part.setHeader(QNetworkRequest::ContentDispositionHeader, ContentDispositionHeader());
    part.setBodyDevice(file.get());
    file.release()->setParent(&multiPart);
    multiPart.append(part);
    return true;
}

QString HttpRequestFilePartFormData::ContentDispositionHeader() const
{
    return QLatin1String("form-data; name=\"") + Name() + QLatin1String("\"; filename=\"") +
           QFileInfo(Value()).fileName() + QLatin1Char('"');
}

HttpRequestTextPartFormData::HttpRequestTextPartFormData(const QString& name, const QString& text)
    : HttpRequestPartFormData(name, text)
{
}

HttpRequestTextPartFormData::~HttpRequestTextPartFormData() = default;

bool HttpRequestTextPartFormData::AppendTo(QHttpMultiPart& multiPart) const
{
    QHttpPart part;
    part.setHeader(QNetworkRequest::ContentTypeHeader, ContentTypeHeader());
    part.setHeader(QNetworkRequest::ContentDispositionHeader, ContentDispositionHeader());
    part.setBody(GetBody());
    multiPart.append(part);
    return true;
}

QString HttpRequestTextPartFormData::ContentDispositionHeader() const
{
    return QLatin1String("form-data; name=\"") + Name() + QLatin1Char('"');
}

QString HttpRequestTextPartFormData::ContentTypeHeader() const
{
    return QStringLiteral("text/plain; charset=UTF-8");
}

QByteArray HttpRequestTextPartFormData::GetBody() const
{
    return Value().toUtf8();
}

} // namespace common::http
