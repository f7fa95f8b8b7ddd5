#pragma once

#include <QString>
#include <QUrl>

#include <cstdio>

namespace qvtool {

/** A size for people: "14.2 MiB". */
QString HumanSize(qint64 bytes);

/** The text on one line, in its own order: what would control the terminal as "\\x1b". */
QString Visible(const QString& text);

/** An error text of Qt's, which may quote the URL, without the URL's password. */
QString WithoutPassword(QString message, const QUrl& url);

/** Name and version of the tool. */
QString VersionText();

/** Writes the text as UTF-8, flushed. False if it could not be written. */
bool Print(FILE* stream, const QString& text);
bool PrintLine(FILE* stream, const QString& text);
bool PrintBytes(FILE* stream, const QByteArray& bytes);

} // namespace qvtool
