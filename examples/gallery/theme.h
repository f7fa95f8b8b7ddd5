#pragma once

/** The looks of the gallery: Qt's Fusion style in light or dark. */
namespace theme {

enum Kind { System, Light, Dark };

void Apply(Kind kind);

} // namespace theme
