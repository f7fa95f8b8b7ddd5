#pragma once

#include <QString>

#include <functional>

namespace common {

/** Whether the system can take it as a path: a zero character would end it there. */
bool IsName(const QString& path);

/** What paths in the directory begin with. */
QString PathBelow(const QString& directory);

/** Whether anything is at the path; a link that leads nowhere counts. */
bool Exists(const QString& path);

/** Whether both paths lead, through links, to the same existing file. */
bool IsSameFile(const QString& first, const QString& second);

/** Whether @p path is the link itself, or anything that it leads to or through. */
bool LinkLeadsThrough(const QString& link, const QString& path);

/** Whether @p path goes through @p link, if that is one. */
bool GoesThroughLink(const QString& path, const QString& link);

/** Whether the path is a link; a separator, or one and a dot, at its end do not hide it. */
bool IsLink(const QString& path);

/**
 * An absolute path to the same entry that no change of directories on the way leads elsewhere: links
 * on the way and ".." are resolved, while the entry itself may be a link.
 */
QString RealPlace(const QString& path);

/**
 * The target that a copy of the link with this text gets: relative to the directory that the link
 * is in. The link's path is asked for only if it matters.
 */
QString RelativeTarget(const std::function<QString()>& link, const QString& text);

/** The path without separators at its end, also such that are followed by a single dot. */
QString WithoutTrailingSeparators(const QString& path);

} // namespace common
