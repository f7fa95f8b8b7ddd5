#include "page.h"
#include "pages.h"

#include <common/shell/linux/devinfo.h>
#include <common/shell/shell.h>
#include <common/tools/datewatcher.h>
#include <common/tools/idlewatcher.h>

#include <QLineEdit>
#include <QLocale>
#include <QPlainTextEdit>
#include <QTimer>

using common::IdleWatcher;
using tools::DateWatcher;

Page* NewDesktopPage()
{
    auto* page = new Page("Desktop", "How long nobody has touched keyboard and mouse, today's date "
                                     "and the time zone, with their changes as they happen.");
    QFormLayout* form = page->AddForm();
    QLineEdit* idle = Page::AddValue(form, "Idle for");
    QLineEdit* date = Page::AddValue(form, "Date");
    QLineEdit* zone = Page::AddValue(form, "Time zone");
    Page::AddValue(form, "Language")->setText(common::Shell::LocaleName());
    Page::AddValue(form, "Applications")->setText(common::Shell::AppPath());
    Page::AddValue(form, "This machine")
        ->setText(common::shell::DeviceInfo::GetSerialNumberMD5Hash("gallery"));
    QPlainTextEdit* events = page->AddLines("&Events");

    const auto idleWatcher = IdleWatcher::instance();
    const auto dateWatcher = DateWatcher::GetDateWatcher();
    QObject::connect(idleWatcher.data(), &IdleWatcher::idle, events, [events](int seconds) {
        Page::AddEvent(events, QString("Idle for %1 seconds").arg(seconds));
    });
    QObject::connect(idleWatcher.data(), &IdleWatcher::active, events,
                     [events] { Page::AddEvent(events, "Active again"); });
    QObject::connect(dateWatcher.data(), &DateWatcher::currentDateChanged, events,
                     [events] { Page::AddEvent(events, "Another date"); });
    QObject::connect(dateWatcher.data(), &DateWatcher::currentTimeZoneChanged, events,
                     [events] { Page::AddEvent(events, "Another offset from UTC"); });

    const auto show = [=] {
        const int seconds = idleWatcher->seconds();
        const QString known = seconds < 0 ? QString("not known") : QString("%1 s").arg(seconds);
        idle->setText(known + ", asked of " + idleWatcher->backendName());
        date->setText(QLocale().toString(DateWatcher::CurrentDate(), QLocale::LongFormat));
        zone->setText(QString::fromUtf8(DateWatcher::CurrentTimeZone().id()));
    };
    auto* timer = new QTimer(page);
    QObject::connect(timer, &QTimer::timeout, page, show);
    timer->start(1000);
    show();
    Page::AddEvent(events, "Watching");
    return page;
}
