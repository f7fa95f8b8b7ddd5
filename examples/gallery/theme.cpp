#include "theme.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

namespace theme {

namespace {

struct Colors
{
    QRgb window, base, alternate, button, text, faint, highlight;
};

constexpr Colors light = {0xfff4f5f7, 0xffffffff, 0xfff0f1f4, 0xffe9ebef,
                          0xff20242c, 0xff6b7280, 0xff2d6cdf};
constexpr Colors dark = {0xff1e2128, 0xff2a2f39, 0xff313743, 0xff39404d,
                         0xffe6e8ec, 0xff9aa3b2, 0xff4b83e8};

QPalette PaletteOf(const Colors& colors)
{
    QPalette palette;
    palette.setColor(QPalette::Window, colors.window);
    palette.setColor(QPalette::Base, colors.base);
    palette.setColor(QPalette::AlternateBase, colors.alternate);
    palette.setColor(QPalette::Button, colors.button);
    palette.setColor(QPalette::ToolTipBase, colors.base);
    for (const auto role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText})
        palette.setColor(role, colors.text);
    palette.setColor(QPalette::PlaceholderText, colors.faint);
    palette.setColor(QPalette::Highlight, colors.highlight);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, colors.highlight);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, colors.faint);
    return palette;
}

} // namespace

void Apply(Kind kind)
{
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    if (kind != System)
        QApplication::setPalette(PaletteOf(kind == Dark ? dark : light));
}

} // namespace theme
