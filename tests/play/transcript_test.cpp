#include "play/transcript.h"

#include <gtest/gtest.h>

#include <random>

namespace kelvane {
namespace {

TEST(Transcript, SpeakerNamesAreColouredUpToTheFirstSpace) {
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
}

// Appending colours only the new line; the result must be what one pass over the whole text gives,
// whatever the lines hold (an opponent can send line breaks and odd spacing).
TEST(Transcript, AppendingEqualsRecolouringTheWholeText) {
    std::mt19937 random(5);
    const std::string alphabet = "YOUPN: x\r\n";
    Transcript t;
    for (int line = 0; line < 400; ++line) {
        std::string text;
        for (int i = random() % 12; i > 0; --i) text += alphabet[random() % alphabet.size()];
        if (random() % 2) text = (random() % 2 ? "YOU: " : "OPPONENT: ") + text;
        t.AddLine(text);
        if (line % 50 == 49) {
            std::vector<ColourRun> whole;
            ColorizeRTB(t.text(), 0, whole);
            ASSERT_EQ(t.runs(), whole) << "after line " << line;
        }
    }
}

TEST(Transcript, KeepsWorkingPastSixteenBitPositions) {
    Transcript t;
    const std::string line = "OPPONENT: " + std::string(90, 'z');
    while (t.text().size() < 40000) t.AddLine(line);
    t.AddLine("YOU: last");
    EXPECT_EQ(t.runs()[t.runs().size() - 2], (ColourRun{t.text().size() - 9, 4, kBlue, true}));
}

}  // namespace
}  // namespace kelvane
