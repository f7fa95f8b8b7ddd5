#pragma once

#include "common/qvcommon_export.h"

#include <QByteArray>
#include <QHttpMultiPart>
#include <QObject>
#include <QSharedPointer>
#include <QString>

namespace common::http {

/**
 * One part of a multipart/form-data body (RFC 7578); see IHttpRequestMultiPartData.
 *
 * Parts come from the factory functions, in a QSharedPointer that frees them, and never change.
 * Names and file names go into the header as they are: one with a double quote in it gives a
 * header that servers misread.
 */
class QVCOMMON_EXPORT IHttpRequestPartData : public QObject
{
public:
    ~IHttpRequestPartData() override;

    /**
     * A part with the content of the file at @p filePath, under the file's own name and without a
     * content type.
     *
     * The file is opened when the request is sent (again at each re-send) and streamed from disk
     * during the upload, as many bytes as it had at first. If it becomes shorter meanwhile, the
     * attempt fails as a network problem with code 99 (logged). Only regular files and Qt's own
     * (":/...") can be opened.
     */
    static QSharedPointer<IHttpRequestPartData> CreateFilePartFormData(const QString& name,
                                                                       const QString& filePath);
    /** A part with @p text as UTF-8, "text/plain; charset=UTF-8". */
    static QSharedPointer<IHttpRequestPartData> CreateTextPartFormData(const QString& name,
                                                                       const QString& text);

    /**
     * Appends this part to @p multiPart, which becomes the owner of what the part opens.
     *
     * @return false if the part's file cannot be opened (logged); @p multiPart is then unchanged
     */
    virtual bool AppendTo(QHttpMultiPart& multiPart) const = 0;
    /** The value of the part's Content-Disposition header. */
    virtual QString ContentDispositionHeader() const = 0;
};

/** Holds a part's form field name and its value. */
class QVCOMMON_EXPORT HttpRequestPartFormData : public IHttpRequestPartData
{
public:
    /** With the name of the form field. */
    HttpRequestPartFormData(const QString& name, const QString& value);
    ~HttpRequestPartFormData() override;

protected:
    /** The name of the form field. */
    const QString& Name() const { return name_; }
    /** What the part holds; see the subclasses. */
    const QString& Value() const { return value_; }

private:
    QString name_;
    QString value_;
};

/** A part whose content is a file; its value is the file's path. */
class QVCOMMON_EXPORT HttpRequestFilePartFormData : public HttpRequestPartFormData
{
public:
    /** For the file at that path, which need not exist yet. */
    HttpRequestFilePartFormData(const QString& name, const QString& filePath);
    ~HttpRequestFilePartFormData() override;

    bool AppendTo(QHttpMultiPart& multiPart) const override;
    QString ContentDispositionHeader() const override;
};

/** A part whose content is a text; its value is the text. */
class QVCOMMON_EXPORT HttpRequestTextPartFormData : public HttpRequestPartFormData
{
public:
    /** For that text. */
    HttpRequestTextPartFormData(const QString& name, const QString& text);
    ~HttpRequestTextPartFormData() override;

    bool AppendTo(QHttpMultiPart& multiPart) const override;
    QString ContentDispositionHeader() const override;
    /** The value of the part's Content-Type header. */
    virtual QString ContentTypeHeader() const;
    /** The text as UTF-8. */
    virtual QByteArray GetBody() const;
};

} // namespace common::http
