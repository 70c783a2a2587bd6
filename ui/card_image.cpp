// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/card_image.h"

#include <QMouseEvent>
#include <QPaintEngine>
#include <QPainter>
#include <algorithm>

#include "ui/deck.h"
#include "ui/texts.h"

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

// A frame inside the card's edge, as thick as the card's size allows a clear line.
void Frame(QPainter& painter, const QRect& card, const QColor& colour) {
    const int width = std::max(2, std::min(card.width(), card.height()) / 16);
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
    if (lastMove_) Frame(painter, rect(), LastMoveColour());
    if (selected_) {
        QColor tint = SelectionColour();
        tint.setAlpha(70);
        painter.fillRect(rect(), tint);
        Frame(painter, rect(), SelectionColour());
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
