#pragma once

#include "page.h"

#include <common/tools/idlewatcher.h>

#include <QTimer>

class QListWidget;

/** What the library knows of the desktop: idleness, date, zone, places. */
class DesktopPage : public Page
{
    Q_OBJECT

public:
    DesktopPage();

private:
    void ShowState();
    void AddEvent(const QString& text);

    QSharedPointer<common::IdleWatcher> idleWatcher_;
    QTimer timer_;

    QLabel* idle_;
    QLabel* date_;
    QLabel* zone_;
    QListWidget* events_;
};
