#include "support/tree.h"

#include <QFile>

#include <filesystem>

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

constexpr auto usualMode = fs::perms(0644);

void MakeEntry(const fs::path& root, const QString& line)
{
    const int content = line.indexOf(QLatin1Char('='));
    const int target = line.indexOf(QLatin1String("->"));
    const QString name = line.left(qMax(content, target)).section(QLatin1Char(':'), 0, 0);
    const fs::path path = root / (name.isEmpty() ? line : name).toStdString();
    if (line.endsWith(QLatin1Char('/'))) {
        fs::create_directories(path);
        return;
    }
    fs::create_directories(path.parent_path());
    if (line.endsWith(QLatin1Char('|'))) {
        mkfifo(path.string().substr(0, path.string().size() - 1).c_str(), 0600);
    } else if (target >= 0) {
        fs::create_symlink(line.mid(target + 2).toStdString(), path);
    } else {
        WriteFile(QString::fromStdString(path.string()), line.mid(content + 1).toUtf8());
        const QString mode = line.left(content).section(QLatin1Char(':'), 1);
        fs::permissions(path, mode.isEmpty() ? usualMode : fs::perms(mode.toInt(nullptr, 8)));
    }
}

QString Describe(const fs::directory_entry& entry, const QString& name)
{
    if (entry.is_symlink())
        return name + QStringLiteral("->") +
               QString::fromStdString(fs::read_symlink(entry.path()).string());
    if (entry.is_directory())
        return name + QLatin1Char('/');
    if (entry.is_fifo())
        return name + QLatin1Char('|');
    const auto mode = entry.status().permissions();
    const QString shownMode =
        mode == usualMode ? QString() : QLatin1Char(':') + QString::number(int(mode), 8);
    return name + shownMode + QLatin1Char('=') +
           QString::fromUtf8(ContentOf(QString::fromStdString(entry.path().string())));
}

} // namespace

QByteArray ContentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

void WriteFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(path));
}

void MakeTree(const QString& root, const QStringList& lines)
{
    for (const QString& line : lines)
        MakeEntry(root.toStdString(), line);
}

QStringList DescribeTree(const QString& root)
{
    QStringList lines;
    const fs::path top = root.toStdString();
    if (fs::exists(top)) {
        for (const auto& entry : fs::recursive_directory_iterator(top))
            lines << Describe(entry, QString::fromStdString(entry.path().lexically_relative(top)));
    }
    lines.sort();
    return lines;
}
