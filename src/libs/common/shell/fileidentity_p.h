#pragma once

#include <QString>

namespace common {

/** Whether anything is at the path; a link that leads nowhere counts. */
bool Exists(const QString& path);

/** Whether the path leads, through links, to a directory. */
bool IsDirectory(const QString& path);

/** Whether both paths lead, through links, to the same existing file. */
bool IsSameFile(const QString& first, const QString& second);

/** Whether @p destination is the link itself, or anything that it leads to or through. */
bool IsOnTheWayOfLink(const QString& link, const QString& destination);

/** Whether @p destination is a link that the path @p source goes through. */
bool IsLinkInPath(const QString& source, const QString& destination);

/** Whether the path leads, through links, to a regular file that can be read. */
bool IsReadableFile(const QString& path);

/** Whether the path is a link whose target can be told in a QString without loss. */
bool IsCopyableLink(const QString& path);

/** Whether the path is a link; a separator, or one and a dot, at its end do not hide it. */
bool IsLink(const QString& path);

/**
 * Where the tree really lies, or the path itself if nothing is there. Below a path Qt cleans by
 * text, which misleads behind "link/..".
 */
QString RealPath(const QString& tree);

/** A path below the tree as seen from there. Both are absolute and clean. */
QString RelativePath(const QString& tree, const QString& path);

/** The path without separators at its end, also such that are followed by a single dot. */
QString WithoutTrailingSeparators(const QString& path);

} // namespace common
