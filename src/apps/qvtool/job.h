#pragma once

#include <common/http/filedownload.h>
#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>

namespace qvtool {

/** How far a job came; with error 0, to its end. */
struct Outcome
{
    qint64 done = 0;
    qint64 total = 0;
    int error = 0;
    QString message;
};

// Each runs a job until it ends or a signal comes, with a bar, unless it is to be quiet.

Outcome Run(common::http::IFileDownload& download, bool quiet);
Outcome Run(common::FileCopier& copier, bool quiet);
Outcome Run(common::FileRemover& remover, bool quiet);

} // namespace qvtool
