#include "wire/wire.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "game/card_text.h"
#include "game/stock.h"

namespace kelvane {
namespace {

using test::Card;
using test::Meld;

TEST(WireMessages, FramesAndTheDealAreByteExact) {
    const MeldContent run = Meld("5S 6S 7S");
    const MeldContent laidOff = Meld("5S 6S 7S 8S");
    const std::pair<std::string, std::string_view> cases[] = {
        {Frame(DiscardMessage(5)), "(M:D:05)"},
        {Frame(UpPileMessage(4)), "(M:U:04)"},
        {Frame(StackDrawMessage(40)), "(M:N:40)"},
        {Frame(NewMeldMessage(run)), "(M:M:N:05,06,07,)"},
        {Frame(LayOffMessage(0, laidOff)), "(M:M:00:05,06,07,08,)"},
        {Frame(LayOffMessage(12, run)), "(M:M:12:05,06,07,)"},
    };
    for (const auto& [sent, expected] : cases) EXPECT_EQ(sent, expected);
    // The deal carries the stock bottom first and reads back; so does every message sent.
    const CardArray stock = ShuffleOrder(SeededRandom(7));
    const std::string deal = DealMessage(stock);
    EXPECT_EQ(Frame(deal).size(), 160u);
    EXPECT_TRUE(ReadMessage(deal).stack == stock);
    for (const auto& [sent, expected] : cases)
        EXPECT_TRUE(ReadMessage(std::string_view(sent).substr(1, sent.size() - 2)).readable)
            << sent;
}

// The data-arrival handler: accept each arrival, then cut every complete frame out of it; a
// frame too long ends the reading with "too long".
std::vector<std::string> Receive(FrameReader& reader,
                                 const std::vector<std::string_view>& arrivals) {
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

int Below(RandomSource& random, int n) {
    return static_cast<int>(random() % n);
}

// A chat line of awkward characters, a meld list or a deal: short and long frames alike.
std::string RandomMessage(RandomSource& random) {
    std::string typed;
    for (int n = Below(random, 12); n > 0; --n) typed += " ab(){}:,"[Below(random, 9)];
    const CardArray cards = ShuffleOrder(random);
    switch (Below(random, 3)) {
        case 0:
            return ChatMessage(typed);
        case 1:
            return LayOffMessage(Below(random, 20), {cards, Int16(1 + Below(random, 13))});
        default:
            return DealMessage(cards);
    }
}

TEST(ReceiveLoop, CutsFramesAsTheyCompleteHoweverTheStreamIsSplit) {
    struct Case {
        std::vector<std::string_view> arrivals;
        std::vector<std::string> messages;
        std::string_view left;
    };
    const Case cases[] = {
        {{"(M:N:12)(M:D:40)"}, {"M:N:12", "M:D:40"}, ""},
        {{"M:D:05)"}, {"M:D:05"}, ""},
        {{"xy(M:D:05)"}, {"xy(M:D:05"}, ""},
        {{"()(M:D:05)"}, {"M:D:05"}, ""},
        {{"(M:D:05))(M:N:12)"}, {"M:D:05", "M:N:12"}, ""},
        // The first stray character stands in for the "(" it displaced; only one frame suffers.
        {{"(M:D:05)zz(M:N:12)(M:D:40)"}, {"M:D:05", "z(M:N:12", "M:D:40"}, ""},
        {{"(M:D:05)M:N:12)"}, {"M:D:05", ":N:12"}, ""},
        {{"", "(M:D:05)"}, {"M:D:05"}, ""},
        {{"(M:D:", "", "05)(M:"}, {"M:D:05"}, "(M:"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.arrivals));
        FrameReader reader;
        EXPECT_EQ(Receive(reader, c.arrivals), c.messages);
        EXPECT_EQ(reader.Waiting(), c.left.size());
    }
    // A frame may carry kFrameLimit characters; one more, closed or still open, is too long.
    const std::string longest(kFrameLimit, 'x'), tooLong(kFrameLimit + 1, 'x');
    const std::pair<std::vector<std::string>, std::vector<std::string>> limits[] = {
        {{"(" + longest + ")(C:)"}, {longest, "C:"}},
        {{std::string("(").append(longest, 0, 100), longest.substr(100) + ")"}, {longest}},
        {{"(C:)(" + tooLong + ")"}, {"C:", "too long"}},
        {{"(" + tooLong}, {"too long"}},
        {{"(" + longest, "x"}, {"too long"}},
    };
    for (const auto& [arrivals, messages] : limits) {
        FrameReader reader;
        EXPECT_EQ(Receive(reader, {arrivals.begin(), arrivals.end()}), messages);
    }
    // Randomly split streams yield exactly the messages sent.
    RandomSource random = SeededRandom(20261123);
    for (int session = 0; session < 300; ++session) {
        std::string stream;
        std::vector<std::string> sent;
        for (int n = 1 + Below(random, 12); n > 0; --n) {
            sent.push_back(RandomMessage(random));
            stream += Frame(sent.back());
        }
        std::vector<std::string_view> arrivals;
        for (std::size_t at = 0; at < stream.size();) {
            const auto size = static_cast<std::size_t>(Below(random, 24));
            arrivals.push_back(std::string_view(stream).substr(at, size));
            at += size;
        }
        SCOPED_TRACE(stream);
        FrameReader reader;
        EXPECT_EQ(Receive(reader, arrivals), sent);
        EXPECT_EQ(reader.Waiting(), 0u);
    }
}

TEST(ChatEscape, SurvivesTheWireButForTypedEscapesAndLeadingSpaces) {
    struct Case {
        std::string_view typed, sent, shown;
    };
    const Case cases[] = {
        {"hi (again)", "C:hi {LPAREN}again{RPAREN}", "hi (again)"},
        {"", "C:", ""},
        {"   hello ", "C:   hello ", "hello "},
        {"{LPAREN}", "C:{LPAREN}", "("},
        {"{lparen})", "C:{lparen}{RPAREN}", "{lparen})"},
    };
    for (const Case& c : cases) {
        const std::string sent = ChatMessage(c.typed);
        EXPECT_EQ(sent, c.sent);
        EXPECT_EQ(sent.find(')'), std::string::npos);
        EXPECT_EQ(ReadMessage(sent).chat, c.shown);
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

// A message is read only as the game writes it: anything else is unreadable, whole.
TEST(ReadMessage, AcceptsExactlyWhatTheGameWrites) {
    const std::string deal = DealMessage(ShuffleOrder(SeededRandom(3)));
    const std::pair<std::string, bool> cases[] = {
        {"M:D:52", true},
        {"M:D:53", false},
        {"M:D:00", false},
        {"M:D:5", false},
        {"M:D: 05", false},
        {"M:D:05 ", false},
        {"M:D:-1", false},
        {"M:D:x5", false},
        {"M:N:01", true},
        {"M:N:99", false},
        {"M:U:00", true},
        {"M:U:99", true},  // a position the rules judge
        {"M:U:7", false},
        {"M:M:N:05,06,07,", true},
        {"M:M:N:05,06,07", false},
        {"M:M:N:", false},
        {"M:M:N:05,,06,", false},
        {"M:M:N:05,53,07,", false},
        {"M:M:N:01,02,03,04,05,06,07,08,09,10,11,12,13,", true},
        {"M:M:N:01,02,03,04,05,06,07,08,09,10,11,12,13,14,", false},
        {"M:M:00:05,06,07,08,", true},
        {"M:M:0:05,06,07,08,", false},
        {"M:M:00;05,06,07,08,", false},
        {"M:M:00:", false},
        {deal, true},
        {deal.substr(0, deal.size() - 1), false},
        {deal.substr(0, deal.size() - 3), false},
        {deal + "01,", false},
        {"s:", false},
        {"C:", true},
        {"C:anything (at) all,", true},
        {"S:whatever", true},
        {"X:whatever", true},  // a kind this program does not know: ignored, not refused
    };
    for (const auto& [message, readable] : cases)
        EXPECT_EQ(ReadMessage(message).readable, readable) << message;
    const Received layOff = ReadMessage("M:M:12:05,06,07,08,");
    EXPECT_EQ(layOff.number, 12);
    EXPECT_EQ(layOff.cards, Meld("5S 6S 7S 8S"));
    EXPECT_EQ(ReadMessage("M:U:07").number, 7);
}

// Kelvane's own messages: what this program writes reads back field for field, and the strict
// reading refuses anything else of their kinds.
TEST(ReadMessage, KelvaneMessagesReadBackAndNothingElse) {
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
    const Received sync = ReadMessage(SyncMessage({3, 4, 0x1ULL}));
    EXPECT_EQ(sync.sync.applied, 3);
    EXPECT_EQ(sync.sync.state, 0x1ULL);
    EXPECT_EQ(ReadMessage(ByeMessage()).kind, MessageKind::kBye);

    const std::pair<std::string_view, bool> cases[] = {
        {"K:HELLO:2:-:0:0:0123456789abcdef0123456789abcdef:Kelvane 1.0.42", true},
        {"K:HELLO:2:-:0:0:-:Kelvane", true},                  // no key: a resume's
        {"K:HELLO:9:-:0:0:-:Kelvane", true},                  // another version, told apart
        {"K:HELLO:2:-:0:0:0123:Kelvane", false},              // a key is 32 hex digits
        {"K:HELLO:2:-:0:0:-:", false},                        // no program
        {"K:HELLO:0:-:0:0:-:Kelvane", false},                 // no version 0
        {"K:HELLO:2:0123:0:0:-:Kelvane", false},              // a game is 16 hex digits
        {"K:HELLO:2:0123456789ABCDEF:0:0:-:Kelvane", false},  // lower case only
        {"K:HELLO:2:-:01:0:-:Kelvane", false},                // counts without leading zeros
        {"K:HELLO:2:-:1234567890:0:-:Kelvane", false},        // nine digits at most
        {"K:HELLO:2:-:0:0:-:Kel\x01vane", false},             // printable names only
        {"K:HELLO:2:-:0:0:Kelvane", false},
        {"K:CHALLENGE:0123456789abcdef0123456789abcdef", true},
        {"K:CHALLENGE:0123456789abcdef", false},
        {"K:PROOF:1:2:0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef", true},
        {"K:PROOF:1:2:0123456789abcdef0123456789abcdef", false},
        {"K:ROUND:0:1:0:0:1:C:0000000000000000", true},
        {"K:ROUND:0:1:-0:0:1:C:0000000000000000", false},
        {"K:ROUND:0:1:40000:0:1:C:0000000000000000", false},  // beyond the game's totals
        {"K:ROUND:0:1:0:0:1:X:0000000000000000", false},
        {"K:ROUND:0:1:0:0:1:C:00", false},
        {"K:SYNC:0:0:0000000000000000", true},
        {"K:SYNC:0:0", false},
        {"K:BYE", true},
        {"K:BYE:", false},
        {"K:OTHER:whatever", true},  // a later version's message: ignored, not refused
    };
    for (const auto& [message, readable] : cases)
        EXPECT_EQ(ReadMessage(message).readable, readable) << message;
    // Every message of the game is counted, known or not, and Kelvane's round digests.
    for (const auto& [message, counted] : {std::pair{"M:D:05", true},
                                           {"X:new", true},
                                           {"K:ROUND:", true},
                                           {"K:HELLO:", false},
                                           {"K:SYNC:", false},
                                           {"K:BYE", false},
                                           {"K:CHALLENGE:", false},
                                           {"K:PROOF:", false},
                                           {"K:OTHER", false}})
        EXPECT_EQ(Counted(message), counted) << message;
}

}  // namespace
}  // namespace kelvane
