#pragma once

#include "theme.h"

#include <QList>
#include <QWidget>

class DialPage;
class Page;
class QListWidget;
class QStackedWidget;

/** The window: a list of pages, and the page. */
class GalleryWindow : public QWidget
{
    Q_OBJECT

public:
    GalleryWindow();

    /** Shows an address that another instance was started with. */
    void Dial(const QString& address);

    /**
     * Draws each page in each palette into a file such as "dial-dark.png" in @p directory, which is
     * made where it is missing.
     *
     * @return the files that were written; an empty list if one cannot be
     */
    QStringList TakePictures(const QString& directory, const QList<theme::Kind>& palettes);

private:
    void AddPage(Page* page);

    DialPage* dialPage_;
    QListWidget* titles_;
    QStackedWidget* stack_;
    QList<Page*> pages_;
};
