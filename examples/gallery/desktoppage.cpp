#include "desktoppage.h"

#include <common/shell/linux/devinfo.h>
#include <common/shell/shell.h>
#include <common/tools/datewatcher.h>

#include <QFormLayout>
#include <QLabel>
#include <QListWidget>
#include <QLocale>
#include <QTime>

using common::IdleWatcher;
using tools::DateWatcher;

DesktopPage::DesktopPage()
    : Page("Desktop", "How long nobody has touched keyboard and mouse, today's date and the time "
                      "zone, with their changes as they happen."),
      idleWatcher_(IdleWatcher::instance()),
      events_(new QListWidget)
{
    auto* form = NewForm();
    form->setContentsMargins(4, 0, 4, 12);
    idle_ = AddValue(form, "Idle for");
    date_ = AddValue(form, "Date");
    zone_ = AddValue(form, "Time zone");
    AddValue(form, "Language")->setText(common::Shell::LocaleName());
    AddValue(form, "Applications")->setText(common::Shell::AppPath());
    AddValue(form, "This machine")
        ->setText(common::shell::DeviceInfo::GetSerialNumberMD5Hash("gallery"));
    Content()->addLayout(form);
    Content()->addWidget(FaintLabel("Events"));
    Content()->addWidget(events_, 1);

    connect(idleWatcher_.data(), &IdleWatcher::idle, this,
            [this](int seconds) { AddEvent(QString("Idle for %1 seconds").arg(seconds)); });
    connect(idleWatcher_.data(), &IdleWatcher::active, this, [this] { AddEvent("Active again"); });
    const auto dateWatcher = DateWatcher::GetDateWatcher();
    connect(dateWatcher.data(), &DateWatcher::currentDateChanged, this,
            [this] { AddEvent("Another date"); });
    connect(dateWatcher.data(), &DateWatcher::currentTimeZoneChanged, this,
            [this] { AddEvent("Another offset from UTC"); });
    connect(&timer_, &QTimer::timeout, this, &DesktopPage::ShowState);
    timer_.start(1000);
    ShowState();
    AddEvent("Watching");
}

void DesktopPage::ShowState()
{
    const int seconds = idleWatcher_->seconds();
    const QString known = seconds < 0 ? QString("not known") : QString("%1 s").arg(seconds);
    idle_->setText(known + ", asked of " + idleWatcher_->backendName());
    date_->setText(QLocale().toString(DateWatcher::CurrentDate(), QLocale::LongFormat));
    zone_->setText(QString::fromUtf8(DateWatcher::CurrentTimeZone().id()));
}

void DesktopPage::AddEvent(const QString& text)
{
    events_->addItem(QTime::currentTime().toString("HH:mm:ss   ") + text);
    events_->scrollToBottom();
}
