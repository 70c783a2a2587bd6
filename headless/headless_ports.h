// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "engine/ports.h"
#include "engine/report_error.h"

namespace kelvane {

// A screen for play without a window: it draws nothing and keeps only what a harness or the
// computer opponent reads afterwards, the results shown and whether the window was closed.
class HeadlessScreen : public Screen {
  public:
    const std::vector<RoundResult>& rounds() const { return rounds_; }
    // One per decided game.
    const std::vector<GameOutcome>& games() const { return games_; }
    bool closed() const { return closed_; }

    void RefreshHands(char) override {}
    void RefreshUpPile() override {}
    void MarkUpPileSlot(Int16, bool) override {}
    void ShowStack(Int16) override {}
    void ShowCardsLeft() override {}
    void CreateMeldColumn(Int16) override {}
    void ShowMeldColumn(Int16) override {}
    void ClearTable() override {}
    void RefreshScoreBoard() override {}
    void ShowSelection(Int16, bool) override {}
    void ShowRoundResult(const RoundResult& result) override { rounds_.push_back(result); }
    void ShowGameResult(GameOutcome outcome) override { games_.push_back(outcome); }
    void ShowListening(const std::string&) override {}
    void EnableSessionMenus(bool) override {}
    void ShowWarnMeldChecked(bool) override {}
    void ShowConnectionLost(bool) override {}
    void ShowConnectionBack() override {}
    void ShowPeerProgram(const std::string&) override {}
    void ChatLineAdded(const Transcript&, Speaker) override {}
    void ClearChatInput() override {}
    void CloseWindow() override { closed_ = true; }

  private:
    std::vector<RoundResult> rounds_;
    std::vector<GameOutcome> games_;
    bool closed_ = false;
};

// Answers every question with Yes, gives a fixed host when asked and never pauses. What it was
// told and asked is kept, so a harness can tell a refused gesture.
class HeadlessPrompts : public Prompts {
  public:
    explicit HeadlessPrompts(std::string host = "127.0.0.1") : host_(std::move(host)) {}

    const std::vector<Notice>& notices() const { return notices_; }
    const std::vector<Question>& questions() const { return questions_; }
    void Clear() {
        notices_.clear();
        questions_.clear();
    }

    void Tell(const Notice& notice) override { notices_.push_back(notice); }
    // Every discard is confirmed; a program without a player keeps a game that waits for its
    // client rather than give it up to whoever calls.
    bool Ask(const Question& question) override {
        questions_.push_back(question);
        return question.kind != QuestionKind::kNewGameWithCaller;
    }
    std::string AskHost() override { return host_; }
    // Nothing waits for a player who is not there to see the table.
    void Pause(int) override {}

  private:
    std::string host_;
    std::vector<Notice> notices_;
    std::vector<Question> questions_;
};

// Records every failure report and goes on, as a player answering Yes would; a harness treats
// any report as a fault. Ending the program unwinds with ProgramEnded, since a headless player
// cannot end the process it shares.
class HeadlessErrors : public ErrorPrompt {
  public:
    const std::vector<std::string>& reports() const { return reports_; }
    void ClearReports() { reports_.clear(); }

    void SetClipboardText(const std::string&) override {}
    bool AskToContinue(const std::string& text) override;
    [[noreturn]] void EndProgram() override;

  private:
    std::vector<std::string> reports_;
};

}  // namespace kelvane
