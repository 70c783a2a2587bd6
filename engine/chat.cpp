// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/play.h"

namespace kelvane {

namespace {
// Typed into the chat input, it shows the opponent's known cards instead of being sent.
constexpr std::string_view kRevealPhrase = "peekatthehands";
}  // namespace

void Play::Say(const std::string& whole) {
    // The window holds typing to this length; a longer line would not reach the opponent.
    const std::string typed = whole.substr(0, kChatLineLimit);
    Steps steps(reporter_, "cmdSend_Click");
    if (typed == kRevealPhrase) {
        steps([&] { state_.RevealOpponent = true; });
        steps([&] { screen_.ClearChatInput(); });
        return;
    }
    steps([&] { outbox_.Send(ChatMessage(typed)); });
    steps([&] { AddChatLine("YOU: " + typed, Speaker::kYou); });
    steps([&] { screen_.ClearChatInput(); });
}

void Play::AddChatLine(const std::string& line, Speaker speaker) {
    Steps steps(reporter_, "AddChatLine");
    steps([&] { transcript_.AddLine(line); });
    steps([&] {
        Steps colour(reporter_, "ColorizeRTB");
        colour([&] { screen_.ChatLineAdded(transcript_, speaker); });
    });
}

}  // namespace kelvane
