#pragma once

#include <QString>

namespace common {

/** Whether both paths lead, through links, to the same existing file. */
bool IsSameFile(const QString& first, const QString& second);

/** Whether making a link at @p destination like the one at @p link would destroy what it copies. */
bool IsLinkItselfOrItsTarget(const QString& link, const QString& destination);

/** Whether the path leads, through links, to something that exists and is no regular file. */
bool IsSpecialFile(const QString& path);

/** Whether the path is a link; a separator at its end does not hide it. */
bool IsLink(const QString& path);

/** The path without separators at its end. */
QString WithoutTrailingSeparators(const QString& path);

} // namespace common
