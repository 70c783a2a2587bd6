#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "fakes.h"

namespace kelvane {
namespace {

using test::FakeErrorPrompt;

int NumberOf(auto&& action) {
    try {
        action();
    } catch (const Failure& f) {
        return f.number();
    }
    return 0;
}

TEST(CheckedTypes, LeavingTheRangeIsAFailureNeverAWrap) {
    Int16 max = std::numeric_limits<std::int16_t>::max();
    Int16 min = std::numeric_limits<std::int16_t>::min();
    CardArray cards{};
    MeldTable table;
    EXPECT_EQ(NumberOf([&] { max += 1; }), kOverflow);
    EXPECT_EQ(NumberOf([&] { (void)(min - Int16(1)); }), kOverflow);
    EXPECT_EQ(NumberOf([&] { (void)-min; }), kOverflow);
    EXPECT_EQ(NumberOf([&] { (void)(Int16(200) * Int16(200)); }), kOverflow);
    EXPECT_EQ(NumberOf([] { (void)Int16(std::size_t{70000}); }), kOverflow);
    EXPECT_EQ(NumberOf([&] { (void)(Int16(5) / Int16(0)); }), kDivisionByZero);
    EXPECT_EQ(NumberOf([&] { cards[52] = 1; }), kSubscriptOutOfRange);
    EXPECT_EQ(NumberOf([&] { (void)cards[-1]; }), kSubscriptOutOfRange);
    EXPECT_EQ(NumberOf([&] { (void)table.Column(0); }), kSubscriptOutOfRange);
    EXPECT_EQ(max.value(), 32767) << "a failed step leaves the value as it was";
    EXPECT_EQ(NumberOf([&] { cards[51] = max; }), 0);
}

TEST(ErrorReport, TextNamesTheProcedureTheNumberAndTheAddress) {
    FakeErrorPrompt prompt;
    ErrorReporter reporter(prompt);
    reporter.ReportError("RefreshHands", Failure(0, ""));
    EXPECT_TRUE(prompt.shown.empty()) << "no pending failure shows nothing";
    reporter.ReportError("Data_Process", Failure(kTypeMismatch));
    const std::string expected =
        "An error has occurred in Data_Process:\r\n\r\n13: Type mismatch\r\n\r\n"
        "Continue Program? (Choosing No will end the program.)\r\n"
        "(Also, this error has been copied to the clipboard.\r\n"
        "Please paste into an email to " +
        std::string(kSupportAddress) + ")";
    EXPECT_EQ(prompt.shown, std::vector<std::string>{expected});
    EXPECT_EQ(prompt.clipboard, std::vector<std::string>{expected});
}

TEST(Steps, YesResumesWithTheNextStepAndEachFailureIsReportedOnItsOwn) {
    FakeErrorPrompt prompt;
    ErrorReporter reporter(prompt);
    CardArray hand{};
    std::vector<int> ran;
    Steps steps(reporter, "Discard");
    steps([&] { ran.push_back(1); });
    steps([&] {
        hand[60] = 1;
        ran.push_back(2);
    });
    steps([&] {
        Int16 n = 32767;
        n += 1;
        ran.push_back(3);
    });
    steps([&] { throw std::runtime_error("socket refused"); });
    steps([&] { ran.push_back(5); });
    EXPECT_EQ(ran, (std::vector<int>{1, 5}));
    ASSERT_EQ(prompt.shown.size(), 3u);
    EXPECT_NE(prompt.shown[0].find("in Discard:\r\n\r\n9: Subscript out of range"),
              std::string::npos);
    EXPECT_NE(prompt.shown[1].find("6: Overflow"), std::string::npos);
    EXPECT_NE(prompt.shown[2].find("51: socket refused"), std::string::npos);
    EXPECT_FALSE(prompt.ended);
}

TEST(Steps, NoEndsTheProgramAtOnceWithoutReportingAgain) {
    FakeErrorPrompt prompt;
    prompt.answers = {false};
    ErrorReporter reporter(prompt);
    bool laterStepRan = false;
    auto outer = [&] {
        Steps steps(reporter, "imgStack_Click");
        steps([&] {
            Steps inner(reporter, "GetTopCardFromStack");
            inner([] { Raise(kSubscriptOutOfRange); });
        });
        steps([&] { laterStepRan = true; });
    };
    EXPECT_THROW(outer(), ProgramEnded);
    EXPECT_TRUE(prompt.ended);
    EXPECT_FALSE(laterStepRan);
    ASSERT_EQ(prompt.shown.size(), 1u);
    EXPECT_NE(prompt.shown[0].find("in GetTopCardFromStack:"), std::string::npos);
}

}  // namespace
}  // namespace kelvane
