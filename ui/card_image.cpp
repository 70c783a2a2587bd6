#include "ui/card_image.h"

#include <QMouseEvent>
#include <QPainter>

#include "ui/deck.h"

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

void CardImage::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (tag_ != 0) painter.drawPixmap(0, 0, deck_.Picture(tag_, size()));
    if (selected_) {
        painter.setPen(QPen(Qt::black, 1));
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
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
