#include "logpage.h"

#include <QComboBox>
#include <QFontMetrics>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTime>

namespace {

constexpr int mostLines = 5000;
const char* const levelNames[] = {"EMERG", "ALERT",  "CRIT", "ERROR",
                                  "WARN",  "NOTICE", "INFO", "DEBUG"};

} // namespace

LogPage::LogPage()
    : Page("Log", "Everything that the library logs passes through one interface; here it is a "
                  "widget's. Start a download or a copy and come back."),
      level_(new QComboBox),
      lines_(new QPlainTextEdit)
{
    for (const char* name : levelNames)
        level_->addItem(name);
    level_->setCurrentIndex(common::logger::IMessage::DEBUG);
    lines_->setReadOnly(true);
    lines_->setMaximumBlockCount(mostLines);
    lines_->setLineWrapMode(QPlainTextEdit::NoWrap);
    lines_->setTabStopDistance(lines_->fontMetrics().horizontalAdvance("http.form.multipart "));
    auto* clear = NewButton("Clear");
    connect(clear, &QPushButton::clicked, lines_, &QPlainTextEdit::clear);
    connect(&logger_, &LiveLogger::line, this, &LogPage::AddLine);

    auto* row = new QHBoxLayout;
    row->addWidget(new QLabel("Up to level"));
    row->addWidget(level_);
    row->addWidget(clear);
    row->addStretch();
    Content()->addLayout(row);
    Content()->addWidget(lines_, 1);
}

// The view would begin where the last line ends.
void LogPage::showEvent(QShowEvent* event)
{
    Page::showEvent(event);
    lines_->moveCursor(QTextCursor::End);
    lines_->moveCursor(QTextCursor::StartOfLine);
}

void LogPage::AddLine(int level, const QString& category, const QString& text)
{
    if (level > level_->currentIndex())
        return;
    lines_->appendPlainText(QStringList{QTime::currentTime().toString("HH:mm:ss.zzz"),
                                        levelNames[level], category, text}
                                .join('\t'));
}
