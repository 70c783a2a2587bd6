#include "headless/headless_ports.h"

#include <charconv>

#include "engine/steps.h"

namespace kelvane {

namespace {

constexpr std::string_view kRoundSuffix = " that round";
constexpr std::string_view kGameWon = "You Won the Game!";
constexpr std::string_view kGameLost = "You Lost the Game!";

// The number a scoreboard label ends with ("Your Score: -35").
int TrailingNumber(const std::string& label) {
    const std::size_t colon = label.rfind(": ");
    int n = 0;
    if (colon != std::string::npos) {
        const char* first = label.data() + colon + 2;
        std::from_chars(first, label.data() + label.size(), n);
    }
    return n;
}

bool EndsWith(const std::string& text, std::string_view suffix) {
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

}  // namespace

void HeadlessScreen::RefreshScoreBoard(const ScoreBoardTexts& texts) {
    localTotal_ = TrailingNumber(texts.localScore);
    remoteTotal_ = TrailingNumber(texts.remoteScore);
}

void HeadlessScreen::ShowResult(const std::string& text) {
    if (EndsWith(text, kRoundSuffix)) {
        // The scoreboard is redrawn with the new totals just before the round's result shows.
        rounds_.push_back({text, localTotal_ - localCounted_, remoteTotal_ - remoteCounted_});
        localCounted_ = localTotal_;
        remoteCounted_ = remoteTotal_;
    } else if (text == kGameWon || text == kGameLost) {
        games_.push_back(text);
        if (text == kGameWon) ++gamesWon_;
        // A decided game starts its totals from 0 again.
        localCounted_ = 0;
        remoteCounted_ = 0;
    }
}

Answer HeadlessPrompts::MessageBox(const std::string& text, Buttons buttons, Icon,
                                   const std::string& title) {
    boxes_.push_back({text, buttons, title});
    return buttons == Buttons::kOk ? Answer::kOk : Answer::kYes;
}

std::string HeadlessPrompts::InputBox(const std::string&, const std::string&, const std::string&) {
    return host_;
}

void HeadlessPrompts::Pause(int milliseconds) {
    ++pauses_;
    pausedMs_ += milliseconds;
}

bool HeadlessErrors::AskToContinue(const std::string& text) {
    reports_.push_back(text);
    return true;
}

void HeadlessErrors::EndProgram() {
    throw ProgramEnded{};
}

}  // namespace kelvane
