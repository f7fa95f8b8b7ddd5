#include "gallerywindow.h"

#include "dialpage.h"
#include "pages.h"

#include <common/tools/svg/svgicon.h>

#include <QDir>
#include <QEventLoop>
#include <QHBoxLayout>
#include <QListWidget>
#include <QShortcut>
#include <QStackedWidget>
#include <QTimer>

#include <algorithm>

namespace {

constexpr int titleHeight = 40;
constexpr int titleListWidth = 140;

void Wait(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

GalleryWindow::GalleryWindow()
    : dialPage_(new DialPage), titles_(new QListWidget), stack_(new QStackedWidget)
{
    setWindowTitle("libqvcommon");
    setWindowIcon(tools::svg::SvgIcon::CreateFromSvg(":/gallery/phone.svg"));
    titles_->setFixedWidth(titleListWidth);
    titles_->setFrameShape(QFrame::NoFrame);
    titles_->setAccessibleName("Pages");

    auto* side = new QWidget;
    side->setBackgroundRole(QPalette::Base);
    side->setAutoFillBackground(true);
    auto* sideLayout = new QVBoxLayout(side);
    sideLayout->setContentsMargins(0, 18, 0, 0);
    sideLayout->addWidget(titles_);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(side);
    layout->addWidget(stack_, 1);
    Page* log = NewLogPage(); // first, to see what the others log
    for (Page* page : std::initializer_list<Page*>{dialPage_, NewDownloadPage(), NewCopyPage(),
                                                   NewIconsPage(), NewDesktopPage(), log})
        AddPage(page);
    connect(titles_, &QListWidget::currentRowChanged, stack_, &QStackedWidget::setCurrentIndex);
    titles_->setCurrentRow(0);
    connect(new QShortcut(QKeySequence("Ctrl+Q"), this), &QShortcut::activated, this,
            &QWidget::close);
    resize(780, 640);
}

void GalleryWindow::AddPage(Page* page)
{
    auto* title = new QListWidgetItem("   " + page->Title(), titles_);
    title->setSizeHint({titleListWidth, titleHeight});
    title->setData(Qt::AccessibleTextRole, page->Title());
    const int row = stack_->addWidget(page);
    const QString keys = QString("Ctrl+%1").arg(row + 1);
    title->setToolTip(keys);
    connect(new QShortcut(QKeySequence(keys), this), &QShortcut::activated, titles_,
            [this, row] { titles_->setCurrentRow(row); });
    pages_ << page;
}

void GalleryWindow::Dial(const QString& address)
{
    titles_->setCurrentRow(0);
    if (!address.isEmpty())
        dialPage_->SetAddress(address);
}

QStringList GalleryWindow::TakePictures(const QString& directory,
                                        const QList<theme::Kind>& palettes)
{
    const QDir target(directory);
    QStringList files;
    if (!target.mkpath("."))
        return files;
    for (int i = 0; i < pages_.size(); ++i) {
        titles_->setCurrentRow(i);
        pages_[i]->Rehearse();
        Wait(std::max(50, pages_[i]->RehearsalTime()));
        for (const theme::Kind palette : palettes) {
            theme::ApplyPalette(palette);
            files << target.filePath(
                QString("%1-%2.png").arg(pages_[i]->Title().toLower(), theme::Names()[palette]));
            if (!grab().save(files.last(), "PNG"))
                return {};
        }
    }
    return files;
}
