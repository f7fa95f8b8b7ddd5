#pragma once

#include "page.h"

#include <common/shell/filecopier.h>

#include <QTemporaryDir>

#include <memory>

class QProgressBar;
class QPushButton;

/** A tree of small files, copied on a thread of its own. */
class CopyPage : public Page
{
    Q_OBJECT

public:
    CopyPage();

    void Rehearse() override;
    int RehearsalTime() const override { return 1500; }

private:
    bool MakeTree();
    void Start();
    void Cancel();
    void ShowEnd(const QString& text);

    QTemporaryDir directory_;
    std::unique_ptr<common::FileCopier> copier_;
    int copies_ = 0;

    QPushButton* start_;
    QPushButton* cancel_;
    QProgressBar* bar_;
    QLabel* state_;
    QLabel* source_;
    QLabel* destination_;
};
