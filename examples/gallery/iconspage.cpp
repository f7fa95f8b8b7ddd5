#include "page.h"
#include "pages.h"

#include <common/tools/fileiconprovider.h>
#include <common/tools/svg/svgicon.h>

#include <QGuiApplication>
#include <QLabel>

using tools::svg::SvgIcon;

namespace {

void AddPicture(QBoxLayout* row, const QPixmap& pixmap, const QString& caption)
{
    auto* picture = new QLabel;
    picture->setPixmap(pixmap);
    picture->setAccessibleName(caption);
    auto* column = new QVBoxLayout;
    column->addStretch();
    column->addWidget(picture, 0, Qt::AlignHCenter);
    column->addWidget(Page::FaintLabel(caption), 0, Qt::AlignHCenter);
    row->insertLayout(row->count() - 1, column);
}

QBoxLayout* AddRow(Page* page, const QString& title)
{
    auto* row = new QHBoxLayout;
    row->setSpacing(14);
    row->setContentsMargins(0, 0, 0, 12);
    row->addStretch();
    page->Content()->addWidget(Page::FaintLabel(title));
    page->Content()->addLayout(row);
    return row;
}

// As many pixels as the screen has for it, so that it is sharp.
QPixmap Drawn(const QString& svg, const QSize& size)
{
    QPixmap pixmap = tools::svg::GetPixmap(svg, size * qGuiApp->devicePixelRatio());
    pixmap.setDevicePixelRatio(qGuiApp->devicePixelRatio());
    return pixmap;
}

} // namespace

Page* NewIconsPage()
{
    auto* page =
        new Page("Icons", "Pictures in six sizes from one SVG file, a series in which a "
                          "second one comes up over the first, and the desktop's icons for "
                          "types of files.");
    const QString phone = ":/gallery/phone.svg";
    const QString missed = ":/gallery/missed.svg";

    QBoxLayout* sizes = AddRow(page, "One file, six sizes");
    const QList<QSize> all = tools::svg::IconSizes();
    for (const QSize& size : all)
        AddPicture(sizes, Drawn(phone, size), QString::number(size.width()));

    QBoxLayout* series = AddRow(page, "A second file laid over it");
    constexpr int steps = 6;
    const QList<QIcon> icons = SvgIcon::CreateFromTwoSvgWithOverlay(phone, missed, steps);
    for (int step = 1; step <= steps; ++step)
        AddPicture(series, icons[step - 1].pixmap(48),
                   QString("%1 %").arg(qRound(100.0 * step / steps)));

    QBoxLayout* types = AddRow(page, "Types of files, as this desktop shows them");
    const tools::FileIconProvider provider;
    for (const char* suffix : {"txt", "pdf", "png", "mp3", "mp4", "zip", "html", "sh"})
        AddPicture(types, provider.icon(QFileInfo(QString("any.%1").arg(suffix))).pixmap(32),
                   suffix);
    page->Content()->addStretch();
    return page;
}
