#pragma once

#include <QRegExp>
#include <QStringList>

#include <array>

/** A pattern of the grammar, written out a second time. */
struct PlainPattern
{
    QRegExp (*pattern)();
    QRegExp stored;
    /** Which groups are user, host, display name, post-dial digits and port, if it tells them. */
    std::array<int, 5> groups = {};
};

const QList<PlainPattern>& PlainPatterns();

/**
 * The grammar in its plainest form, the measure for SipId::ParseURIEx(): the first of the six patterns
 * that matches. User, host, display name, post-dial digits and port, which is "kept" where the form has
 * none; nothing if that is no address.
 */
QStringList PlainParse(const QString& text);
