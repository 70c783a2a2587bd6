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
    // The deal carries the stock bottom first and reads back.
    const CardArray stock = ShuffleOrder(SeededRandom(7));
    const std::string deal = DealMessage(stock);
    EXPECT_EQ(Frame(deal).size(), 160u);
    const std::vector<std::string_view> parts = SplitList(RestFrom(deal, 3));
    ASSERT_EQ(parts.size(), 53u);
    EXPECT_EQ(parts[52], "");
    for (int i = 0; i < 52; ++i) EXPECT_EQ(ReadWholeNumber(parts[i]).value(), stock[i].value());
}

// The data-arrival handler: accept each arrival, then cut every complete frame out of it.
std::vector<std::string> Receive(std::string& buffer,
                                 const std::vector<std::string_view>& arrivals) {
    std::vector<std::string> messages;
    for (std::string_view bytes : arrivals) {
        AcceptArrival(buffer, bytes);
        while (auto frame = CutFrame(buffer))
            if (*frame) messages.push_back(**frame);
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
        std::string buffer;
        EXPECT_EQ(Receive(buffer, c.arrivals), c.messages);
        EXPECT_EQ(buffer, c.left);
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
        std::string buffer;
        EXPECT_EQ(Receive(buffer, arrivals), sent);
        EXPECT_EQ(buffer, "");
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
        EXPECT_EQ(UnescapeChat(RestFrom(sent, 3)), c.shown);
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

template <typename Reader>
std::string Outcome(Reader read, std::string_view text) {
    try {
        return std::to_string(read(text).value());
    } catch (const Failure& f) {
        return "failure " + std::to_string(f.number());
    }
}

// Fields stand at fixed positions; the numbers of moves are read leniently, the deal's strictly.
TEST(WireFields, AreReadFromFixedPositionsMovesLenientlyTheDealStrictly) {
    EXPECT_EQ(RestFrom("M:U:   04 ", 5), "04 ");
    EXPECT_EQ(RestFrom("M:", 5), "");
    EXPECT_THROW(RestFrom("M:U:04", 0), Failure);
    const std::pair<std::string_view, int> columns[] = {
        {"M:M:00:05,", 0}, {"M:M:123:05,", 12}, {"M:M: 3:05,", 3}, {"M:M:", 0}};
    for (const auto& [message, column] : columns)
        EXPECT_EQ(LayOffColumn(message).value(), column) << message;
    using Parts = std::vector<std::string_view>;
    EXPECT_EQ(SplitList("05,06,"), (Parts{"05", "06", ""}));
    EXPECT_EQ(SplitList(""), Parts{""});
    struct Case {
        std::string_view text, valueOf, whole;
    };
    const Case cases[] = {
        {"07", "7", "7"},
        {"  5  ", "5", "5"},
        {"-5", "-5", "-5"},
        {"+5", "5", "5"},
        {"", "0", "failure 13"},
        {"x5", "0", "failure 13"},
        {"12ab", "12", "failure 13"},
        {"1 2", "1", "failure 13"},
        {"-", "0", "failure 13"},
        {"000000000000000000042", "42", "42"},
        {"-32768", "-32768", "-32768"},
        {"32768", "failure 6", "failure 6"},
        {"99999999999999999999", "failure 6", "failure 6"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Outcome(ValueOf, c.text), c.valueOf) << '"' << c.text << '"';
        EXPECT_EQ(Outcome(ReadWholeNumber, c.text), c.whole) << '"' << c.text << '"';
    }
}

}  // namespace
}  // namespace kelvane
