// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/deck.h"

#include <QDir>
#include <QFile>
#include <QPainter>
#include <QPainterPath>
#include <QSvgRenderer>
#include <algorithm>
#include <array>
#include <utility>

namespace kelvane {

namespace {

constexpr int kBack = 62;
constexpr int kEmptyStack = 56;
constexpr std::array<const char*, 4> kSuitIds = {"spade", "diamond", "club", "heart"};
constexpr std::array<const char*, 4> kSuitMarks = {"\u2660", "\u2666", "\u2663", "\u2665"};
constexpr std::array<const char*, 13> kRankMarks = {"A", "2", "3",  "4", "5", "6", "7",
                                                    "8", "9", "10", "J", "Q", "K"};

QString ElementId(int code) {
    if (code == kBack) return "back";
    const int suit = (code - 1) / 13;
    const int rank = (code - 1) % 13 + 1;
    static const std::array<const char*, 3> courts = {"jack", "queen", "king"};
    const QString rankId =
        rank > 10 ? courts[static_cast<std::size_t>(rank - 11)] : QString::number(rank);
    return rankId + "_" + kSuitIds[static_cast<std::size_t>(suit)];
}

// A picture of the card's size, clear wherever `paint` leaves it: the table shows through the
// rounded corners.
template <class Paint>
QPixmap Painted(QSize size, QPainter::RenderHints hints, Paint paint) {
    QPixmap picture(size);
    picture.fill(Qt::transparent);
    QPainter p(&picture);
    p.setRenderHints(hints);
    paint(p);
    return picture;
}

// The card's edge, half a pixel inside the picture so that a one-pixel pen stays sharp, or
// `inward` pixels further in; its corners are rounded by a tenth of the card's width.
void DrawEdge(QPainter& p, QSize size, double inward = 0) {
    const double radius = size.width() / 10.0;
    const double in = 0.5 + inward;
    p.drawRoundedRect(QRectF(in, in, size.width() - 2 * in, size.height() - 2 * in), radius,
                      radius);
}

}  // namespace

QString Deck::DefaultThemeFolder() {
    // Clean faces with large indices stay legible on the small opponent cards.
    return "/usr/share/carddecks/svg-standard";
}

Deck::Deck(QString themeFolder)
    : themeFolder_(themeFolder.isEmpty() ? DefaultThemeFolder() : std::move(themeFolder)) {}

QSvgRenderer* Deck::Theme() const {
    if (themeRead_) return svg_.get();
    themeRead_ = true;
    const QDir dir(themeFolder_);
    const QStringList files = dir.entryList({"*.svgz", "*.svg"}, QDir::Files);
    if (files.isEmpty()) return nullptr;
    auto svg = std::make_unique<QSvgRenderer>(dir.filePath(files.front()));
    if (svg->isValid() && svg->elementExists("1_spade") && svg->elementExists("back"))
        svg_ = std::move(svg);
    return svg_.get();
}

Deck::~Deck() = default;

bool Deck::usesTheme() const {
    return Theme() != nullptr;
}

QPixmap Deck::Picture(int code, QSize size, qreal devicePixelRatio) {
    if (size.isEmpty()) return {};
    const qreal ratio = devicePixelRatio > 0 ? devicePixelRatio : 1.0;
    const QSize pixels = (QSizeF(size) * ratio).toSize();
    // Only the 55 real pictures are kept, whatever codes are asked for: anything else is blank.
    if (!(code >= 1 && code <= 52) && code != kBack && code != kEmptyStack) {
        QPixmap blank(pixels);
        blank.fill(Qt::transparent);
        blank.setDevicePixelRatio(ratio);
        return blank;
    }
    // A size is the pixels drawn and the ratio they are shown at, in hundredths.
    const quint64 sizeKey = (quint64(qRound(ratio * 100)) << 32) | (quint64(pixels.width()) << 16) |
                            quint64(pixels.height());
    const quint64 key = (quint64(code) << 48) | sizeKey;
    auto used = std::find(sizes_.begin(), sizes_.end(), sizeKey);
    if (used != sizes_.end()) {
        std::rotate(used, used + 1, sizes_.end());
    } else {
        if (static_cast<int>(sizes_.size()) == kSizesKept) {
            const quint64 oldest = sizes_.front();
            sizes_.erase(sizes_.begin());
            cache_.removeIf([oldest](const auto& entry) {
                return (entry.key() & 0xFFFF'FFFF'FFFFull) == oldest;
            });
        }
        sizes_.push_back(sizeKey);
    }
    auto it = cache_.constFind(key);
    if (it != cache_.constEnd()) return *it;
    QPixmap picture = Render(code, pixels);
    picture.setDevicePixelRatio(ratio);
    ++renders_;
    cache_.insert(key, picture);
    return picture;
}

QPixmap Deck::Render(int code, QSize size) {
    const bool face = code >= 1 && code <= 52;
    if (code == kEmptyStack) return DrawEmptyMark(size);
    QSvgRenderer* theme = Theme();
    if (!theme) return face ? DrawFace(code, size) : DrawBack(size);
    return Painted(size, QPainter::Antialiasing | QPainter::SmoothPixmapTransform,
                   [&](QPainter& p) {
                       theme->render(&p, ElementId(code), QRectF(QPointF(0, 0), QSizeF(size)));
                   });
}

QPixmap Deck::DrawFace(int code, QSize size) const {
    return Painted(size, QPainter::Antialiasing, [&](QPainter& p) {
        p.setPen(QPen(QColor(90, 90, 90), 1));
        p.setBrush(Qt::white);
        DrawEdge(p, size);
        const int suit = (code - 1) / 13;
        const QColor ink = suit == 1 || suit == 3 ? QColor(200, 16, 30) : QColor(20, 20, 20);
        p.setPen(ink);
        QFont font;
        font.setBold(true);
        font.setPixelSize(std::max(8, size.height() / 5));
        p.setFont(font);
        const QString index = QString(kRankMarks[static_cast<std::size_t>((code - 1) % 13)]) +
                              "\n" + kSuitMarks[static_cast<std::size_t>(suit)];
        p.drawText(QRectF(3, 2, size.width() / 2.0, size.height() / 2.0),
                   Qt::AlignLeft | Qt::AlignTop, index);
        font.setPixelSize(std::max(10, size.height() / 2));
        p.setFont(font);
        p.drawText(QRectF(0, size.height() / 4.0, size.width(), size.height() * 0.7),
                   Qt::AlignCenter, kSuitMarks[static_cast<std::size_t>(suit)]);
    });
}

QPixmap Deck::DrawBack(QSize size) const {
    return Painted(size, QPainter::Antialiasing, [&](QPainter& p) {
        p.setPen(QPen(Qt::white, 2));
        p.setBrush(QColor(29, 53, 87));
        DrawEdge(p, size);
        p.setPen(QPen(QColor(69, 123, 157), 1));
        for (int d = -size.height(); d < size.width(); d += 6) {
            p.drawLine(QPointF(d, 0), QPointF(d + size.height(), size.height()));
            p.drawLine(QPointF(d + size.height(), 0), QPointF(d, size.height()));
        }
    });
}

QPixmap Deck::DrawEmptyMark(QSize size) const {
    // Where the stack was: a faint outline and a cross, so the player sees there is nothing left.
    return Painted(size, QPainter::Antialiasing, [&](QPainter& p) {
        p.setPen(QPen(QColor(120, 120, 120), 2, Qt::DashLine));
        p.setBrush(Qt::NoBrush);
        DrawEdge(p, size, 2);
        p.setPen(QPen(QColor(150, 150, 150), 2));
        const QPointF c(size.width() / 2.0, size.height() / 2.0);
        const double r = size.width() / 5.0;
        p.drawLine(c + QPointF(-r, -r), c + QPointF(r, r));
        p.drawLine(c + QPointF(-r, r), c + QPointF(r, -r));
    });
}

}  // namespace kelvane
