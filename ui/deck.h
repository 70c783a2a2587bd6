// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QPixmap>
#include <QSize>
#include <QString>
#include <memory>
#include <vector>

class QSvgRenderer;

namespace kelvane {

// The card-image source: a picture code (a face 1..52, the back 62, the empty-stack mark 56)
// becomes a picture of the size asked, rendered for the screen's device pixel ratio so it is
// sharp on a high-density screen. Faces and back come from an installed SVG card theme, each
// rendered once per size and kept for the few sizes last asked; without a theme, a deck is drawn
// by hand.
class Deck {
  public:
    // The theme's folder; empty takes the default one when it is installed.
    explicit Deck(QString themeFolder = QString());
    ~Deck();

    // `size` in the window's units; the picture holds size x ratio pixels.
    QPixmap Picture(int pictureCode, QSize size, qreal devicePixelRatio = 1.0);
    bool usesTheme() const;
    // How many pictures were actually rendered: asking again at one size renders nothing.
    int renders() const { return renders_; }
    int kept() const { return static_cast<int>(cache_.size()); }

    // The views use five sizes at once; a few more keep a resize back and forth cheap, while a
    // window dragged through a hundred sizes does not keep a hundred decks.
    static constexpr int kSizesKept = 8;

    static QString DefaultThemeFolder();

  private:
    // The theme's renderer, read on first use: no card is drawn before the first deal, so
    // start-up does not wait for the theme. Null when no usable theme is installed.
    QSvgRenderer* Theme() const;
    QPixmap Render(int pictureCode, QSize pixels);
    QPixmap DrawFace(int pictureCode, QSize size) const;
    QPixmap DrawBack(QSize size) const;
    QPixmap DrawEmptyMark(QSize size) const;

    QString themeFolder_;
    mutable std::unique_ptr<QSvgRenderer> svg_;
    mutable bool themeRead_ = false;
    QHash<quint64, QPixmap> cache_;  // by picture code and size key
    std::vector<quint64> sizes_;     // size keys in the cache, the one last used at the end
    int renders_ = 0;
};

}  // namespace kelvane
