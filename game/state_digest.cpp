// SPDX-License-Identifier: GPL-3.0-or-later
#include "state_digest.h"

namespace kelvane {

namespace {

class Fnv {
  public:
    void Add(int value) {
        // Every value fits in 16 bits; two bytes each keep the digest cheap and unambiguous.
        const auto v = static_cast<std::uint16_t>(value);
        Byte(static_cast<std::uint8_t>(v & 0xff));
        Byte(static_cast<std::uint8_t>(v >> 8));
    }
    void Add(Int16 value) { Add(static_cast<int>(value.value())); }
    std::uint64_t value() const { return hash_; }

  private:
    void Byte(std::uint8_t b) { hash_ = (hash_ ^ b) * 0x100000001b3ULL; }
    std::uint64_t hash_ = 0xcbf29ce484222325ULL;
};

// A hand as the set of its cards: the server's copy of the client's hand keeps the order the
// cards came in, the client's own is sorted for display.
void AddHand(Fnv& fnv, const GameState& s, Seat seat) {
    bool held[kCardsInDeck + 1] = {};
    for (Int16 i = 0; i < HandCount(s, seat); ++i) held[Hand(s, seat)[i].value()] = true;
    fnv.Add(HandCount(s, seat));
    for (int card = 1; card <= kCardsInDeck; ++card) fnv.Add(held[card] ? card : 0);
}

void AddSeat(Fnv& fnv, const GameState& s, Seat seat) {
    AddHand(fnv, s, seat);
    fnv.Add(seat == Seat::kLocal ? s.LocalScore : s.RemoteScore);
    fnv.Add(seat == Seat::kLocal ? s.LocalFloating : s.RemoteFloating);
    fnv.Add(MustMeld(s, seat));
    fnv.Add(TakenUp(s, seat));
    fnv.Add(HoldsTurn(s, seat));
}

}  // namespace

std::uint64_t Fnv1a(std::string_view text) {
    std::uint64_t hash = 0xcbf29ce484222325ULL;
    for (const unsigned char c : text) hash = (hash ^ c) * 0x100000001b3ULL;
    return hash;
}

std::uint64_t StateDigest(const GameState& s, Seat serverSeat) {
    Fnv fnv;
    fnv.Add(s.StackCount);
    for (Int16 i = 0; i < s.StackCount; ++i) fnv.Add(s.Stack[i]);
    fnv.Add(s.UpCount);
    for (Int16 i = 0; i < s.UpCount; ++i) fnv.Add(s.UpPile[i]);
    AddSeat(fnv, s, serverSeat);
    AddSeat(fnv, s, Opposite(serverSeat));
    const int sign = serverSeat == Seat::kLocal ? 1 : -1;
    for (int card = 1; card <= kCardsInDeck; ++card) fnv.Add(s.MeldCredit[card].value() * sign);
    fnv.Add(s.TableMelds.ColumnCount());
    for (Int16 c = 0; c < s.TableMelds.ColumnCount(); ++c)
        for (const Int16 card : s.TableMelds.Column(c)) fnv.Add(card);
    fnv.Add(s.GamesPlayed);
    fnv.Add(s.HasDrawn);
    fnv.Add(s.RoundInPlay);
    return fnv.value();
}

}  // namespace kelvane
