#include "iconspage.h"

#include <common/tools/fileiconprovider.h>
#include <common/tools/svg/svgicon.h>

#include <QLabel>

using tools::svg::SvgIcon;

IconsPage::IconsPage()
    : Page("Icons", "Pictures in six sizes from one SVG file, a series in which a second one comes "
                    "up over the first, and the desktop's icons for types of files.")
{
    const QString phone = ":/gallery/phone.svg";
    const QString missed = ":/gallery/missed.svg";
    const auto newRow = [this](const QString& title) {
        auto* row = new QHBoxLayout;
        row->setSpacing(18);
        row->setContentsMargins(4, 0, 4, 12);
        Content()->addWidget(FaintLabel(title));
        Content()->addLayout(row);
        return row;
    };

    QBoxLayout* sizes = newRow("One file, six sizes");
    const QIcon icon = SvgIcon::CreateFromSvg(phone);
    const QList<QSize> all = tools::svg::IconSizes();
    for (const QSize& size : all)
        AddIcon(sizes, icon, size.width(), QString::number(size.width()));
    sizes->addStretch();

    QBoxLayout* series = newRow("A second file laid over it");
    constexpr int steps = 6;
    const QList<QIcon> icons = SvgIcon::CreateFromTwoSvgWithOverlay(phone, missed, steps);
    for (int step = 1; step <= steps; ++step)
        AddIcon(series, icons[step - 1], 64, QString("%1 %").arg(qRound(100.0 * step / steps)));
    series->addStretch();

    QBoxLayout* types = newRow("Types of files, as this desktop shows them");
    const tools::FileIconProvider provider;
    for (const char* suffix : {"txt", "pdf", "png", "mp3", "mp4", "zip", "html", "sh"})
        AddIcon(types, provider.icon(QFileInfo(QString("any.%1").arg(suffix))), 48, suffix);
    types->addStretch();
    Content()->addStretch();
}

void IconsPage::AddIcon(QBoxLayout* row, const QIcon& icon, int size, const QString& caption)
{
    auto* picture = new QLabel;
    picture->setPixmap(icon.pixmap(size, size));
    picture->setAlignment(Qt::AlignHCenter | Qt::AlignBottom);
    QLabel* text = FaintLabel(caption);
    text->setAlignment(Qt::AlignHCenter);
    auto* column = new QVBoxLayout;
    column->addWidget(picture, 1);
    column->addWidget(text);
    row->addLayout(column);
}
