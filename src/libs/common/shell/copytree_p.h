#pragma once

#include "common/shell/copysource_p.h"
#include "common/shell/opendirectories_p.h"
#include "common/shell/tree_p.h"

#include <QList>
#include <QPair>
#include <QString>

#include <deque>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace common {

using CopyPaths = QPair<QString, QString>; ///< source and destination

/** A tree to be copied: its source and destination, and what was found. */
struct CopyTree
{
    explicit CopyTree(const CopyPaths& tree);

    QString SourceOf(const Tree::Entry& entry) const;
    QString DestinationOf(const Tree::Entry& entry) const;
    /** The size of a file that was found. */
    qint64 SizeOf(const Tree::Entry& file);
    /** Whether that is one of the files. */
    bool HasFile(const CopyPaths& item) const;
    void Close();

    CopyPaths given;
    Tree names;
    OpenDirectories from;
    OpenDirectories to;
    bool isNative; ///< known to others than Qt
    std::vector<Tree::Entry> files;
    std::vector<Tree::Entry> links;
};

/** The files and links that are copied, to be found by their directories and names. */
struct CopySources
{
    std::set<std::pair<Identity, std::string_view>> places;
    std::deque<QByteArray> names; ///< of those that were given: places point to them
};

CopySources SourcesOf(const std::deque<CopyTree>& trees, const QList<CopyPaths>& given);

} // namespace common
