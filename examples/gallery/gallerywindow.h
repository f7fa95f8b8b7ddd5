#pragma once

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
     * Draws each page into a PNG file: "a/b.png" becomes "a/b-dial.png" and so on.
     *
     * @return the files that were written; an empty list if one cannot be
     */
    QStringList TakePictures(const QString& file);

private:
    void AddPage(Page* page);

    DialPage* dialPage_;
    QListWidget* titles_;
    QStackedWidget* stack_;
    QList<Page*> pages_;
};
