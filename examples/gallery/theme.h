#pragma once

#include <QStringList>

/** The looks of the gallery: Qt's Fusion style in light or dark. */
namespace theme {

enum Kind { System, Light, Dark };

/** What they are called, by kind. */
QStringList Names();
/** Sets the style; once, before there are widgets. */
void ApplyStyle();
/** Sets the colours, also of what is on the screen. */
void ApplyPalette(Kind kind);

} // namespace theme
