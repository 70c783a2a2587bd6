// SPDX-License-Identifier: GPL-3.0-or-later
#include "game_state.h"

namespace kelvane {

Int16 MeldTable::AddColumn() {
    // 52 cards make at most 17 melds of three; a table beyond 52 columns means a confused peer.
    if (columns_.size() >= kCardsInDeck) Raise(kSubscriptOutOfRange);
    columns_.emplace_back();
    return Int16(columns_.size() - 1);
}

MeldColumn& MeldTable::Column(Int16 col) {
    if (col.value() < 0 || col.value() >= ColumnCount().value()) Raise(kSubscriptOutOfRange);
    return columns_[static_cast<std::size_t>(col.value())];
}

const MeldColumn& MeldTable::Column(Int16 col) const {
    return const_cast<MeldTable*>(this)->Column(col);
}

Int16 MeldTable::Slot(Int16 slotNumber) const {
    if (slotNumber < 0) Raise(kSubscriptOutOfRange);
    return Column(slotNumber / kSlotsPerColumn)[slotNumber % kSlotsPerColumn];
}

Int16 MeldTable::CardCount(Int16 col) const {
    int n = 0;
    for (Int16 card : Column(col))
        if (card > 0) ++n;
    return Int16(n);
}

std::vector<Int16> MeldTable::Cards(Int16 col) const {
    std::vector<Int16> cards;
    for (Int16 card : Column(col))
        if (card > 0) cards.push_back(card);
    return cards;
}

int MeldTable::CardsOnTable() const {
    int n = 0;
    for (const MeldColumn& column : columns_)
        for (Int16 card : column)
            if (card > 0) ++n;
    return n;
}

}  // namespace kelvane
