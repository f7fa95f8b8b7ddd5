#include "page.h"

#include <QFileDialog>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTime>

namespace {

constexpr int margin = 24;
constexpr double titleScale = 1.7;
constexpr int leastHeight = 100; // of what takes the space that is left

QLineEdit* NewField(const QString& hint)
{
    auto* field = new QLineEdit;
    field->setPlaceholderText(hint);
    field->setClearButtonEnabled(true);
    return field;
}

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

    auto* sheet = new QWidget;
    auto* layout = new QVBoxLayout(sheet);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(6);
    layout->addWidget(heading);
    layout->addWidget(sentence);
    layout->addSpacing(12);
    layout->addLayout(content_, 1);
    content_->setSpacing(12);
    setWidget(sheet);
    setWidgetResizable(true);
    setFrameShape(NoFrame);
    setAccessibleName(title);
}

QLabel* Page::FaintLabel(const QString& text)
{
    auto* label = new QLabel(text);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

QFormLayout* Page::AddForm()
{
    auto* form = new QFormLayout;
    form->setHorizontalSpacing(20);
    form->setVerticalSpacing(4);
    content_->addLayout(form);
    return form;
}

QLineEdit* Page::AddValue(QFormLayout* form, const QString& name)
{
    auto* value = new QLineEdit;
    value->setReadOnly(true);
    value->setFrame(false);
    QPalette clear = value->palette();
    clear.setColor(QPalette::Base, Qt::transparent);
    value->setPalette(clear);
    QLabel* label = FaintLabel(name);
    label->setBuddy(value);
    form->addRow(label, value);
    return value;
}

QLineEdit* Page::AddField(QFormLayout* form, const QString& name, const QString& hint)
{
    QLineEdit* field = NewField(hint);
    form->addRow(name, field);
    return field;
}

QLineEdit* Page::AddFolder(QFormLayout* form, const QString& name, const QString& hint)
{
    QLineEdit* field = NewField(hint);
    auto* browse = new QPushButton("Browse ...");
    browse->setAccessibleName(QString("Browse for %1").arg(QString(name).remove('&')));
    connect(browse, &QPushButton::clicked, field, [field] {
        const QString folder =
            QFileDialog::getExistingDirectory(field->window(), QString(), field->text());
        if (!folder.isEmpty())
            field->setText(folder);
    });
    auto* label = new QLabel(name);
    label->setBuddy(field);
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    row->addWidget(field);
    row->addWidget(browse);
    form->addRow(label, row);
    return field;
}

QPlainTextEdit* Page::AddLines(const QString& name)
{
    auto* lines = new QPlainTextEdit;
    lines->setReadOnly(true);
    lines->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    lines->setTabChangesFocus(true);
    lines->setMaximumBlockCount(mostLines);
    AddWithLabel(name, lines);
    return lines;
}

void Page::AddWithLabel(const QString& name, QWidget* widget)
{
    QLabel* label = FaintLabel(name);
    label->setBuddy(widget);
    widget->setAccessibleName(QString(name).remove('&')); // lists do not take it from the label
    content_->addWidget(label);
    content_->addWidget(widget, 1);
    widget->setMinimumHeight(leastHeight);
    widget->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Ignored);
}

QString Page::Stamped(const QString& text)
{
    return QTime::currentTime().toString("HH:mm:ss.zzz   ") + text;
}

void Page::AddEvent(QPlainTextEdit* lines, const QString& text)
{
    lines->appendPlainText(Stamped(text));
}
