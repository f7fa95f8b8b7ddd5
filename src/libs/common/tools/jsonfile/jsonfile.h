#pragma once

#include "common/qvcommon_export.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QTextStream>

namespace tools {

/**
 * A JSON document (RFC 8259) that knows the file it is kept in, plain or encrypted.
 *
 * @code
 * tools::JsonFile settings(path);
 * if (!settings.Load() || !settings.isObject())
 *     settings.setObject(Defaults());
 * if (!settings.Save())
 *     ShowProblem(path);
 * @endcode
 *
 * The file gets the rights that the process's umask gives.
 *
 * With a key the file holds the document encrypted by tools::cipher::AES with that key, of 1 to 32
 * bytes: see there what it protects against, and what not. Objects on different threads are
 * independent. The class adds nothing virtual to QJsonDocument: do not delete it through one.
 *
 * Each failure is logged.
 */
class QVCOMMON_EXPORT JsonFile : public QJsonDocument
{
public:
    /** With an empty document, for a plain file. Reads nothing yet. */
    explicit JsonFile(const QString& path) : JsonFile(path, QString()) {}
    /** With an empty document; @p key is empty for a plain file. Reads nothing yet. */
    JsonFile(const QString& fileName, const QString& key);
    /** With a document that is @p object; see above for the rest. */
    JsonFile(const QString& fileName, const QJsonObject& object, const QString& key = QString());
    /** With @p document; see above for the rest. */
    JsonFile(const QString& fileName, const QJsonDocument& document,
             const QString& key = QString());

    /** The path, as it was given. */
    const QString& FileName() const;

    /** Replaces the whole document; the file stays as it is until Save(). */
    void SetDocument(const QJsonDocument& document);

    /**
     * Replaces the document with the content of the file.
     *
     * @return whether the file could be read; if not, the document is as before. A file above 2 GiB
     *         cannot be read, nor what is no regular file (a FIFO, a device). Content that is not
     *         JSON, was encrypted with another key, or comes with a key that is too long, makes the
     *         document null (isNull()), and counts as read.
     */
    bool Load();

    /**
     * Writes the document, indented, to the file; creates missing directories.
     *
     * @return whether all of it was written. The file is overwritten in place: a write that fails
     *         or is interrupted half-way leaves it damaged. A key of more than 32 bytes, which the
     *         cipher cannot use, a document whose text is above 2 GiB, and one with a single string of
     *         more than 178 million characters are refused before the file is touched.
     */
    bool Save();

private:
    QString fileName;
    QString key;
};

} // namespace tools

/**
 * JSON in text streams, log statements among them: documents, objects and arrays as indented JSON,
 * strings without quotes, numbers as the stream writes a @c double, Booleans as 1 and 0, and
 * "(null)" and "(undefined)".
 *
 * @relates tools::JsonFile
 */
QVCOMMON_EXPORT QTextStream& operator<<(QTextStream& stream, const QJsonValue& value);
/** As for a QJsonValue. @relates tools::JsonFile */
QVCOMMON_EXPORT QTextStream& operator<<(QTextStream& stream, const QJsonObject& object);
/** As for a QJsonValue. @relates tools::JsonFile */
QVCOMMON_EXPORT QTextStream& operator<<(QTextStream& stream, const QJsonArray& array);
/** As for a QJsonValue. @relates tools::JsonFile */
QVCOMMON_EXPORT QTextStream& operator<<(QTextStream& stream, const QJsonDocument& document);
