#include "common/tools/fileiconprovider.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryFile>

namespace tools {

QMap<QString, QIcon> FileIconProvider::iconCache_;

FileIconProvider::FileIconProvider() = default;

FileIconProvider::~FileIconProvider() = default;

QIcon FileIconProvider::icon(const QFileInfo& info) const
{
    const QString suffix = info.suffix();
    const auto cached = iconCache_.constFind(suffix);
    if (cached != iconCache_.constEnd())
        return *cached;

    if (iconCache_.isEmpty()) // icons must not outlive the application
        qAddPostRoutine([] { iconCache_.clear(); });
    QIcon result = PlatformIcon(suffix);
    if (result.isNull())
        result = QFileIconProvider::icon(QFileIconProvider::File);
    iconCache_.insert(suffix, result);
    return result;
}

// The desktop's icon for a file of that suffix, as pixmaps: it may refer to the file.
QIcon FileIconProvider::PlatformIcon(const QString& suffix) const
{
    QTemporaryFile file(QDir::tempPath() + QDir::separator() + QStringLiteral("XXXXXX.") + suffix);
    const QIcon platform = QFileIconProvider::icon(file.open() ? QFileInfo(file) : QFileInfo());
    QIcon copy;
    const auto sizes = platform.availableSizes(QIcon::Normal, QIcon::Off);
    for (const QSize& size : sizes)
        copy.addPixmap(platform.pixmap(size, QIcon::Normal, QIcon::Off), QIcon::Normal, QIcon::Off);
    return copy;
}

} // namespace tools
