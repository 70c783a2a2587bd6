// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

namespace kelvane {

class Deck;

// One card slot: its picture stretched to its own size, the picture code it shows (0 when
// empty), a tooltip, the border that marks a selection, and its slot number on every click and
// press. An empty slot draws nothing but still takes clicks.
//
// The selection border is drawn to be seen in a fan where a card shows only a strip: a thick
// accent frame, of which the strip's top, left and bottom edges show, and a tint over the card.
// A card of the opponent's last move carries a frame of its own colour.
class CardImage : public QWidget {
    Q_OBJECT

  public:
    CardImage(Deck& deck, int index, QWidget* parent);

    int index() const { return index_; }
    int tag() const { return tag_; }
    void setPicture(int pictureCode);
    void clearPicture();
    bool selected() const { return selected_; }
    void setSelected(bool selected);
    bool lastMove() const { return lastMove_; }
    void setLastMove(bool marked);

    // A slot names itself after its card for a screen reader, unless its name says more than the
    // card (the stack's count) and is set by its owner. The name is read when asked for
    // (ui/screen_reader.cpp), not announced at each change: a deal changes dozens of slots, and a
    // reader flooded with their news drops the game's own.
    void setNamedByOwner() { namedByOwner_ = true; }
    QString spokenName() const;

    static QColor SelectionColour() { return {0, 102, 204}; }
    static QColor LastMoveColour() { return {230, 130, 0}; }

  Q_SIGNALS:
    void clicked(int index);
    // Button: 1 left, 2 right, 4 middle.
    void pressed(int index, int button);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

  private:
    Deck& deck_;
    int index_;
    int tag_ = 0;
    bool selected_ = false;
    bool lastMove_ = false;
    bool namedByOwner_ = false;
};

}  // namespace kelvane
