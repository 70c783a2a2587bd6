// SPDX-License-Identifier: GPL-3.0-or-later
#include "game/moves.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "game/card_text.h"
#include "game/stock.h"

namespace kelvane {
namespace {

using enum Refusal;
using test::Card;
using test::Cards;
using test::Names;
using test::Position;

// Each refusal, for both seats: the rules are the same whoever moves.
TEST(Moves, EachRefusalNamesItsReasonForEitherSeat) {
    struct Case {
        const char* what;
        std::function<Verdict(const GameState&, Seat)> ask;
        const char *hand, *upPile, *table;
        bool drawn;
        Verdict expected;
    };
    const auto stack = [](auto& s, Seat seat) { return CanDrawFromStack(s, seat); };
    const auto take = [](int p) {
        return [p](auto& s, Seat seat) { return CanTakeFromUpPile(s, seat, p); };
    };
    const auto meld = [](const char* cards, int column = kNewColumn) {
        return [=](auto& s, Seat seat) { return CanMeld(s, seat, {Cards(cards), column}); };
    };
    // A received meld: the whole column as the sender lists it, which must be the order laid.
    const auto received = [](const char* listed, int column = kNewColumn) {
        return [=](auto& s, Seat seat) { return CanLayMeld(s, seat, column, test::Meld(listed)); };
    };
    const auto discard = [](const char* card) {
        return [=](auto& s, Seat seat) { return CanDiscard(s, seat, Card(card)); };
    };
    const Verdict ok{};
    const auto no = [](Refusal r, const char* card = nullptr) {
        return Verdict{r, card ? Card(card) : Int16(0)};
    };
    const Case cases[] = {
        {"stack", stack, "9H", "3D", "", false, ok},
        {"stack twice", stack, "9H", "3D", "", true, no(kAlreadyDrawn)},
        {"top", take(1), "9H", "3D 4D", "", false, ok},
        {"below top, melds", take(0), "5D 6D", "4D JS", "", false, ok},
        {"below top, no meld", take(0), "9H", "4D JS", "", false, no(kNotMeldableBelow, "4D")},
        {"past the top", take(2), "9H", "4D JS", "", false, no(kNoSuchPosition)},
        {"meld before drawing", meld("5D 6D 7D"), "5D 6D 7D", "", "", false, no(kNotDrawn)},
        {"new meld of two", meld("5D 6D"), "5D 6D 9H", "", "", true, no(kTooFewForNewMeld)},
        {"lay-off of none", meld("", 0), "5D 6D 9H", "", "5S 5H 5C", true, no(kTooFewForLayOff)},
        {"not a meld", meld("5D 6D 8D"), "5D 6D 8D", "", "", true, no(kInvalidMeld)},
        {"set of three", meld("5D 5S 5H"), "5D 5S 5H 9C", "", "", true, ok},
        {"lay-off onto a set", meld("5D", 0), "5D 9H", "", "5S 5H 5C", true, ok},
        {"lay-off onto a run", meld("8C", 0), "8C 9H", "", "5C 6C 7C", true, ok},
        {"lay-off that fits nowhere", meld("8D", 0), "8D 9H", "", "5C 6C 7C", true,
         no(kInvalidMeld)},
        {"lay-off onto no column", meld("8C", 1), "8C 9H", "", "5C 6C 7C", true, no(kNoSuchColumn)},
        {"a card held by the other", meld("KC QC JC"), "QC JC 2H", "", "", true,
         no(kNotInHand, "KC")},
        {"a card named twice", meld("5D 5D 5D"), "5D 9H", "", "", true, no(kNotInHand, "5D")},
        {"received meld as laid", received("5D 6D 7D"), "5D 6D 7D 9C", "", "", true, ok},
        {"received meld out of order", received("6D 5D 7D"), "5D 6D 7D 9C", "", "", true,
         no(kNotAsLaid)},
        {"received lay-off out of order", received("8C 5C 6C 7C", 0), "8C 9H", "", "5C 6C 7C", true,
         no(kNotAsLaid)},
        {"discard", discard("9H"), "5D 9H", "", "", true, ok},
        {"discard before drawing", discard("9H"), "5D 9H", "", "", false, no(kNotDrawn)},
        {"discard of another's card", discard("KC"), "5D 9H", "", "", true, no(kNotInHand, "KC")},
        {"last card meldable", discard("8C"), "8C", "", "5C 6C 7C", true,
         no(kLastCardMeldable, "8C")},
        {"last card unmeldable", discard("8D"), "8D", "", "5C 6C 7C", true, ok},
    };
    for (const Case& c : cases) {
        for (Seat seat : {Seat::kLocal, Seat::kRemote}) {
            SCOPED_TRACE(std::string(c.what) + (seat == Seat::kLocal ? ", local" : ", remote"));
            const GameState s = Position(c.hand, c.upPile, c.table, seat, c.drawn);
            EXPECT_EQ(c.ask(s, seat), c.expected) << RefusalName(c.ask(s, seat).refusal);
            // Nobody else may move: the other seat, or anyone between rounds.
            EXPECT_EQ(c.ask(s, Opposite(seat)).refusal, kNotYourTurn);
            GameState over = s;
            over.RoundInPlay = over.MyTurn = false;
            EXPECT_EQ(c.ask(over, seat).refusal, kNotYourTurn);
        }
    }
}

// What each transition leaves, spelled out: the hand's order, the pile, the known cards, the
// credits, the turn, and the duties a take leaves.
TEST(Moves, TransitionsLeaveTheStateAndTheDutiesTheRulesDescribe) {
    // Ours is kept in display order, the opponent's in the order his cards came.
    GameState local = Position("9H 2C", "3D");
    local.HasDrawn = false;
    EXPECT_EQ(DrawFromStack(local, Seat::kLocal), Card("6S"));
    EXPECT_EQ(Names(local.LocalHand, local.LocalCount), "2C 6S 9H");
    EXPECT_EQ(local.StackCount, 4);
    EXPECT_TRUE(local.HasDrawn);
    GameState remote = Position("9H 2C", "3D JS 7C", "", Seat::kRemote, false);
    TakeFromUpPile(remote, Seat::kRemote, 1);
    EXPECT_EQ(Names(remote.RemoteHand, remote.RemoteCount), "9H 2C 7C JS") << "top card first";
    EXPECT_EQ(Names(remote.UpPile, remote.UpCount), "3D");
    EXPECT_EQ(Names(remote.KnownCards, remote.KnownCount), "7C JS");
    // A card he takes again, after discarding it, is listed once.
    Discard(remote, Seat::kRemote, Card("7C"));
    GiveTurn(remote, Seat::kRemote);
    TakeFromUpPile(remote, Seat::kRemote, 1);
    EXPECT_EQ(Names(remote.KnownCards, remote.KnownCount), "7C JS");

    for (Seat seat : {Seat::kLocal, Seat::kRemote}) {
        SCOPED_TRACE(seat == Seat::kLocal ? "local" : "remote");
        // The duties a take from the up pile leaves, and the discards they forbid.
        GameState alone = Position("5D 6D 9H", "4D JS 7C", "", seat, false);
        TakeFromUpPile(alone, seat, 2);
        EXPECT_EQ(TakenUp(alone, seat), Card("7C"));
        EXPECT_EQ(CanDiscard(alone, seat, Card("7C")), (Verdict{kTakenAlone, Card("7C")}));
        // A stack draw in a later turn lifts the ban on the card taken alone.
        GiveTurn(alone, seat);
        DrawFromStack(alone, seat);
        EXPECT_EQ(TakenUp(alone, seat), 0);
        EXPECT_TRUE(CanDiscard(alone, seat, Card("7C")).ok());
        GameState below = Position("5D 6D 9H", "4D JS", "", seat, false);
        TakeFromUpPile(below, seat, 0);
        EXPECT_EQ(MustMeld(below, seat), Card("4D"));
        EXPECT_EQ(TakenUp(below, seat), 0);
        EXPECT_EQ(CanDiscard(below, seat, Card("9H")),
                  (Verdict{kMustMeldBeforeDiscard, Card("4D")}));
        EXPECT_EQ(CanMeld(below, seat, {Cards("5D 6D 9H"), kNewColumn}),
                  (Verdict{kMustMeldFirst, Card("4D")}));
        Meld(below, seat, {Cards("4D 5D 6D"), kNewColumn});
        EXPECT_EQ(MustMeld(below, seat), 0) << "met by the meld";
        EXPECT_TRUE(CanDiscard(below, seat, Card("JS")).ok());
        // A lay-off rewrites the whole column in meld order and credits only the new cards; an ace
        // counts low beside a two. Melding out floats and passes the turn without a discard.
        GameState s = Position("AC 2C", "9D", "3C 4C 5C", seat);
        const int sign = seat == Seat::kLocal ? 1 : -1;
        s.MeldCredit[Card("3C")] = s.MeldCredit[Card("4C")] = s.MeldCredit[Card("5C")] = 5 * sign;
        EXPECT_EQ(Meld(s, seat, {Cards("AC 2C"), 0}), 0);
        EXPECT_EQ(Names(s.TableMelds.Column(0), s.TableMelds.CardCount(0)), "AC 2C 3C 4C 5C");
        EXPECT_EQ(s.MeldCredit[Card("AC")], 5 * sign);
        EXPECT_EQ(s.MeldCredit[Card("2C")], 5 * sign);
        EXPECT_EQ(HandCount(s, seat), 0);
        EXPECT_TRUE(Floating(s, seat));
        EXPECT_TRUE(HoldsTurn(s, Opposite(seat)));
        EXPECT_FALSE(s.HasDrawn);
        // His next discard ends the float and passes the turn back.
        GiveTurn(s, seat);
        DrawFromStack(s, seat);
        Discard(s, seat, Card("6S"));
        EXPECT_EQ(s.UpPile[s.UpCount - 1], Card("6S"));
        EXPECT_FALSE(Floating(s, seat));
        EXPECT_TRUE(HoldsTurn(s, Opposite(seat)));
    }
    EXPECT_EQ(MeldPoints(Position("AH KH QH"), {Cards("AH KH QH"), kNewColumn}), 35);
}

}  // namespace
}  // namespace kelvane
