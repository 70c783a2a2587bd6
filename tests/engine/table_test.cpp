// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "engine/credential.h"
#include "fakes.h"
#include "game/state_digest.h"
#include "wire/wire.h"

namespace kelvane {
namespace {

using test::Card;

auto Snapshot(const GameState& s) {
    return std::tuple(s.LocalHand, s.LocalCount, s.RemoteHand, s.RemoteCount, s.UpPile, s.UpCount,
                      s.StackCount, s.TableMelds, s.MeldCredit, s.MyTurn, s.HasDrawn,
                      s.MustMeldCard, s.TakenUpCard, s.LocalFloating);
}

// A connected client in the middle of its own turn, with a hand, an up pile and a stock.
struct Turn : test::TableUnderTest {
    explicit Turn(const char* hand, const char* upPile = "9D", bool drawn = false) {
        MidRound(hand, upPile);
        s.MyTurn = true;
        s.HasDrawn = drawn;
    }
    void Select(const char* cards) {
        for (Int16 c : test::Cards(cards)) TablePeer::Select(table, Position(c).value());
    }
    Int16 Position(Int16 card) const { return HandPosition(s, Seat::kLocal, card); }
};

TEST(Gestures, RefusalsAndQuestionsComeInOrderAndChangeNothing) {
    enum Gesture { kDraw, kTakeUp, kLayDown, kLayOff, kDiscard };
    enum Stage { kNotMine, kToDraw, kDrawn };
    using enum Buttons;
    using enum Icon;
    struct Case {
        Gesture gesture;
        Stage stage;
        const char *hand, *cards;  // the cards selected, or for a discard the card clicked
        const char *mustMeld, *takenUp;
        bool warn;
        const char *text = "", *title = "";  // the box, if any: the confirmations are answered No
        Buttons buttons = kOk;
        Icon icon = kNone;
        Answer byDefault = Answer::kYes;  // what Enter answers: No where Yes would lose something
    };
    const Case cases[] = {
        {kDraw, kNotMine, "2C 5D 9H", "", "", "", false},
        {kDraw, kDrawn, "2C 5D 9H", "", "", "", false},
        {kTakeUp, kNotMine, "2C 5D 9H", "", "", "", false},
        {kTakeUp, kDrawn, "2C 5D 9H", "", "", "", false},
        {kTakeUp, kToDraw, "2C 5D 9H", "", "", "", false, "You cannot meld the Six of Hearts"},
        {kLayDown, kNotMine, "5H 6H 7H", "5H 6H 7H", "", "", false},
        {kLayDown, kToDraw, "5H 6H 7H", "5H 6H 7H", "", "", false, "Please Draw First"},
        {kLayDown, kDrawn, "5H 6H 8H 9S QC", "5H 6H", "QC", "", false,
         "Select at least 3 cards first", "Error"},
        {kLayDown, kDrawn, "5H 6H 8H 9S QC", "5H 6H 8H", "QC", "", false,
         "Please meld the Queen of Clubs first", "Error"},
        {kLayDown, kDrawn, "5H 6H 8H 9S QC", "5H 6H 9S QC", "", "", false, "Not a Valid Meld",
         "Error"},
        {kLayOff, kDrawn, "4S 9S", "", "", "", false, "Select at least 1 card first", "Error"},
        {kLayOff, kDrawn, "4S 9S", "4S", "9S", "", false, "Please meld the Nine of Spades first",
         "Error"},
        {kLayOff, kDrawn, "4S 9S", "9S", "", "", false, "Not a Valid Meld", "Error"},
        {kDiscard, kNotMine, "2C 5D 9H", "5D", "", "", false},
        {kDiscard, kToDraw, "2C 5D 9H", "5D", "", "", false, "Please Draw First"},
        {kDiscard, kDrawn, "2C 5D 9H", "5D", "9H", "5D", false, "You must meld the Nine of Hearts"},
        {kDiscard, kDrawn, "2C 5D 9H", "5D", "", "5D", false,
         "You may not discard the Five of Diamonds"},
        {kDiscard, kDrawn, "5D", "5D", "", "", false,
         "You may not discard the Five of Diamonds. It is meldable."},
        {kDiscard, kDrawn, "2C 5D 9H", "5D", "", "", true,
         "The Five of Diamonds is meldable. Are you sure?", "Confirm Discard", kYesNo, kExclamation,
         Answer::kNo},
        {kDiscard, kDrawn, "2C 5D 9H", "5D", "", "", false, "Discard the Five of Diamonds?",
         "Confirm Discard", kYesNo},
        {kDiscard, kDrawn, "2C 5D 9H", "9H", "", "", true, "Discard the Nine of Hearts?",
         "Confirm Discard", kYesNo},
    };
    const std::function<void(Turn&, const Case&)> gestures[] = {
        [](auto& t, auto&) { t.table.imgStack_Click(); },
        [](auto& t, auto& c) { t.table.imgUpPile_Click(c.stage == kToDraw ? 2 : 4); },
        [](auto& t, auto&) { t.table.frTable_Click(); },
        [](auto& t, auto&) { t.table.imgMeld_Click(3); },
        [](auto& t, auto& c) {
            t.table.imgLocal_MouseDown(t.Position(Card(c.cards)), kMouseRight);
        },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.gesture << " " << c.stage << " " << c.hand);
        // 6H in the up pile melds with nothing; the fives on the table make 5D meldable.
        Turn t(c.hand, "3D 4D 6H 8C JS", c.stage == kDrawn);
        t.s.MyTurn = c.stage != kNotMine;
        test::AddTableMelds(t.s, "5H 5S 5C");
        if (*c.mustMeld) t.s.MustMeldCard = Card(c.mustMeld);
        if (*c.takenUp) t.s.TakenUpCard = Card(c.takenUp);
        if (c.warn) t.table.mnuWarnMeld_Click();
        if (c.gesture != kDiscard) t.Select(c.cards);
        t.prompts.answers = {false};
        const auto before = Snapshot(t.s);
        gestures[c.gesture](t, c);
        std::vector<BoxText> boxes;
        if (*c.text) boxes.push_back({c.text, c.buttons, c.icon, c.title, c.byDefault});
        EXPECT_EQ(t.prompts.boxes, boxes);
        EXPECT_TRUE(Snapshot(t.s) == before);
        EXPECT_TRUE(t.socket.sent.empty());
        for (Int16 card : test::Cards(c.gesture == kDiscard ? "" : c.cards))
            EXPECT_TRUE(t.table.IsSelected(t.Position(card))) << "the selection stays";
    }
}

// The stack's last card drawn, the stack shows empty after the pause, and draws nothing more. (What
// each draw, take and discard sends is held by the duels, which play through these handlers and
// compare both programs' states after every message.)
TEST(Turn, TheLastCardOfTheStackLeavesItEmpty) {
    Turn last("2C");
    last.s.StackCount = 1;
    last.table.imgStack_Click();
    EXPECT_EQ(last.screen.log[3], "ShowStack 56") << "after the pause the stack shows it is empty";
    EXPECT_EQ(last.prompts.pauses, std::vector<int>{1000});
    last.s.HasDrawn = false;
    last.table.imgStack_Click();
    EXPECT_FALSE(last.s.HasDrawn) << "an empty stack draws nothing";
}

// A connected client during the opponent's turn, before he has drawn.
struct Opponent : test::TableUnderTest {
    explicit Opponent(const char* theirHand = "2C 5D 9H AS") {
        MidRound("6S", "3D 4D 7C 8C JS");
        s.RoundInPlay = true;
        test::SetRemoteHand(s, theirHand);
    }
};

// What the player sees of the opponent's moves; the duels hold both programs' states together and
// fail on any move refused.
TEST(OpponentMoves, TakesAndMeldsShowWhatHeTookAndScored) {
    Opponent o("AH 2H 3H 4H 9C");
    o.Arrive("(M:U:02)");
    EXPECT_EQ(o.prompts.pauses, std::vector<int>{1000});
    for (int slot = 2; slot <= 4; ++slot)
        EXPECT_EQ(o.screen.log[slot - 2], "MarkUpPileSlot " + std::to_string(slot) + " on");
    o.Arrive("(M:M:N:33,34,35,)");  // the card taken from below the top, melded first
    o.Arrive("(M:M:N:40,41,42,)");  // the ace counts low beside the two
    EXPECT_EQ(o.screen.scoreBoard.scores, "Your Melded Score: 0     Opponent's Melded Score: 30");
}

// Bytes from the opponent's program are judged before they touch the game: whatever his own
// handlers could not have sent is refused whole, the player told why, the session closed, the
// game left in view (the session commands come back, as the window against a peer shows), and the
// failure reporter kept for our own faults. Kinds this program does not know are ignored.
TEST(OpponentMoves, WhatHisProgramCouldNotHaveSentIsRefusedWholeAndEndsTheSession) {
    const std::string kHello = "(K:HELLO:2:-:0:0:" + std::string(kKeyDigits, 'a') + ":Kelvane)";
    const std::string kRoundOne = "(K:ROUND:0:1:40:25:1:S:0000000000000000)";
    // What the player is told, short of the ". This game cannot go on." that ends every refusal.
    const auto refused = [](const std::string& move) {
        return "Your opponent's program sent a move the rules do not allow (" + move + ")";
    };
    const auto unreadable = [](const std::string& message, const std::string& before = "") {
        return std::pair{
            before + "(" + message + ")",
            "Your opponent's program sent a message this game cannot read (\"" + message + "\")"};
    };
    const std::string misplaced =
        "Your opponent's program sent a Kelvane message where it has no place";
    const std::pair<std::string, std::string> cases[] = {
        {"(X:whatever)", ""},
        {"(M:Q:01)", ""},
        {"(M:D:33)", refused("a discard of the Seven of Clubs, before drawing")},
        {"(M:N:12)", refused("a draw of the Queen of Spades from the stack, which is not the top "
                             "card of the stack")},
        {"(M:U:77)",
         refused("a take from the up pile at position 77, where the up pile holds no card")},
        {"(M:U:02)",
         refused("a take from the up pile at position 2, below the top, which it could not meld")},
        {"(M:M:N:05,06,07,)",
         refused("a new meld of Five of Spades, Six of Spades, Seven of Spades, before drawing")},
        {"(s:" + DealMessage(ShuffleOrder(SeededRandom(1))).substr(2) + ")",
         refused("a deal, in the middle of a round")},
        {"(S:01,02,)", refused("an older server's deal, in the middle of a round")},
        unreadable("s:01,02,xx,"),  // the wire's tests meet every unreadable form
        {"(" + std::string(kFrameLimit + 1, 'C'),
         "Your opponent's program sent a message longer than 8192 bytes"},
        // Kelvane's own messages are judged as strictly.
        {"(K:LATER:1)", ""},
        unreadable("K:SYNC:zz", kHello),
        {kHello + kHello, misplaced},
        {kHello + "(K:CHALLENGE:" + std::string(kKeyDigits, '0') + ")", misplaced},
        {"(K:HELLO:2:0123456789abcdef:0:0:-:Kelvane)",
         "The program that answered is not playing this game with you, so the game cannot be "
         "resumed"},
        {kHello + kRoundOne,
         "Your opponent's program and this one no longer agree on the number of rounds played "
         "(here 0, there 1)"},
        // The first message decides: an announcement after anything else, or of another version,
        // is passed over with every "K:" message after it.
        {"(M:Q:01)" + kHello + kRoundOne, ""},
        {"(K:HELLO:3:-:0:0:-:Kelvane)" + kRoundOne, ""},
        {"(K:ROUND:0:1:40:25:1:S:0000000000000000)" + kHello, ""},
    };
    for (const auto& [bytes, told] : cases) {
        SCOPED_TRACE(bytes.substr(0, 30));
        Opponent o;
        const auto before = Snapshot(o.s);
        o.Arrive(bytes + "(C:after)");
        std::string boxes;
        for (const auto& box : o.prompts.boxes) boxes += box.text;
        EXPECT_EQ(boxes, told.empty() ? "" : told + ". This game cannot go on.");
        EXPECT_TRUE(o.errors.shown.empty()) << o.errors.shown.front();
        EXPECT_EQ(o.socket.calls.empty() ? "" : o.socket.calls.back(),
                  told.empty() ? "" : "Close 0");
        EXPECT_EQ(o.table.transcript().text(), told.empty() ? "OPPONENT: after" : "")
            << "nothing after a refused message is read";
        EXPECT_EQ(o.s.Role, told.empty() ? kRoleClient : kRoleNotConnected);
        EXPECT_TRUE(Snapshot(o.s) == before);
        EXPECT_TRUE(o.prompts.pauses.empty()) << "no pause for a take that was refused";
        EXPECT_FALSE(o.table.ended()) << "the window stays open";
        EXPECT_EQ(o.s.RoundInPlay, told.empty()) << "nobody plays on in a closed session";
    }
    // Nothing after the opponent's quit is taken, though the connection is still open.
    Opponent quit;
    const auto before = Snapshot(quit.s);
    quit.Arrive(kHello + "(K:BYE)(M:D:33)(C:after)");
    EXPECT_TRUE(quit.prompts.boxes.empty());
    EXPECT_EQ(quit.table.transcript().text(), "");
    EXPECT_TRUE(Snapshot(quit.s) == before);
    // An older server cannot start a game: the player is told so, and may start another session.
    Opponent old;
    old.s.RoundInPlay = false;
    old.Arrive("(S:01,02,)");
    EXPECT_EQ(
        old.prompts.boxes,
        (std::vector<BoxText>{{"Server's version is too old", Buttons::kOk, Icon::kNone, ""}}));
    EXPECT_EQ(old.s.Role, kRoleNotConnected);
    old.table.mnuServer_Click();
    EXPECT_EQ(old.s.LocalCount, 0) << "a new session starts from a new game";
    EXPECT_EQ(old.socket.calls.back(), "Listen 0 8895");
}

// Debug and sanitizer builds check the whole state after every handler: a break is our own
// fault, reported where it shows, not discovered rounds later as a split between two programs.
TEST(Engine, DebugBuildsCheckTheStateAfterEveryHandler) {
#ifdef NDEBUG
    GTEST_SKIP() << "release builds do not check";
#endif
    test::TableUnderTest t;
    TablePeer::CheckStates(t.table, true);
    t.s.Stack = ShuffleOrder(SeededRandom(4));
    DealRound(t.s, kRoleServer);
    t.table.mnuWarnMeld_Click();
    EXPECT_TRUE(t.errors.shown.empty()) << t.errors.shown.front();
    t.s.UpPile[t.s.UpCount++] = t.s.LocalHand[0];
    t.table.mnuWarnMeld_Click();
    ASSERT_EQ(t.errors.shown.size(), 1u);
    EXPECT_TRUE(t.errors.shown[0].starts_with("An error has occurred in CheckInvariants"));
    EXPECT_NE(t.errors.shown[0].find("is in 2 places"), std::string::npos) << t.errors.shown[0];
}

// Data that arrives while a box is up must wait until the whole message, box included, is done.
TEST(Receiving, DataArrivingDuringAModalBoxWaitsForTheHandler) {
    Turn t("2C 9H", "9D", true);
    t.socket.waiting[0] = "(C:first)";
    long countDuringBox = -1;
    t.prompts.duringBox = [&] {
        t.Arrive("(C:second)");
        // He leaves after his last words: that too waits, and is heard after them.
        t.HangUp(0);
        countDuringBox = std::ranges::count(t.screen.log, "ChatLineAdded");
    };
    t.prompts.answers = {false};
    t.table.imgLocal_MouseDown(0, kMouseRight);
    EXPECT_EQ(countDuringBox, 0);
    EXPECT_EQ(t.table.transcript().text(), "OPPONENT: first\r\nOPPONENT: second");
    EXPECT_TRUE(t.table.ended()) << "his close was heard once the handler was over";
}

// The announcement and the deal go out to the first caller; a second one is turned away while the
// game goes on with a program that is not Kelvane. While a server waits for its Kelvane client to
// come back, every caller is let in on a socket of his own and challenged, and must answer with
// the keyed hash of the session's secret: a stranger replaying what the first connection showed
// (the game's identifier, its counts), a wrong or replayed proof, a move, a flood or silence gets
// nothing but the challenge and is closed; one address holds two callers at most, the oldest
// making way, and those who do not answer in time are closed; the player is asked once for each
// address whether a Kelvane program calling without the game starts a new one; the client itself
// resumes on his own socket.
TEST(Session, AServerDealsToItsFirstCallerAndLetsOnlyItBackIn) {
    test::TableUnderTest t;
    t.table.mnuServer_Click();
    EXPECT_EQ(t.screen.log.front(),
              "SetStatus Waiting for client to connect... (local IP: 192.0.2.7)");
    t.table.tcpTalker_ConnectionRequest(0, 1);
    ASSERT_EQ(t.socket.sent.size(), 2u);
    const auto read = [](const std::string& f) { return ReadMessage(f.substr(1, f.size() - 2)); };
    // Version, game, messages applied and sent, key, program.
    const auto hello = [](const Hello& h) { return "(" + HelloMessage(h) + ")"; };
    const std::string serverKey = read(t.socket.sent[0]).hello.key;
    const std::string deal = DealMessage(t.s.Stack), clientKey(kKeyDigits, 'c');
    EXPECT_EQ(t.socket.sent[0], hello({2, {}, 0, 0, serverKey, "Kelvane " KELVANE_VERSION}));
    EXPECT_EQ(t.socket.sent[1], Frame(deal));
    t.Arrive(hello({2, {}, 0, 0, clientKey, "the client"}), 1);
    ASSERT_TRUE(t.table.KelvaneOpponent());
    t.HangUp(1);
    ASSERT_TRUE(t.table.WaitingForOpponent());

    long request = 2;
    std::string challenge;
    const auto call = [&](int socket) {
        t.socket.sent.clear();
        t.table.tcpTalker_ConnectionRequest(0, request++);
        const std::vector<std::string> last(t.socket.calls.end() - 2, t.socket.calls.end());
        EXPECT_EQ(std::ranges::count(last, "Accept " + std::to_string(socket)), 1) << last[0];
        ASSERT_EQ(t.socket.sent.size(), 1u);
        const Received r = read(t.socket.sent[0]);
        ASSERT_EQ(r.kind, MessageKind::kChallenge) << "a caller hears nothing but the challenge";
        EXPECT_NE(r.nonce, challenge) << "every caller gets a fresh challenge";
        challenge = r.nonce;
    };
    // The client applied the deal and sent `sent` messages.
    const auto proof = [&](const std::string& nonce, const std::string& key = "", long sent = 0) {
        const std::string mac = ProofMac(serverKey, key.empty() ? clientKey : key, nonce, 1, sent);
        return "(" + ProofMessage({1, sent, mac}) + ")";
    };
    // The standard keyed hash (HMAC-SHA-256 of "kelvane resume:" + challenge + ":5:7" under the
    // two halves), so programs built on any cryptographic library agree on every proof.
    EXPECT_EQ(ProofMac("00112233445566778899aabbccddeeff", "ffeeddccbbaa99887766554433221100",
                       "0123456789abcdef0123456789abcdef", 5, 7),
              "0153776d5d8cde9bdf57551d2b5e5172b7056ce877ca834c541f538bb371cd32");
    call(2);
    const std::string first = challenge;
    // He leaves: nothing else happens.
    t.HangUp(2);
    EXPECT_EQ(t.socket.calls.back(), "Close 2");
    EXPECT_TRUE(t.table.WaitingForOpponent());
    const std::string stranger = hello({2, Fnv1a(deal), 1, 0, "", "a stranger who saw the deal"});
    const std::string newPlayer = hello({2, {}, 0, 0, clientKey, "a new player"});
    // Each caller's words, once he has heard his challenge; the new player is answered No, and
    // calling again from the same address he is not asked again.
    const std::function<std::string()> callers[] = {
        [&] { return stranger; },
        [&] { return "(K:PROOF:1:0:" + std::string(kProofDigits, 'f') + ")"; },
        [&] { return proof(first); },  // heard once, replayed
        // Made without the client's half of the secret.
        [&] { return proof(challenge, std::string(kKeyDigits, '0')); },
        [&] { return std::string("(M:N:01)"); },
        [&] { return "(" + std::string(kFrameLimit + 10, 'x'); },
        [&] { return newPlayer; },
        [&] { return newPlayer; },
    };
    t.prompts.answers = {false};
    for (const auto& caller : callers) {
        call(2);
        const std::string bytes = caller();
        SCOPED_TRACE(bytes.substr(0, 40));
        t.Arrive(bytes, 2);
        EXPECT_EQ(t.socket.calls.back(), "Close 2");
        EXPECT_EQ(t.socket.sent.size(), 1u);
        EXPECT_TRUE(t.table.WaitingForOpponent());
        EXPECT_EQ(t.s.Role, kRoleServer);
    }
    ASSERT_EQ(t.prompts.boxes.size(), 1u) << "only the new player's first call asks the player";
    EXPECT_EQ(t.prompts.boxes.front().text,
              QuestionBox({QuestionKind::kNewGameWithCaller, 0, ""}).text);
    // Two who say nothing from one address are held side by side; a third replaces the oldest.
    call(2);
    call(3);
    call(4);
    EXPECT_EQ(t.socket.calls.back(), "Close 2");
    // One from another address waits beside them: the client.
    t.socket.addresses[2] = "198.51.100.9";
    call(2);
    const std::string clientsChallenge = challenge;
    for (int tick = 1; tick < CallerRoom::kTicksToAnswer; ++tick) t.table.Tick();
    t.socket.sent.clear();
    // He had sent a chat line the drop lost: the digest waits until it has come again.
    t.Arrive(proof(clientsChallenge, "", 1), 2);
    EXPECT_FALSE(t.table.WaitingForOpponent());
    ASSERT_EQ(t.socket.sent.size(), 1u) << "the client had the deal; his line is still to come";
    EXPECT_EQ(t.socket.sent[0], hello({2, Fnv1a(deal), 0, 1, "", "Kelvane " KELVANE_VERSION}));
    t.Arrive("(C:lost in the drop)", 2);
    ASSERT_EQ(t.socket.sent.size(), 2u);
    EXPECT_EQ(t.socket.sent[1].substr(0, 11), "(K:SYNC:1:1");
    // The silent ones' time runs out; the client's socket is the game's now.
    t.socket.calls.clear();
    t.table.Tick();
    std::ranges::sort(t.socket.calls);
    EXPECT_EQ(t.socket.calls, (std::vector<std::string>{"Close 3", "Close 4"}));

    // His connection dies unnoticed: he calls again, proves himself and takes the game's place.
    call(3);
    t.socket.sent.clear();
    t.Arrive(proof(challenge, "", 1), 3);
    EXPECT_EQ(t.socket.calls.back(), "Close 2");
    EXPECT_FALSE(t.table.WaitingForOpponent());
    EXPECT_EQ(read(t.socket.sent.at(0)).kind, MessageKind::kHello);

    // Lost again. While the player is asked about a new player, callers from four addresses fill
    // the room (socket 3 stays the lost connection's) and a fifth takes the new player's place:
    // the Yes was about him, not his successor.
    t.HangUp(3);
    t.prompts.answers = {true, true};
    t.socket.addresses[2] = "203.0.113.4";
    call(2);
    t.prompts.duringBox = [&] {
        for (int socket = 4; socket < kSockets; ++socket) {
            t.socket.addresses[socket] = "198.51.100." + std::to_string(socket);
            call(socket);
        }
        call(2);
    };
    t.Arrive(newPlayer, 2);
    EXPECT_TRUE(t.table.WaitingForOpponent()) << "the caller who was asked about has gone";
    for (int tick = 0; tick < CallerRoom::kTicksToAnswer; ++tick) t.table.Tick();
    // The player gives the game up for a new player's: a new game is dealt to him.
    t.socket.addresses[2] = "203.0.113.5";
    call(2);
    t.Arrive(newPlayer, 2);
    EXPECT_EQ(t.prompts.boxes.back().text,
              QuestionBox({QuestionKind::kNewGameWithCaller, 0, "203.0.113.5"}).text);
    EXPECT_FALSE(t.table.WaitingForOpponent());
    ASSERT_EQ(t.socket.sent.size(), 3u);
    const Hello dealer = read(t.socket.sent[1]).hello;
    EXPECT_TRUE(!dealer.game && dealer.sent == 0 && !dealer.key.empty()) << t.socket.sent[1];
    EXPECT_NE(dealer.key, serverKey) << "a new game, a new secret";
    EXPECT_EQ(read(t.socket.sent[2]).kind, MessageKind::kDeal);
}

// A caller who leaves before his program said a word never played: the deal he was given is
// forgotten and the server waits again, however often it happens; the next caller is dealt anew.
TEST(Session, ACallerWhoLeavesWithoutAWordEndsNothing) {
    test::TableUnderTest t;
    t.table.mnuServer_Click();
    t.socket.addresses[1] = "198.51.100.4";
    for (long request = 1; request <= 3; ++request) {
        t.socket.sent.clear();
        t.table.tcpTalker_ConnectionRequest(0, request);
        ASSERT_EQ(t.socket.sent.size(), 2u);
        EXPECT_EQ(t.s.Role, kRoleServer);
        t.HangUp(1);
        EXPECT_FALSE(t.table.ended());
        EXPECT_TRUE(t.prompts.boxes.empty());
        EXPECT_EQ(t.s.Role, kRoleNotConnected);
        EXPECT_EQ(t.s.StackCount, 0);
        EXPECT_EQ(t.screen.log.back(), "CallerLeft 198.51.100.4");
    }
    // One who spoke is an opponent: his leaving ends the program as before.
    t.table.tcpTalker_ConnectionRequest(0, 4);
    t.Arrive("(C:hello)", 1);
    t.HangUp(1);
    EXPECT_TRUE(t.table.ended());
}

// A host that cannot be reached is told in a box, with the host, and the socket closed again; no
// host, no attempt.
TEST(Session, ConnectingAsTheClient) {
    const std::tuple<const char*, int, const char*> cases[] = {
        {"", kSocketConnecting, "Not Connected"},    {"127.0.0.1", kSocketConnecting, "Client"},
        {"127.0.0.1", kSocketConnected, "Client"},   {"nowhere", kSocketError, "Not Connected"},
        {"nowhere", kSocketClosed, "Not Connected"},
    };
    for (const auto& [answer, stateAfterConnect, role] : cases) {
        test::TableUnderTest t;
        t.prompts.inputAnswer = answer;
        t.socket.stateAfterConnect = stateAfterConnect;
        t.table.mnuClient_Click();
        EXPECT_EQ(t.table.state().Role, role) << answer << stateAfterConnect;
        const bool unable = std::string_view(answer) == "nowhere";
        std::string boxes;
        for (const auto& box : t.prompts.boxes) boxes += box.text;
        // The server called is named: a mistyped address reads differently from a silent one.
        EXPECT_EQ(boxes, unable ? "Unable to Connect. The connection to nowhere, port 8895, "
                                  "could not be made."
                                : "");
        EXPECT_TRUE(!unable || t.socket.calls.back() == "Close 0");
    }
}

// Still listening, losing the opponent ends the game without a word (the two windows see the rest;
// a connected opponent's close is heard after a modal box, Receiving).
TEST(Session, LosingTheOpponentEndsTheGame) {
    test::TableUnderTest listening;
    listening.table.mnuServer_Click();
    listening.table.cmdSend_Click("hello?");
    EXPECT_EQ(listening.prompts.boxes.size(), 1u);
    EXPECT_TRUE(listening.table.ended());
    EXPECT_TRUE(listening.socket.sent.empty());
}

// A typed line goes out escaped and shows as typed; the other side shows it without its leading
// spaces. The hidden phrase turns the opponent's known cards up and never leaves the table.
TEST(Chat, EscapedOnTheWireShownAsTyped) {
    // Typed, sent (nothing: the hidden phrase), shown on the other side.
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"hi (again)", "(C:hi {LPAREN}again{RPAREN})", "hi (again)"},
        {"", "(C:)", ""},
        {"   hello ", "(C:   hello )", "hello "},
        {"{LPAREN}", "(C:{LPAREN})", "("},
        {"{lparen})", "(C:{lparen}{RPAREN})", "{lparen})"},
        {" peekatthehands", "(C: peekatthehands)", "peekatthehands"},
        {"peekatthehands", "", ""},
    };
    for (const auto& [typed, sent, shownThere] : cases) {
        SCOPED_TRACE(typed);
        Opponent o;
        o.table.cmdSend_Click(typed);
        const bool hidden = sent.empty();
        EXPECT_EQ(o.socket.sent, std::vector<std::string>(hidden ? 0 : 1, sent));
        EXPECT_EQ(o.s.RevealOpponent, hidden);
        o.Arrive(sent);
        EXPECT_EQ(o.table.transcript().text(),
                  hidden ? "" : "YOU: " + typed + "\r\nOPPONENT: " + shownThere);
    }
}

TEST(Transcript, SpeakerNamesAreColouredUpToTheFirstSpaceOneLineAtATime) {
    Transcript t;
    t.AddLine("YOU: x");
    t.AddLine("OPPONENT: hi there");
    t.AddLine("plain");
    EXPECT_EQ(t.text(), "YOU: x\r\nOPPONENT: hi there\r\nplain");
    const std::vector<ColourRun> expected = {
        {0, 4, kBlue, true},    {4, 2, kBlack, false},  {8, 9, kRed, true},
        {17, 9, kBlack, false}, {28, 5, kBlack, false},
    };
    EXPECT_EQ(t.runs(), expected);
    EXPECT_EQ(t.lastLineStart(), 28u);
    EXPECT_EQ(t.lastLineFirstRun(), 4u);
    // Colouring only the new line must give what one pass over the whole text gives, whatever the
    // opponent sends (line breaks, odd spacing), also past 16-bit positions and after the oldest
    // lines were dropped.
    std::mt19937 random(5);
    const std::string alphabet = "YOUPN: x\r\n";
    std::size_t longest = 0;
    for (int line = 1; line <= 3 * static_cast<int>(Transcript::kMostLines); ++line) {
        std::string text;
        for (int i = random() % 40; i > 0; --i) text += alphabet[random() % alphabet.size()];
        t.AddLine((random() % 2 ? "" : random() % 2 ? "YOU: " : "OPPONENT: ") + text);
        longest = std::max(longest, t.text().size());
        std::vector<ColourRun> whole;
        if (line % 500 == 0) ColorizeRTB(t.text(), 0, whole);
        ASSERT_TRUE(whole.empty() || t.runs() == whole) << "after line " << line;
    }
    EXPECT_GT(longest, 32767u);
    EXPECT_LT(t.text().size(), longest) << "the oldest lines were dropped";
    t.AddLine("YOU: last");
    EXPECT_EQ(t.runs()[t.runs().size() - 2], (ColourRun{t.text().size() - 9, 4, kBlue, true}));
    // Lines as long as a frame are bounded by their bytes, long before their number.
    const std::string longLine = "OPPONENT: " + std::string(kFrameLimit - 20, 'y');
    for (int line = 0; line < 200; ++line) {
        t.AddLine(longLine);
        ASSERT_LE(t.text().size(), Transcript::kMostBytes) << "after line " << line;
    }
    EXPECT_EQ(t.text().substr(t.lastLineStart()), longLine);
    EXPECT_EQ(t.runs().front().start, 0u) << "the runs follow the cut";
}

}  // namespace
}  // namespace kelvane
