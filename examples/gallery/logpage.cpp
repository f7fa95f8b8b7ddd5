#include "page.h"
#include "pages.h"

#include <common/logger/ilogger.h>
#include <common/logger/logger.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QMutex>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QQueue>
#include <QTimer>

#include <utility>

using namespace common::logger;

namespace {

const QStringList levelNames = {"EMERG", "ALERT",  "CRIT", "ERROR",
                                "WARN",  "NOTICE", "INFO", "DEBUG"};

/** The library's log, as it comes; the current logger for as long as it lives. */
class LogPage : public Page, public Logger
{
public:
    LogPage();
    ~LogPage() override { SetLogger(previous_); }

    // On the thread that logs. A copy logs more lines than a view can take one by one.
    void Append(const IMessage& message) override
    {
        const ICategory* category = message.Category();
        const QStringList line = {levelNames.value(message.Level()),
                                  QString::fromUtf8(category ? category->name : ""),
                                  message.Text()};
        const QMutexLocker lock(&mutex_);
        if (pending_.size() == mostLines)
            pending_.dequeue();
        pending_.enqueue({message.Level(), Stamped(line.join("   "))});
    }

protected:
    // The view would stay where it was while the page was hidden.
    void showEvent(QShowEvent* event) override
    {
        Page::showEvent(event);
        lines_->moveCursor(QTextCursor::End);
        lines_->moveCursor(QTextCursor::StartOfLine);
    }

private:
    void ShowPending();

    QMutex mutex_;
    QQueue<QPair<int, QString>> pending_;
    QComboBox* level_ = new QComboBox;
    QPlainTextEdit* lines_;
    ILogger* previous_;
};

LogPage::LogPage()
    : Page("Log", "Everything that the library logs passes through one interface; here it is a "
                  "widget's. Start a download or a copy and come back.")
{
    level_->addItems(levelNames);
    level_->setCurrentIndex(IMessage::DEBUG);
    auto* label = new QLabel("&Up to level");
    label->setBuddy(level_);
    level_->setAccessibleName("Up to level");
    auto* wrap = new QCheckBox("&Wrap long lines");
    auto* clear = new QPushButton("&Clear");
    auto* row = new QHBoxLayout;
    for (QWidget* widget : std::initializer_list<QWidget*>{label, level_, wrap, clear})
        row->addWidget(widget);
    row->addStretch();
    Content()->addLayout(row);

    lines_ = AddLines("&Lines");
    connect(wrap, &QCheckBox::toggled, lines_, [this](bool wrapped) {
        lines_->setLineWrapMode(wrapped ? QPlainTextEdit::WidgetWidth : QPlainTextEdit::NoWrap);
    });
    wrap->setChecked(true);
    connect(clear, &QPushButton::clicked, lines_, &QPlainTextEdit::clear);
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &LogPage::ShowPending);
    timer->start(100);
    previous_ = SetLogger(this);
}

void LogPage::ShowPending()
{
    QQueue<QPair<int, QString>> pending;
    {
        const QMutexLocker lock(&mutex_);
        pending.swap(pending_);
    }
    QStringList shown;
    for (const auto& [level, line] : std::as_const(pending)) {
        if (level <= level_->currentIndex())
            shown << line;
    }
    if (!shown.isEmpty())
        lines_->appendPlainText(shown.join('\n'));
}

} // namespace

Page* NewLogPage()
{
    return new LogPage;
}
