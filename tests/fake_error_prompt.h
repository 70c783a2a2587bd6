#pragma once

#include <deque>
#include <string>
#include <vector>

#include "game/steps.h"

namespace kelvane::test {

// Answers failure reports from a script (Yes when the script runs out) and records what the
// player would have seen and what the clipboard would hold.
class FakeErrorPrompt : public ErrorPrompt {
  public:
    std::deque<bool> answers;
    std::vector<std::string> shown;
    std::vector<std::string> clipboard;
    bool ended = false;

    void SetClipboardText(const std::string& text) override { clipboard.push_back(text); }
    bool AskToContinue(const std::string& text) override {
        shown.push_back(text);
        if (answers.empty()) return true;
        bool yes = answers.front();
        answers.pop_front();
        return yes;
    }
    void EndProgram() override {
        ended = true;
        throw ProgramEnded{};
    }
};

}  // namespace kelvane::test
