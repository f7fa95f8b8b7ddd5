#include "support/tree.h"

#include <QFile>
#include <QRegularExpression>

#include <filesystem>

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

constexpr auto usualMode = fs::perms(0644);

QString Describe(const fs::directory_entry& entry)
{
    if (entry.is_symlink())
        return "->" + QString::fromStdString(fs::read_symlink(entry.path()).string());
    if (entry.is_directory())
        return "/";
    if (entry.is_fifo())
        return "|";
    const auto mode = entry.status().permissions();
    return (mode == usualMode ? "=" : QString(":%1=").arg(int(mode), 0, 8)) +
           ContentOf(QString::fromStdString(entry.path().string()));
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
    static const QRegularExpression form("^(.*?)(?::(\\d+))?(=|->|/$|\\|$)(.*)$",
                                         QRegularExpression::DotMatchesEverythingOption);
    for (const QString& line : lines) {
        const auto entry = form.match(line);
        const QString kind = entry.captured(3);
        const fs::path path = fs::path(root.toStdString()) / entry.captured(1).toStdString();
        fs::create_directories(kind == "/" ? path : path.parent_path());
        if (kind == "|") {
            mkfifo(path.c_str(), 0600);
        } else if (kind == "->") {
            fs::create_symlink(entry.captured(4).toStdString(), path);
        } else if (kind == "=") {
            WriteFile(QString::fromStdString(path.string()), entry.captured(4).toUtf8());
            const auto mode = fs::perms(entry.captured(2).toInt(nullptr, 8));
            fs::permissions(path, mode == fs::perms::none ? usualMode : mode);
        }
    }
}

QStringList DescribeTree(const QString& root)
{
    QStringList lines;
    const fs::path top = root.toStdString();
    if (fs::exists(top)) {
        for (const auto& entry : fs::recursive_directory_iterator(top))
            lines << QString::fromStdString(entry.path().lexically_relative(top)) + Describe(entry);
    }
    lines.sort();
    return lines;
}

int EntriesOf(const QString& directory)
{
    return static_cast<int>(QDir(directory).entryList(QDir::AllEntries | QDir::System).size());
}
