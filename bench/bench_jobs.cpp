// One job a run, timed from outside by bench/run:
//   make TREE FILES DEPTH BYTES                                 a tree to work on
//   copy qvcommon|qfile|filesystem TREE DESTINATION
//   remove qvcommon|qfile|filesystem TREE
//   md5 FILE
//   gzip FILE        compress and decompress it, in memory
//   json FILE [KEY]  load and save it

#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>
#include <common/tools/jsonfile/jsonfile.h>
#include <common/tools/qcompressor.h>
#include <common/tools/string/converter.h>

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>

#include <cstdio>
#include <filesystem>

namespace {

constexpr int filesPerDirectory = 100;

// FILES files of BYTES bytes, a hundred in a folder, each folder DEPTH levels below the tree.
int Make(const QString& tree, int files, int depth, qint64 bytes)
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
    return 0;
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

int Md5(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return 1;
    std::puts(qPrintable(tools::string::converter::ToMD5(file)));
    return 0;
}

int Gzip(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return 1;
    QByteArray content = file.readAll();
    const bool done = tools::QCompressor::gzipCompress(content, content, -1) &&
                      tools::QCompressor::gzipDecompress(content, content);
    return done && content.size() == file.size() ? 0 : 1;
}

int Json(const QString& path, const QString& key)
{
    tools::JsonFile file(path, key);
    return file.Load() && !file.isNull() && file.Save() ? 0 : 1;
}

int Run(const QString& job, const QStringList& words)
{
    if (job == QLatin1String("make") && words.size() == 4)
        return Make(words[0], words[1].toInt(), words[2].toInt(), words[3].toLongLong());
    if (job == QLatin1String("copy") && words.size() == 3)
        return Copy(words[0], words[1], words[2]);
    if (job == QLatin1String("remove") && words.size() == 2)
        return Remove(words[0], words[1]);
    if (job == QLatin1String("md5") && words.size() == 1)
        return Md5(words[0]);
    if (job == QLatin1String("gzip") && words.size() == 1)
        return Gzip(words[0]);
    if (job == QLatin1String("json") && !words.isEmpty())
        return Json(words[0], words.value(1));
    qCritical("unknown job: see the top of bench_jobs.cpp");
    return 2;
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    return Run(words.value(1), words.mid(2));
}
