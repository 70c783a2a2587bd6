// SPDX-License-Identifier: GPL-3.0-or-later
#include "stock.h"

#include <chrono>
#include <random>

#include "meld_rules.h"

namespace kelvane {

RandomSource SeededRandom(std::uint64_t seed) {
    return [engine = std::mt19937_64(seed)]() mutable { return engine(); };
}

RandomSource ClockSeededRandom() {
    const auto now = std::chrono::high_resolution_clock::now().time_since_epoch().count();
    std::random_device device;
    return SeededRandom(static_cast<std::uint64_t>(now) ^ device());
}

namespace {

// u in [0, 1) from the top 53 bits, so the draw does not depend on any library's distribution.
double Uniform(const RandomSource& random) {
    return static_cast<double>(random() >> 11) * 0x1.0p-53;
}

Int16 DrawCode(const RandomSource& random) {
    return Int16(static_cast<int>(Uniform(random) * kCardsInDeck + 1));
}

}  // namespace

CardArray ShuffleOrder(const RandomSource& random) {
    CardArray order{};
    CheckedArray<bool, kCardsInDeck + 1> used{};
    Int16 r = DrawCode(random);
    for (int i = 0; i < kCardsInDeck; ++i) {
        while (used[r]) r = DrawCode(random);
        used[r] = true;
        order[i] = r;
    }
    return order;
}

void ClearTableState(GameState& state) {
    state.TableMelds.Clear();
    state.UpPile.fill(0);
    state.UpCount = 0;
}

void DealRound(GameState& s, std::string_view role) {
    const bool server = role == kRoleServer;
    s.StackCount = kCardsInDeck;
    s.LocalHand.fill(0);
    s.RemoteHand.fill(0);
    s.KnownCards.fill(0);
    // The server's hand gets the first card from the top on both sides: each program gives it to
    // whichever hand is the server's in its own view.
    for (int i = 0; i < kDealtPerHand; ++i) {
        if (server) {
            s.LocalHand[i] = GetTopCardFromStack(s);
            s.RemoteHand[i] = GetTopCardFromStack(s);
        } else {
            s.RemoteHand[i] = GetTopCardFromStack(s);
            s.LocalHand[i] = GetTopCardFromStack(s);
        }
    }
    s.LocalCount = kDealtPerHand;
    s.RemoteCount = kDealtPerHand;
    s.KnownCount = 0;
    SortHand(s);
    s.UpPile[s.UpCount] = GetTopCardFromStack(s);
    s.UpCount += 1;
    s.GamesPlayed += 1;
    s.RoundInPlay = true;
    // The client opens every odd deal of a game, so every game opens with the client to move.
    const bool oddDeal = s.GamesPlayed % 2 == 1;
    s.MyTurn = server ? !oddDeal : oddDeal;
    s.HasDrawn = false;
    s.LocalFloating = false;
    s.RemoteFloating = false;
}

Int16 GetTopCardFromStack(GameState& s) {
    if (s.StackCount < 1) return 0;
    Int16 card = s.Stack[s.StackCount - 1];
    s.StackCount -= 1;
    return card;
}

void RemoveFromHand(GameState& s, Seat seat, Int16 p) {
    CardArray& hand = Hand(s, seat);
    Int16& count = HandCount(s, seat);
    const Int16 last = count - 1;
    for (Int16 i = p; i <= last; ++i) hand[i] = i == last ? Int16(0) : hand[i + 1];
    count -= 1;
}

bool CardIsKnown(const GameState& s, Int16 card) {
    for (Int16 i = 0; i < s.KnownCount; ++i)
        if (s.KnownCards[i] == card) return true;
    return false;
}

}  // namespace kelvane
