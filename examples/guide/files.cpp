#include "client.h"

#include <common/shell/filecommands.h>
#include <common/shell/filecopier.h>
#include <common/shell/filehelper.h>
#include <common/shell/fileremover.h>
#include <common/shell/shell.h>

#include <QFile>

void Client::CopyProfile(const QString& profile, const QString& home)
{
    //! [copy]
    using common::FileCopier;
    auto* copier = new FileCopier;
    copier->setParent(this);
    copier->AddDirectory("/usr/share/sounds", home + "/sounds");
    copier->AddFile(profile, home + "/profile.json");
    connect(copier, &FileCopier::bytesProgress, this, &Client::ShowBytes);
    connect(copier, &FileCopier::succesed, this, &Client::CopyDone);
    connect(copier, &FileCopier::failed, this, &Client::ShowError);
    copier->Copy();
    //! [copy]
}

void Client::ClearCache(const QString& cache)
{
    //! [remove]
    using common::FileRemover;
    auto* remover = new FileRemover;
    remover->setParent(this);
    remover->AddDirectory(cache + "/avatars");
    remover->AddFile(cache + "/index.json");
    connect(remover, &FileRemover::succesed, this, &Client::CacheIsClear);
    connect(remover, &FileRemover::failed, this, &Client::ShowError);
    remover->Remove();
    //! [remove]
}

void Client::RemoveSmallTree(const QString& cache)
{
    //! [at once]
    common::FileHelper helper(cache);
    connect(&helper, &common::FileHelper::failed, this, &Client::ShowProblem);
    const bool removed = helper.Remove();
    //! [at once]
    button->setEnabled(!removed);
}

void Client::RemoveOne(const QString& path)
{
    //! [commands]
    QFile file(path);
    if (!common::FileCommands::RemoveFile(file))
        ShowProblem(path);
    //! [commands]
}

void Client::UseShell(const QString& file)
{
    //! [shell]
    common::Shell::ShowFile(file); // in the file manager
    //! [shell]
}
