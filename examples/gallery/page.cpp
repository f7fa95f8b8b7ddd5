#include "page.h"

#include <QFormLayout>
#include <QLabel>
#include <QPushButton>

namespace {

constexpr int margin = 28;
constexpr double titleScale = 1.7;

} // namespace

Page::Page(const QString& title, const QString& description)
    : title_(title), content_(new QVBoxLayout)
{
    auto* heading = new QLabel(title);
    QFont font = heading->font();
    font.setPointSizeF(font.pointSizeF() * titleScale);
    font.setWeight(QFont::DemiBold);
    heading->setFont(font);
    QLabel* sentence = FaintLabel(description);
    sentence->setWordWrap(true);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(6);
    layout->addWidget(heading);
    layout->addWidget(sentence);
    layout->addSpacing(16);
    layout->addLayout(content_, 1);
    content_->setSpacing(12);
}

QLabel* Page::FaintLabel(const QString& text)
{
    auto* label = new QLabel(text);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

QPushButton* Page::NewButton(const QString& text)
{
    constexpr int air = 20;
    auto* button = new QPushButton(text);
    button->setMinimumWidth(button->sizeHint().width() + air);
    return button;
}

QFormLayout* Page::NewForm()
{
    auto* form = new QFormLayout;
    form->setContentsMargins(4, 12, 4, 0);
    form->setHorizontalSpacing(28);
    form->setVerticalSpacing(12);
    return form;
}

QLabel* Page::AddValue(QFormLayout* form, const QString& name)
{
    auto* value = new QLabel;
    value->setTextInteractionFlags(Qt::TextSelectableByMouse);
    value->setTextFormat(Qt::PlainText);
    form->addRow(FaintLabel(name), value);
    return value;
}
