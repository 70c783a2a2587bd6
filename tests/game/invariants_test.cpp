// SPDX-License-Identifier: GPL-3.0-or-later
#include "game/invariants.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

#include "game/card_text.h"
#include "game/scoring.h"
#include "game/state_digest.h"
#include "game/stock.h"

namespace kelvane {
namespace {

using test::Card;

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

struct Break {
    const char* what;
    std::function<void(GameState& a, GameState& b)> edit;
    const char* report;  // a part of what the checker must say
};

// Each break of one state is reported, and each way the two copies fall out of step, which also
// changes the digest two Kelvane programs compare at every round's end.
TEST(Invariants, EachBreakIsReportedAndChangesTheDigest) {
    const Int16 tabled = Card("7D"), stocked = MirroredDeal().first.Stack[0];
    const Break cases[] = {
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
    for (const Break& c : cases) {
        auto [server, client] = MirroredDeal();
        c.edit(server, client);
        std::string report = CheckInvariants(server);
        if (report.empty()) {  // the copies fall out of step
            report = CheckMirrored(server, client);
            EXPECT_NE(StateDigest(server, Seat::kLocal), StateDigest(client, Seat::kRemote))
                << c.what;
        }
        EXPECT_PRED_FORMAT2(testing::IsSubstring, c.report, report) << c.what;
    }
}

}  // namespace
}  // namespace kelvane
