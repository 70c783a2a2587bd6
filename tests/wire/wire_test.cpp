// SPDX-License-Identifier: GPL-3.0-or-later
#include "wire/wire.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "game/card_text.h"
#include "game/stock.h"

namespace kelvane {
namespace {

using test::Meld;

// What this program writes: the game's messages byte for byte, the deal and Kelvane's own read
// back whole.
TEST(WireMessages, WhatThisProgramWritesIsExactAndReadsBack) {
    const std::pair<std::string, std::string_view> cases[] = {
        {Frame(DiscardMessage(5)), "(M:D:05)"},
        {Frame(UpPileMessage(4)), "(M:U:04)"},
        {Frame(StackDrawMessage(40)), "(M:N:40)"},
        {Frame(NewMeldMessage(Meld("5S 6S 7S"))), "(M:M:N:05,06,07,)"},
        {Frame(LayOffMessage(0, Meld("5S 6S 7S 8S"))), "(M:M:00:05,06,07,08,)"},
        {Frame(LayOffMessage(12, Meld("5S 6S 7S"))), "(M:M:12:05,06,07,)"},
    };
    for (const auto& [sent, expected] : cases) EXPECT_EQ(sent, expected);
    // The deal carries the stock bottom first and reads back; the other kinds are read back among
    // the readable messages below.
    const CardArray stock = ShuffleOrder(SeededRandom(7));
    const std::string deal = DealMessage(stock);
    EXPECT_EQ(Frame(deal).size(), 160u);
    EXPECT_TRUE(ReadMessage(deal).stack == stock);
    // Kelvane's own messages read back field for field. Every message of the game is counted,
    // known or not, and Kelvane's round digests, but nothing else of Kelvane's.
    Hello hello;
    hello.game = 0x0123456789abcdefULL;
    hello.applied = 17;
    hello.sent = 123456789;
    hello.program = "kelvane-bot 1.0.42: level (1)";
    EXPECT_EQ(ReadMessage(HelloMessage(hello)).hello, hello);
    hello.key = std::string(kKeyDigits, 'a');
    EXPECT_EQ(ReadMessage(HelloMessage(hello)).hello, hello);
    const Proof proof{3, 9, std::string(kProofDigits, 'f')};
    EXPECT_EQ(ReadMessage(ProofMessage(proof)).proof, proof);
    EXPECT_EQ(ReadMessage(ChallengeMessage(hello.key)).nonce, hello.key);
    const RoundDigest digest{5, 240, -30, 512, 7, 'S', 0xfedcba9876543210ULL};
    EXPECT_EQ(ReadMessage(RoundDigestMessage(digest)).digest, digest);
    const Sync sync = ReadMessage(SyncMessage({3, 4, 0x1ULL})).sync;
    EXPECT_EQ(std::pair(sync.applied, sync.state), std::pair(3L, std::uint64_t{1}));
    EXPECT_EQ(ReadMessage(ByeMessage()).kind, MessageKind::kBye);
    for (const char* message : {"M:D:05", "X:new", "K:ROUND:"}) EXPECT_TRUE(Counted(message));
    for (const char* message :
         {"K:HELLO:", "K:SYNC:", "K:BYE", "K:CHALLENGE:", "K:PROOF:", "K:OTHER"})
        EXPECT_FALSE(Counted(message)) << message;
}

// The data-arrival handler: accept each arrival, then cut every complete frame out of it; a
// frame too long ends the reading with "too long".
std::vector<std::string> Receive(FrameReader& reader, const std::vector<std::string>& arrivals) {
    std::vector<std::string> messages;
    for (std::string_view bytes : arrivals) {
        reader.Accept(bytes);
        std::string message;
        for (FrameReader::Cut cut; (cut = reader.Next(message)) != FrameReader::Cut::kNone;) {
            if (cut == FrameReader::Cut::kTooLong) {
                messages.push_back("too long");
                return messages;
            }
            if (cut == FrameReader::Cut::kMessage) messages.push_back(message);
        }
    }
    return messages;
}

// The duels split every move, deal and Kelvane message two programs exchange at random; these
// are the edges.
TEST(ReceiveLoop, CutsFramesAsTheyCompleteHoweverTheStreamIsSplit) {
    // A frame may carry kFrameLimit characters; one more, closed or still open, is too long.
    const std::string longest(kFrameLimit, 'x'), tooLong(kFrameLimit + 1, 'x');
    // The arrivals, the messages cut from them and the bytes still waiting for the rest of their
    // frame.
    using Texts = std::vector<std::string>;
    const std::tuple<Texts, Texts, std::size_t> cases[] = {
        {{"(M:N:12)(M:D:40)"}, {"M:N:12", "M:D:40"}, 0},
        {{"M:D:05)"}, {"M:D:05"}, 0},
        {{"xy(M:D:05)"}, {"xy(M:D:05"}, 0},
        {{"()(M:D:05)"}, {"M:D:05"}, 0},
        {{"(M:D:05))(M:N:12)"}, {"M:D:05", "M:N:12"}, 0},
        // The first stray character stands in for the "(" it displaced; only one frame suffers.
        {{"(M:D:05)zz(M:N:12)(M:D:40)"}, {"M:D:05", "z(M:N:12", "M:D:40"}, 0},
        {{"(M:D:05)M:N:12)"}, {"M:D:05", ":N:12"}, 0},
        {{"", "(M:D:05)"}, {"M:D:05"}, 0},
        {{"(M:D:", "", "05)(M:"}, {"M:D:05"}, 3},
        {{"(" + longest + ")(C:)"}, {longest, "C:"}, 0},
        {{"(" + longest.substr(0, 100), longest.substr(100) + ")"}, {longest}, 0},
        {{"(C:)(" + tooLong + ")"}, {"C:", "too long"}, 0},
        {{"(" + tooLong}, {"too long"}, 0},
        {{"(" + longest, "x"}, {"too long"}, 0},
    };
    for (const auto& [arrivals, messages, left] : cases) {
        SCOPED_TRACE(testing::PrintToString(arrivals).substr(0, 60));
        FrameReader reader;
        EXPECT_EQ(Receive(reader, arrivals), messages);
        if (messages.back() != "too long") {
            EXPECT_EQ(reader.Waiting(), left);
        }
    }
}

// The duels and the receiving tests meet every kind a correct peer sends; these are the edges.
TEST(Dispatch, ClassifiesByCaseSensitivePrefix) {
    using enum MessageKind;
    const std::pair<std::string_view, MessageKind> cases[] = {
        {"M:M:n:05,", kLayOff}, {"S:01,02,", kOldVersion}, {"s:01,02,", kDeal},
        {"c:hi", kUnknown},     {"M:D", kUnknown},         {" M:D:05", kUnknown},
        {"", kUnknown},         {"M:X:05", kUnknown}};
    for (const auto& [message, kind] : cases) EXPECT_EQ(Classify(message), kind) << message;
}

// A message is read only as the game writes it, Kelvane's own too: anything else is unreadable,
// whole. A take's position is the rules' to judge; a kind this program, or this version, does not
// know is ignored, not refused.
TEST(ReadMessage, AcceptsExactlyWhatTheGameWrites) {
    const std::string deal = DealMessage(ShuffleOrder(SeededRandom(3)));
    const std::string key(kKeyDigits, 'a'), mac(kProofDigits, 'f');
    const std::string readable[] = {
        "M:D:52", "M:N:01", "M:U:00", "M:U:99", "M:M:N:05,06,07,", "M:M:00:05,06,07,08,",
        "M:M:N:01,02,03,04,05,06,07,08,09,10,11,12,13,", deal, "C:", "C:anything (at) all,",
        "S:whatever", "X:whatever",
        // Kelvane's: with a key or without (a resume's), and another version's, told apart.
        "K:HELLO:2:-:0:0:" + key + ":Kelvane 1.0.42", "K:HELLO:2:-:0:0:-:Kelvane",
        "K:HELLO:9:-:0:0:-:Kelvane", "K:CHALLENGE:" + key, "K:PROOF:1:2:" + mac,
        "K:ROUND:0:1:0:0:1:C:0000000000000000", "K:SYNC:0:0:0000000000000000", "K:BYE",
        "K:OTHER:whatever"};
    const std::string unreadable[] = {
        "M:D:53", "M:D:00", "M:D:5", "M:D: 05", "M:D:05 ", "M:D:-1", "M:D:x5", "M:N:99", "M:U:7",
        "M:M:N:05,06,07", "M:M:N:", "M:M:N:05,,06,", "M:M:N:05,53,07,",
        "M:M:N:01,02,03,04,05,06,07,08,09,10,11,12,13,14,", "M:M:0:05,06,07,08,",
        "M:M:00;05,06,07,08,", "M:M:00:", deal.substr(0, deal.size() - 1),
        deal.substr(0, deal.size() - 3), deal + "01,", "s:",
        // A key of 32 hex digits, a game of 16 in lower case, counts of up to nine digits without
        // leading zeros, a printable program name, totals the game can reach.
        "K:HELLO:2:-:0:0:0123:Kelvane", "K:HELLO:2:-:0:0:-:", "K:HELLO:0:-:0:0:-:Kelvane",
        "K:HELLO:2:0123:0:0:-:Kelvane", "K:HELLO:2:0123456789ABCDEF:0:0:-:Kelvane",
        "K:HELLO:2:-:01:0:-:Kelvane", "K:HELLO:2:-:1234567890:0:-:Kelvane",
        "K:HELLO:2:-:0:0:-:Kel\x01vane", "K:HELLO:2:-:0:0:Kelvane", "K:CHALLENGE:" + key.substr(16),
        "K:PROOF:1:2:" + mac.substr(32), "K:ROUND:0:1:-0:0:1:C:0000000000000000",
        "K:ROUND:0:1:40000:0:1:C:0000000000000000", "K:ROUND:0:1:0:0:1:X:0000000000000000",
        "K:ROUND:0:1:0:0:1:C:00", "K:SYNC:0:0", "K:BYE:"};
    for (const std::string& message : readable)
        EXPECT_TRUE(ReadMessage(message).readable) << message;
    for (const std::string& message : unreadable)
        EXPECT_FALSE(ReadMessage(message).readable) << message;
    const Received layOff = ReadMessage("M:M:12:05,06,07,08,");
    EXPECT_EQ(layOff.number, 12);
    EXPECT_EQ(layOff.cards, Meld("5S 6S 7S 8S"));
    EXPECT_EQ(ReadMessage("M:U:07").number, 7);
}

}  // namespace
}  // namespace kelvane
