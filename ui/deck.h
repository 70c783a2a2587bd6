#pragma once

#include <QHash>
#include <QPixmap>
#include <QSize>
#include <QString>
#include <memory>

class QSvgRenderer;

namespace kelvane {

// The card-image source: a picture code (a face 1..52, the back 62, the empty-stack mark 56)
// becomes a picture of the size asked. Faces and back come from an installed SVG card theme,
// each rendered once per size and kept; without a theme, a deck is drawn by hand.
class Deck {
  public:
    // The theme's folder; empty takes the default one when it is installed.
    explicit Deck(QString themeFolder = QString());
    ~Deck();

    QPixmap Picture(int pictureCode, QSize size);
    bool usesTheme() const;
    // How many pictures were actually rendered: asking again at one size renders nothing.
    int renders() const { return renders_; }

    static QString DefaultThemeFolder();

  private:
    // The theme's renderer, read on first use: no card is drawn before the first deal, so
    // start-up does not wait for the theme. Null when no usable theme is installed.
    QSvgRenderer* Theme() const;
    QPixmap Render(int pictureCode, QSize size);
    QPixmap DrawFace(int pictureCode, QSize size) const;
    QPixmap DrawBack(QSize size) const;
    QPixmap DrawEmptyMark(QSize size) const;

    QString themeFolder_;
    mutable std::unique_ptr<QSvgRenderer> svg_;
    mutable bool themeRead_ = false;
    QHash<quint64, QPixmap> cache_;
    int renders_ = 0;
};

}  // namespace kelvane
