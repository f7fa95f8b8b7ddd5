// One job on a tree of files, for bench/run to time from outside:
//   bench_trees make TREE FILES DEPTH BYTES
//   bench_trees copy|remove qvcommon|qfile|filesystem TREE [DESTINATION]

#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>

#include <filesystem>

namespace {

constexpr int filesPerDirectory = 100;

// FILES files of BYTES bytes, a hundred in a folder, each folder DEPTH levels below the tree.
void Make(const QString& tree, int files, int depth, qint64 bytes)
{
    const QByteArray block(static_cast<int>(qMin<qint64>(bytes, 1 << 20)), 'x');
    QString folder;
    for (int i = 0; i < files; ++i) {
        if (i % filesPerDirectory == 0) {
            const QString level = QStringLiteral("/%1").arg(i / filesPerDirectory);
            folder = tree + level.repeated(depth);
            QDir().mkpath(folder);
        }
        QFile file(QStringLiteral("%1/%2").arg(folder).arg(i));
        if (!file.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", qPrintable(file.fileName()));
        for (qint64 left = bytes; left > 0; left -= block.size())
            file.write(block.constData(), qMin<qint64>(left, block.size()));
    }
}

template <typename Front>
int Await(Front& front, bool (Front::*start)())
{
    QObject::connect(&front, &Front::succesed, [] { QCoreApplication::exit(0); });
    QObject::connect(&front, &Front::failed, [] { QCoreApplication::exit(1); });
    (front.*start)();
    return QCoreApplication::exec();
}

// What a program would write that has only QFile.
bool CopyByQFile(const QString& tree, const QString& destination)
{
    const int prefix = tree.size();
    QString folder;
    QDirIterator entries(tree, QDir::Files, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString target = destination + entries.next().mid(prefix);
        const QString targetFolder = target.left(target.lastIndexOf(QLatin1Char('/')));
        if (targetFolder != folder && !QDir().mkpath(targetFolder))
            return false;
        folder = targetFolder;
        if (!QFile::copy(entries.filePath(), target))
            return false;
    }
    return true;
}

int Copy(const QString& with, const QString& tree, const QString& destination)
{
    if (with == QLatin1String("qfile"))
        return CopyByQFile(tree, destination) ? 0 : 1;
    if (with == QLatin1String("filesystem")) {
        std::filesystem::copy(tree.toStdString(), destination.toStdString(),
                              std::filesystem::copy_options::recursive);
        return 0;
    }
    common::FileCopier copier;
    copier.AddDirectory(tree, destination);
    return Await(copier, &common::FileCopier::Copy);
}

int Remove(const QString& with, const QString& tree)
{
    if (with == QLatin1String("qfile"))
        return QDir(tree).removeRecursively() ? 0 : 1;
    if (with == QLatin1String("filesystem")) {
        std::filesystem::remove_all(tree.toStdString());
        return 0;
    }
    common::FileRemover remover;
    remover.AddDirectory(tree);
    return Await(remover, &common::FileRemover::Remove);
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments().mid(1);
    const QString job = words.value(0);
    if (job == QLatin1String("make") && words.size() == 5) {
        Make(words[1], words[2].toInt(), words[3].toInt(), words[4].toLongLong());
        return 0;
    }
    if (job == QLatin1String("copy") && words.size() == 4)
        return Copy(words[1], words[2], words[3]);
    if (job == QLatin1String("remove") && words.size() == 3)
        return Remove(words[1], words[2]);
    qCritical("unknown job: see the top of bench_trees.cpp");
    return 2;
}
