#pragma once

#include "jobcommand.h"

#include <common/shell/fileremover.h>

#include <QStringList>

namespace qvtool {

/** Removes files, links and trees; asks before it removes a tree. */
class RemoveCommand : public JobCommand
{
    Q_OBJECT

public:
    explicit RemoveCommand(ToolLogger& log);

protected:
    void Declare(QCommandLineParser& parser) override;
    void Configure(Arguments& arguments) override;
    void Start() override;
    void StartJob() override;
    void AbortJob() override;

private:
    QString Add(const QString& path);
    void Ask();

    common::FileRemover remover_;
    QStringList paths_;
    QStringList trees_;
    bool confirmed_ = false;
};

} // namespace qvtool
