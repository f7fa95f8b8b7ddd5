#include "copypage.h"

#include <QDir>
#include <QFile>
#include <QFormLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

namespace {

constexpr int folderCount = 40;
constexpr int filesPerFolder = 250;
constexpr int barSteps = 1000;

} // namespace

CopyPage::CopyPage()
    : Page("Copy", "Ten thousand small files, copied on a thread of its own. The window stays "
                   "awake, and a cancelled copy stops at the next file."),
      start_(NewButton("Copy the tree")),
      cancel_(NewButton("Cancel")),
      bar_(new QProgressBar),
      state_(new QLabel("Ready."))
{
    bar_->setRange(0, barSteps);
    bar_->setValue(0);
    bar_->setMinimumHeight(28);
    cancel_->setEnabled(false);
    connect(start_, &QPushButton::clicked, this, &CopyPage::Start);
    connect(cancel_, &QPushButton::clicked, this, &CopyPage::Cancel);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(start_);
    buttons->addWidget(cancel_);
    buttons->addStretch();
    auto* form = NewForm();
    source_ = AddValue(form, "From");
    destination_ = AddValue(form, "To");
    source_->setText(directory_.filePath("tree"));
    destination_->setText(QString::fromUtf8("–"));
    Content()->addLayout(buttons);
    Content()->addWidget(bar_);
    Content()->addWidget(state_);
    Content()->addLayout(form);
    Content()->addStretch();
}

void CopyPage::Rehearse()
{
    Start();
}

bool CopyPage::MakeTree()
{
    const QDir root(source_->text());
    if (root.exists())
        return true;
    for (int folder = 0; folder < folderCount; ++folder) {
        const QString path = root.filePath(QString("folder %1").arg(folder));
        if (!root.mkpath(path))
            return false;
        for (int number = 0; number < filesPerFolder; ++number) {
            QFile file(QString("%1/file %2").arg(path).arg(number));
            if (!file.open(QIODevice::WriteOnly) || file.write("a small file\n") < 0)
                return false;
        }
    }
    return true;
}

void CopyPage::Start()
{
    if (!MakeTree())
        return ShowEnd("The tree cannot be made in " + directory_.path());
    destination_->setText(directory_.filePath(QString("copy %1").arg(++copies_)));
    copier_ = std::make_unique<common::FileCopier>();
    copier_->AddDirectory(source_->text(), destination_->text());
    connect(copier_.get(), &common::FileCopier::bytesProgress, this,
            [this](qint64 done, qint64 total) { bar_->setValue(int(done * barSteps / total)); });
    connect(copier_.get(), &common::FileCopier::progress, this, [this](int done, int total) {
        state_->setText(QString("Copying: %1 of %2 items").arg(done).arg(total));
    });
    connect(copier_.get(), &common::FileCopier::succesed, this,
            [this] { ShowEnd("Everything was copied."); });
    connect(
        copier_.get(), &common::FileCopier::failed, this,
        [this](int code, const QString& text) { ShowEnd(QString("%1: %2").arg(code).arg(text)); });
    start_->setEnabled(false);
    cancel_->setEnabled(true);
    state_->setText("Copying ...");
    copier_->Copy();
}

void CopyPage::Cancel()
{
    copier_->Abort(true);
}

void CopyPage::ShowEnd(const QString& text)
{
    state_->setText(text);
    start_->setEnabled(true);
    cancel_->setEnabled(false);
}
