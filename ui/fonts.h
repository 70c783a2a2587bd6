// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFont>

namespace kelvane {

// The window's face: a sans serif as narrow as the one the design's measures were made for, so
// every label's longest text fits the place the layout gives it. Liberation Sans (installed with
// the game) keeps the widths of the common desktop sans serif; where it is missing the desktop's
// own sans serif stands in. Hinting is off so widths scale with the window as the places do.
inline QFont DesignFont(double points, bool bold = false) {
    QFont font(QStringLiteral("Liberation Sans"));
    font.setStyleHint(QFont::SansSerif);
    font.setHintingPreference(QFont::PreferNoHinting);
    font.setPointSizeF(points);
    font.setBold(bold);
    return font;
}

// The table's captions, labels and buttons: the small face the design's measures were made for.
inline QFont TableFont() {
    return DesignFont(8.25);
}

}  // namespace kelvane
