#pragma once

#include <QList>
#include <QRegExp>
#include <QString>

/** What SipId::ParseURIEx() tells. */
struct ParsedAddress
{
    bool parsed = false;
    QString user;
    QString host;
    QString displayName;
    QString postDial;
    QString port;

    bool operator==(const ParsedAddress& other) const;
};

/** A pattern of the grammar, written out a second time. */
struct PlainPattern
{
    const char* name;
    QRegExp (*pattern)();
    QString text;
};

const QList<PlainPattern>& PlainPatterns();

/** The grammar in its plainest form: the six patterns in order. The measure for the library's. */
ParsedAddress PlainParse(const QString& text);

/** What the library makes of it. */
ParsedAddress LibraryParse(const QString& text);
