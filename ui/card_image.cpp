// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/card_image.h"

#include <QMouseEvent>
#include <QPaintEngine>
#include <QPainter>
#include <algorithm>

#include "ui/deck.h"
#include "words/texts.h"

namespace kelvane {

CardImage::CardImage(Deck& deck, int index, QWidget* parent)
    : QWidget(parent), deck_(deck), index_(index) {
    setAttribute(Qt::WA_OpaquePaintEvent, false);
}

void CardImage::setPicture(int pictureCode) {
    if (tag_ == pictureCode) return;
    tag_ = pictureCode;
    update();
}

void CardImage::clearPicture() {
    setPicture(0);
}

void CardImage::setSelected(bool selected) {
    if (selected_ == selected) return;
    selected_ = selected;
    update();
}

QString CardImage::spokenName() const {
    return namedByOwner_ ? accessibleName() : QString::fromStdString(CardSlotName(tag_, selected_));
}

void CardImage::setLastMove(bool marked) {
    if (lastMove_ == marked) return;
    lastMove_ = marked;
    update();
}

namespace {

// The selection is seen on a fanned card's strip, so its frame is bold; the last move's is thin.
constexpr int kSelectionDivisor = 16;
constexpr int kLastMoveDivisor = 40;

// A frame inside the card's edge, `divisor` times thinner than the card's smaller side, never
// thinner than a clear line.
void Frame(QPainter& painter, const QRect& card, const QColor& colour, int divisor) {
    const int width = std::max(2, std::min(card.width(), card.height()) / divisor);
    painter.setPen(QPen(colour, width, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    painter.setBrush(Qt::NoBrush);
    const int inset = width / 2;
    painter.drawRect(
        card.adjusted(inset, inset, -inset - (width % 2 ? 0 : 1), -inset - (width % 2 ? 0 : 1)));
}

}  // namespace

void CardImage::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    // Drawn for the pixels actually painted (the screen's backing store, or the picture a grab
    // renders into): twice as many on a screen of scale factor 2.
    if (tag_ != 0) {
        const QPaintEngine* engine = painter.paintEngine();
        const qreal ratio = engine && engine->paintDevice()
                                ? engine->paintDevice()->devicePixelRatioF()
                                : devicePixelRatioF();
        painter.drawPixmap(0, 0, deck_.Picture(tag_, size(), ratio));
    }
    // The last move's mark hugs the card's edge: a thicker one covered the corner's index, and
    // a ten read "0".
    if (lastMove_) Frame(painter, rect(), LastMoveColour(), kLastMoveDivisor);
    if (selected_) {
        QColor tint = SelectionColour();
        tint.setAlpha(70);
        painter.fillRect(rect(), tint);
        Frame(painter, rect(), SelectionColour(), kSelectionDivisor);
    }
}

void CardImage::mousePressEvent(QMouseEvent* event) {
    const int button = event->button() == Qt::LeftButton    ? 1
                       : event->button() == Qt::RightButton ? 2
                                                            : 4;
    Q_EMIT pressed(index_, button);
}

void CardImage::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        Q_EMIT clicked(index_);
}

}  // namespace kelvane
