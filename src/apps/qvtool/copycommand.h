#pragma once

#include "jobcommand.h"

#include <common/shell/filecopier.h>

#include <QHash>
#include <QStringList>

namespace qvtool {

/** Copies files, links and trees, like cp -r into a directory or to a new name. */
class CopyCommand : public JobCommand
{
    Q_OBJECT

public:
    explicit CopyCommand(ToolLogger& log);

protected:
    void Declare(QCommandLineParser& parser) override;
    void Configure(Arguments& arguments) override;
    void Start() override;
    void StartJob() override;
    void AbortJob() override;

private:
    QString Add(const QString& source);
    QString Destination(const QString& source) const;

    common::FileCopier copier_;
    QStringList sources_;
    QString destination_;
    QHash<QString, QString> sourceByDestination_;
};

} // namespace qvtool
