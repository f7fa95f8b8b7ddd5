#pragma once

#include "page.h"

#include <QIcon>

class QBoxLayout;

/** Icons drawn from SVG files, and those of the desktop for types of files. */
class IconsPage : public Page
{
    Q_OBJECT

public:
    IconsPage();

private:
    static void AddIcon(QBoxLayout* row, const QIcon& icon, int size, const QString& caption);
};
