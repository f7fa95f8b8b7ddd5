#pragma once

#include <QByteArray>
#include <QDir>
#include <QStringList>
#include <QTemporaryDir>

/** What is in the file, or "unreadable". */
QByteArray ContentOf(const QString& path);

/** Makes the file, or makes it anew; fatal if it fails. */
void WriteFile(const QString& path, const QByteArray& content);

/**
 * Makes files, links and directories below the root, one for each line:
 * "a/file=content", "a/tool:755=content", "a/link->target", "a/empty/", "a/pipe|".
 */
void MakeTree(const QString& root, const QStringList& lines);

/** A temporary tree, whose root is the current directory as long as it lives. */
class CurrentTree : public QTemporaryDir
{
public:
    explicit CurrentTree(const QStringList& lines = {})
    {
        QDir::setCurrent(path());
        MakeTree(".", lines);
    }
    ~CurrentTree() { QDir::setCurrent("/"); }
};

/** What is below the root, hidden entries included, as sorted lines of the same form. */
QStringList DescribeTree(const QString& root);

/** How many entries the directory has, of any kind: those of /proc/self/fd are the open files. */
int EntriesOf(const QString& directory);
