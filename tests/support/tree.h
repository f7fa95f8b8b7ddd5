#pragma once

#include <QStringList>

/**
 * Makes files, links and directories below the root, one for each line:
 * "a/file=content", "a/tool:755=content", "a/link->target", "a/empty/", "a/pipe|".
 */
void MakeTree(const QString& root, const QStringList& lines);

/** What is below the root, hidden entries included, as sorted lines of the same form. */
QStringList DescribeTree(const QString& root);
