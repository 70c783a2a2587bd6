// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>
#include <functional>
#include <vector>

#include "engine/table.h"

namespace kelvane {

class CardImage;

// The game by keyboard. This widget takes the keyboard focus for the whole table and draws a
// dashed frame over the place the keys act on: the stack and the up pile's cards, the table's
// free space and its melds, the hand's cards. Its accessible name is what it frames, and every key
// moves a screen reader's focus to the place framed (ui/screen_reader.cpp), so the reader speaks
// the place at each move, and again after a key that changed it (a card selected).
class TableKeys : public QWidget {
    Q_OBJECT

  public:
    // Top to bottom, as the rows lie on the table.
    enum class Row { kPiles, kTable, kHand };

    // The window's own slots; the vectors grow and shrink as the game goes.
    struct Places {
        CardImage* stack;
        const std::vector<CardImage*>& upPile;
        const std::vector<CardImage*>& melds;
        const std::vector<CardImage*>& hand;
        QWidget* cloth;
    };
    // `gesture` runs a handler of the player's as the window runs a click.
    TableKeys(Table& table, Places places,
              std::function<void(const std::function<void()>&)> gesture, QWidget* parent);

    // Whether the dashed frame is drawn: only once a key has been used on the table.
    bool framed() const { return shown_ && hasFocus(); }
    // Follows the game: the place is kept within its row and the frame redrawn over it.
    void Follow();
    // The two places a screen reader's focus alternates between, and the one it is on. The one
    // the frame is on is named as the frame is; the other keeps the name it had when left.
    QString placeName(int place) const;
    int currentPlace() const { return current_; }

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

  private:
    // How many places the row has now.
    int Count(Row row) const;
    QWidget* Target() const;
    QString TargetName() const;
    void Act(int button);
    // Moves a screen reader's focus to the framed place, as a new object so that it is spoken;
    // `left` is what the place left was called.
    void SpeakPlace(const QString& left);

    Table& table_;
    Places places_;
    std::function<void(const std::function<void()>&)> gesture_;
    Row row_ = Row::kHand;
    // The frame shows once the keyboard is used on the table; a player of the mouse never sees
    // it.
    bool shown_ = false;
    int index_ = 0;
    QString placeNames_[2];  // what each place was called when the frame left it
    int current_ = 0;
};

}  // namespace kelvane
