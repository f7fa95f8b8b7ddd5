#include "theme.h"

#include <QApplication>
#include <QPalette>
#include <QProxyStyle>
#include <QStyleOptionButton>

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

// Not every system has a colour for texts that are less important.
QPalette SystemPalette()
{
    QPalette palette = QApplication::palette();
    QColor faint = palette.color(QPalette::WindowText);
    faint.setAlphaF(0.7);
    palette.setColor(QPalette::PlaceholderText, faint);
    return palette;
}

class Style : public QProxyStyle
{
public:
    Style() : QProxyStyle(QStringLiteral("Fusion")) {}

    // Fusion draws an outline darker than the window, which in the dark is no outline.
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override
    {
        const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
        if (element != PE_IndicatorCheckBox || !button)
            return QProxyStyle::drawPrimitive(element, option, painter, widget);
        QStyleOptionButton visible(*button);
        visible.palette.setColor(QPalette::Window,
                                 button->palette.color(QPalette::PlaceholderText));
        QProxyStyle::drawPrimitive(element, &visible, painter, widget);
    }

    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                           const QWidget* widget) const override
    {
        const QSize air = type == CT_PushButton ? QSize(16, 4) : QSize(0, 0);
        return QProxyStyle::sizeFromContents(type, option, size, widget) + air;
    }
};

} // namespace

QStringList Names()
{
    return {"system", "light", "dark"};
}

void ApplyStyle()
{
    QApplication::setStyle(new Style);
}

void ApplyPalette(Kind kind)
{
    QApplication::setPalette(kind == System ? SystemPalette()
                                            : PaletteOf(kind == Dark ? dark : light));
}

} // namespace theme
