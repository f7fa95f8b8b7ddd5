#pragma once

#include "common/qvcommon_export.h"

#include <QFileIconProvider>
#include <QFileInfo>
#include <QIcon>
#include <QMap>
#include <QString>

namespace tools {

/**
 * The desktop's icons for types of files, also of files that do not exist.
 *
 * @code
 * const QIcon icon = tools::FileIconProvider().icon(QFileInfo("report.pdf"));
 * @endcode
 *
 * The type is told by the suffix alone: the first question about a suffix costs a temporary file,
 * further ones are answered from a cache that all providers share and that lasts as long as the
 * application. Use it on the GUI thread.
 */
class QVCOMMON_EXPORT FileIconProvider : public QFileIconProvider
{
public:
    FileIconProvider();
    ~FileIconProvider() override;

    using QFileIconProvider::icon;
    /** The icon for the file's suffix, or a generic one; never null where the desktop has icons. */
    QIcon icon(const QFileInfo& info) const override;

private:
    QIcon PlatformIcon(const QString& suffix) const;

    static QMap<QString, QIcon> iconCache_;
};

} // namespace tools
