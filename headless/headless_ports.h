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
    // One round's results window, with the round's points for each player (the change of the
    // totals the scoreboard showed, counted from 0 again after a game was decided).
    struct RoundEnd {
        std::string text;
        int localPoints = 0;
        int remotePoints = 0;
    };

    const std::vector<RoundEnd>& rounds() const { return rounds_; }
    // "You Won the Game!" or "You Lost the Game!", one per decided game.
    const std::vector<std::string>& games() const { return games_; }
    int gamesWon() const { return gamesWon_; }
    bool closed() const { return closed_; }

    void RefreshHands(char) override {}
    void RefreshUpPile() override {}
    void MarkUpPileSlot(Int16, bool) override {}
    void ShowStack(Int16) override {}
    void ShowCardsLeft() override {}
    void CreateMeldColumn(Int16) override {}
    void ShowMeldColumn(Int16) override {}
    void ClearTable() override {}
    void RefreshScoreBoard(const ScoreBoardTexts& texts) override;
    void ShowSelection(Int16, bool) override {}
    void ShowResult(const std::string& text) override;
    void SetStatus(const std::string&) override {}
    void EnableSessionMenus(bool) override {}
    void ShowWarnMeldChecked(bool) override {}
    void ChatLineAdded(const Transcript&) override {}
    void ClearChatInput() override {}
    void CloseWindow() override { closed_ = true; }

  private:
    std::vector<RoundEnd> rounds_;
    std::vector<std::string> games_;
    int gamesWon_ = 0;
    bool closed_ = false;
    // The totals on the scoreboard, and as they stood at the last round end.
    int localTotal_ = 0;
    int remoteTotal_ = 0;
    int localCounted_ = 0;
    int remoteCounted_ = 0;
};

// Answers every box with OK or Yes, gives a fixed host to the input box and counts pauses
// instead of sleeping. The boxes shown are kept so a harness can tell a refused gesture.
class HeadlessPrompts : public Prompts {
  public:
    struct Box {
        std::string text;
        Buttons buttons;
        std::string title;
    };

    explicit HeadlessPrompts(std::string host = "127.0.0.1") : host_(std::move(host)) {}

    const std::vector<Box>& boxes() const { return boxes_; }
    void ClearBoxes() { boxes_.clear(); }
    int pauses() const { return pauses_; }
    long long pausedMilliseconds() const { return pausedMs_; }

    Answer MessageBox(const std::string& text, Buttons buttons, Icon icon,
                      const std::string& title) override;
    std::string InputBox(const std::string& prompt, const std::string& title,
                         const std::string& defaultText) override;
    void Pause(int milliseconds) override;

  private:
    std::string host_;
    std::vector<Box> boxes_;
    int pauses_ = 0;
    long long pausedMs_ = 0;
};

// Records every failure report and goes on, as a player answering Yes would; a harness treats
// any report as a fault. Ending the program unwinds with ProgramEnded, since a headless player
// cannot end the process it shares.
class HeadlessErrors : public ErrorPrompt {
  public:
    const std::vector<std::string>& reports() const { return reports_; }

    void SetClipboardText(const std::string&) override {}
    bool AskToContinue(const std::string& text) override;
    [[noreturn]] void EndProgram() override;

  private:
    std::vector<std::string> reports_;
};

}  // namespace kelvane
