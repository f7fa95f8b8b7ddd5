#include "gallerywindow.h"

#include "copypage.h"
#include "desktoppage.h"
#include "dialpage.h"
#include "downloadpage.h"
#include "iconspage.h"
#include "logpage.h"

#include <common/tools/svg/svgicon.h>

#include <QEventLoop>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QListWidget>
#include <QStackedWidget>
#include <QTimer>

#include <algorithm>

namespace {

constexpr int titleHeight = 40;
constexpr int titleListWidth = 170;

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
    titles_->setStyleSheet(
        "QListWidget { border: none; background: palette(base); padding-top: 18px; }");

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(titles_);
    layout->addWidget(stack_, 1);
    auto* log = new LogPage; // first, to see what the others log
    for (Page* page : std::initializer_list<Page*>{dialPage_, new DownloadPage, new CopyPage,
                                                   new IconsPage, new DesktopPage, log})
        AddPage(page);
    connect(titles_, &QListWidget::currentRowChanged, stack_, &QStackedWidget::setCurrentIndex);
    titles_->setCurrentRow(0);
    resize(900, 680);
}

void GalleryWindow::AddPage(Page* page)
{
    auto* title = new QListWidgetItem("   " + page->Title(), titles_);
    title->setSizeHint({titleListWidth, titleHeight});
    stack_->addWidget(page);
    pages_ << page;
}

void GalleryWindow::Dial(const QString& address)
{
    titles_->setCurrentRow(0);
    if (!address.isEmpty())
        dialPage_->SetAddress(address);
}

QStringList GalleryWindow::TakePictures(const QString& file)
{
    const QFileInfo info(file);
    QStringList files;
    for (int i = 0; i < pages_.size(); ++i) {
        titles_->setCurrentRow(i);
        pages_[i]->Rehearse();
        Wait(std::max(50, pages_[i]->RehearsalTime()));
        files << info.path() + '/' + info.completeBaseName() + '-' + pages_[i]->Title().toLower() +
                     ".png";
        if (!grab().save(files.last(), "PNG"))
            return {};
    }
    return files;
}
