// SPDX-License-Identifier: GPL-3.0-or-later
// The moves the rules allow and what each leaves, and the checks every state, and both programs'
// copies of it, must pass after any of them.
#include "game/moves.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>
#include <utility>

#include "game/card_text.h"
#include "game/invariants.h"
#include "game/scoring.h"
#include "game/state_digest.h"
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
    // What is asked, of a position: the hand, the up pile, the table, drawn or not; the verdict.
    using Ask = std::function<Verdict(const GameState&, Seat)>;
    using Case = std::tuple<const char*, Ask, const char*, const char*, const char*, bool, Verdict>;
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
    for (const auto& [what, ask, hand, upPile, table, drawn, expected] : cases) {
        for (Seat seat : {Seat::kLocal, Seat::kRemote}) {
            SCOPED_TRACE(std::string(what) + (seat == Seat::kLocal ? ", local" : ", remote"));
            const GameState s = Position(hand, upPile, table, seat, drawn);
            EXPECT_EQ(ask(s, seat), expected) << RefusalName(ask(s, seat).refusal);
            // Nobody else may move: the other seat, or anyone between rounds.
            EXPECT_EQ(ask(s, Opposite(seat)).refusal, kNotYourTurn);
            GameState over = s;
            over.RoundInPlay = over.MyTurn = false;
            EXPECT_EQ(ask(over, seat).refusal, kNotYourTurn);
        }
    }
}

// What each transition leaves that the simulated round cannot see: the hands' and a column's
// order, each card's credit, and the refusal a duty left by a take from the up pile gives. (The
// cards, counts, duties and flags of every move are held against the simulated round's after each
// move of two thousand rounds, fast_round_test.cpp.)
TEST(Moves, TransitionsLeaveTheOrderTheCreditsAndTheDutiesTheRulesDescribe) {
    // Ours is kept in display order, the opponent's in the order his cards came.
    GameState local = Position("9H 2C", "3D");
    local.HasDrawn = false;
    EXPECT_EQ(DrawFromStack(local, Seat::kLocal), Card("6S"));
    EXPECT_EQ(Names(local.LocalHand, local.LocalCount), "2C 6S 9H");
    GameState remote = Position("9H 2C", "3D JS 7C", "", Seat::kRemote, false);
    TakeFromUpPile(remote, Seat::kRemote, 1);
    EXPECT_EQ(Names(remote.RemoteHand, remote.RemoteCount), "9H 2C 7C JS") << "top card first";

    for (Seat seat : {Seat::kLocal, Seat::kRemote}) {
        SCOPED_TRACE(seat == Seat::kLocal ? "local" : "remote");
        // The duties a take from the up pile leaves, and the discards and melds they forbid.
        GameState alone = Position("5D 6D 9H", "4D JS 7C", "", seat, false);
        TakeFromUpPile(alone, seat, 2);
        EXPECT_EQ(CanDiscard(alone, seat, Card("7C")), (Verdict{kTakenAlone, Card("7C")}));
        GameState below = Position("5D 6D 9H", "4D JS", "", seat, false);
        TakeFromUpPile(below, seat, 0);
        EXPECT_EQ(CanDiscard(below, seat, Card("9H")),
                  (Verdict{kMustMeldBeforeDiscard, Card("4D")}));
        EXPECT_EQ(CanMeld(below, seat, {Cards("5D 6D 9H"), kNewColumn}),
                  (Verdict{kMustMeldFirst, Card("4D")}));
        // A lay-off rewrites the whole column in meld order and credits only the new cards; an ace
        // counts low beside a two.
        GameState s = Position("AC 2C", "9D", "3C 4C 5C", seat);
        const int sign = seat == Seat::kLocal ? 1 : -1;
        s.MeldCredit[Card("3C")] = s.MeldCredit[Card("4C")] = s.MeldCredit[Card("5C")] = 5 * sign;
        EXPECT_EQ(Meld(s, seat, {Cards("AC 2C"), 0}), 0);
        EXPECT_EQ(Names(s.TableMelds.Column(0), s.TableMelds.CardCount(0)), "AC 2C 3C 4C 5C");
        EXPECT_EQ(s.MeldCredit[Card("AC")], 5 * sign);
        EXPECT_EQ(s.MeldCredit[Card("2C")], 5 * sign);
    }
    EXPECT_EQ(MeldPoints(Position("AH KH QH"), {Cards("AH KH QH"), kNewColumn}), 35);
}

// Takes a card out of whichever pile holds it, closing the gap as a play would.
void TakeOut(GameState& s, Int16 card) {
    for (auto [cards, count] : {std::pair{&s.Stack, &s.StackCount},
                                {&s.LocalHand, &s.LocalCount},
                                {&s.RemoteHand, &s.RemoteCount},
                                {&s.UpPile, &s.UpCount}})
        for (Int16 i = 0; i < *count; ++i)
            if ((*cards)[i] == card) {
                for (Int16 j = i; j + 1 < *count; ++j) (*cards)[j] = (*cards)[j + 1];
                (*cards)[--*count] = 0;
                return;
            }
}

// Lays a meld in the next column, credited to the side `sign` names, wherever its cards were.
void Lay(GameState& s, const char* names, int sign) {
    for (Int16 card : test::Cards(names)) TakeOut(s, card);
    test::AddTableMelds(s, names);
    auto [meld, n] = test::Meld(names);
    CreditMeld(s, meld, n, sign);
}

// The server's and the client's copies of one deal, with three melds down: credits of 5, 10 and
// 15 on both sides of the table, and totals that differ.
std::pair<GameState, GameState> MirroredDeal() {
    GameState server, client;
    for (GameState* s : {&server, &client}) {
        s->Stack = ShuffleOrder(SeededRandom(11));
        DealRound(*s, s == &server ? kRoleServer : kRoleClient);
    }
    for (auto [names, serverSide] :
         {std::pair{"7S 7D 7C", true}, {"AH 2H 3H", false}, {"QS KS AS", true}}) {
        Lay(server, names, serverSide ? 1 : -1);
        Lay(client, names, serverSide ? -1 : 1);
    }
    server.LocalScore = client.RemoteScore = 120;
    server.RemoteScore = client.LocalScore = 35;
    return {server, client};
}

// Each break of one state is reported, and each way the two copies fall out of step, which also
// changes the digest two Kelvane programs compare at every round's end.
TEST(Invariants, EachBreakIsReportedAndChangesTheDigest) {
    const Int16 tabled = Card("7D"), stocked = MirroredDeal().first.Stack[0];
    // What breaks, the edit of the server's copy and the client's, and a part of the report.
    using Edit = std::function<void(GameState&, GameState&)>;
    const std::tuple<const char*, Edit, const char*> cases[] = {
        {"a card in two places", [&](auto& s, auto&) { s.UpPile[s.UpCount++] = stocked; },
         "in 2 places"},
        {"a card lost", [](auto& s, auto&) { s.StackCount -= 1; }, "in 0 places"},
        {"a count out of range", [](auto& s, auto&) { s.RemoteCount = 53; }, "out of range"},
        {"a negative count", [](auto& s, auto&) { s.StackCount = -1; }, "out of range"},
        {"a card past a count", [&](auto& s, auto&) { s.RemoteHand[s.RemoteCount] = stocked; },
         "past the count"},
        {"a known card past its count", [](auto& s, auto&) { s.KnownCards[0] = 9; },
         "past the count"},
        {"a column gap",
         [](auto& s, auto&) { std::swap(s.TableMelds.Column(0)[2], s.TableMelds.Column(0)[3]); },
         "gap"},
        {"a column of two cards",
         [](auto& s, auto&) {
             Int16& card = s.TableMelds.Column(0)[2];
             s.MeldCredit[card] = 0;
             s.Stack[s.StackCount++] = std::exchange(card, 0);
         },
         "holds only 2"},
        {"a credit off the table", [&](auto& s, auto&) { s.MeldCredit[stocked] = 5; },
         "does not match the table"},
        {"a tabled card without credit", [&](auto& s, auto&) { s.MeldCredit[tabled] = 0; },
         "does not match the table"},
        {"a credit of a wrong value", [&](auto& s, auto&) { s.MeldCredit[tabled] = 7; },
         "credited 7"},
        {"the hand out of display order",
         [](auto& s, auto&) { std::swap(s.LocalHand[0], s.LocalHand[1]); }, "display order"},
        {"the must-meld card taken alone",
         [](auto& s, auto&) { s.MustMeldCard = s.TakenUpCard = s.LocalHand[0]; }, "must-meld"},
        {"the server's hand not copied",
         [](auto&, auto& b) { std::swap(b.RemoteHand[0], b.Stack[0]); }, "server's hand differs"},
        {"a hand copy short a card", [](auto&, auto& b) { b.RemoteCount -= 1; },
         "server's hand differs"},
        {"the client's hand not copied",
         [](auto& a, auto&) { std::swap(a.RemoteHand[0], a.Stack[0]); }, "client's hand differs"},
        {"stocks in another order", [](auto&, auto& b) { std::swap(b.Stack[0], b.Stack[1]); },
         "stocks differ"},
        {"stocks of other sizes", [](auto&, auto& b) { b.StackCount -= 1; }, "stocks differ"},
        {"up piles", [](auto&, auto& b) { std::swap(b.UpPile[0], b.Stack[0]); }, "up piles differ"},
        {"tables",
         [](auto&, auto& b) { std::swap(b.TableMelds.Column(1)[0], b.TableMelds.Column(1)[1]); },
         "tables differ"},
        {"deal counts", [](auto&, auto& b) { b.GamesPlayed += 1; }, "deal counts"},
        {"the server's total", [](auto&, auto& b) { b.RemoteScore += 5; }, "totals"},
        {"the client's total", [](auto&, auto& b) { b.LocalScore += 5; }, "totals"},
        {"the server floating", [](auto& a, auto&) { a.LocalFloating = true; }, "floating"},
        {"the client floating", [](auto&, auto& b) { b.LocalFloating = true; }, "floating"},
        {"drawn flags", [](auto&, auto& b) { b.HasDrawn = true; }, "drawn"},
        {"both to move", [](auto& a, auto& b) { a.MyTurn = b.MyTurn = true; }, "both sides"},
        {"a credit of the same sign",
         [](auto& a, auto& b) { b.MeldCredit[Card("KS")] = a.MeldCredit[Card("KS")]; },
         "credit of KS"},
    };
    for (const auto& [what, edit, part] : cases) {
        auto [server, client] = MirroredDeal();
        edit(server, client);
        std::string report = CheckInvariants(server);
        if (report.empty()) {  // the copies fall out of step
            report = CheckMirrored(server, client);
            EXPECT_NE(StateDigest(server, Seat::kLocal), StateDigest(client, Seat::kRemote))
                << what;
        }
        EXPECT_PRED_FORMAT2(testing::IsSubstring, part, report) << what;
    }
}

}  // namespace
}  // namespace kelvane
