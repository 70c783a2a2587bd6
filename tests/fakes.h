#pragma once

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "fake_error_prompt.h"
#include "play/table.h"

namespace kelvane::test {

// Writes every view call into one log, in order, so a test can check what the player saw.
class RecordingScreen : public Screen {
  public:
    std::vector<std::string> log;
    int chatLines = 0;

    void RefreshHands(char which) override { Log(std::string("RefreshHands ") + which); }
    void RefreshUpPile() override { Log("RefreshUpPile"); }
    void MarkUpPileSlot(Int16 i, bool on) override {
        Log("MarkUpPileSlot " + std::to_string(i.value()) + (on ? " on" : " off"));
    }
    void ShowStack(Int16 picture) override { Log("ShowStack " + std::to_string(picture.value())); }
    void ShowCardsLeft() override { Log("ShowCardsLeft"); }
    void CreateMeldColumn(Int16 c) override {
        Log("CreateMeldColumn " + std::to_string(c.value()));
    }
    void ShowMeldColumn(Int16 c) override { Log("ShowMeldColumn " + std::to_string(c.value())); }
    void ClearTable() override { Log("ClearTable"); }
    void RefreshScoreBoard(const ScoreBoardTexts& t) override {
        scoreBoard = t;
        Log("RefreshScoreBoard");
    }
    void ShowSelection(Int16 i, bool on) override {
        Log("ShowSelection " + std::to_string(i.value()) + (on ? " on" : " off"));
    }
    void ShowResult(const std::string& text) override { Log("ShowResult " + text); }
    void SetStatus(const std::string& text) override { Log("SetStatus " + text); }
    void EnableSessionMenus(bool on) override { Log(on ? "EnableMenus" : "DisableMenus"); }
    void ShowWarnMeldChecked(bool on) override { Log(on ? "WarnMeld on" : "WarnMeld off"); }
    void ChatLineAdded(const Transcript&) override {
        ++chatLines;
        Log("ChatLineAdded");
    }
    void ClearChatInput() override { Log("ClearChatInput"); }
    void CloseWindow() override { Log("CloseWindow"); }

    ScoreBoardTexts scoreBoard;

  private:
    void Log(std::string entry) { log.push_back(std::move(entry)); }
};

// Answers boxes from a script (Yes, or OK, when it runs out) and records each one.
class ScriptedPrompts : public Prompts {
  public:
    struct Box {
        std::string text;
        Buttons buttons;
        Icon icon;
        std::string title;
    };
    std::vector<Box> boxes;
    std::deque<Answer> answers;
    std::string inputAnswer = "127.0.0.1";
    std::vector<int> pauses;

    Answer MessageBox(const std::string& text, Buttons buttons, Icon icon,
                      const std::string& title) override {
        boxes.push_back({text, buttons, icon, title});
        if (buttons == Buttons::kOk) return Answer::kOk;
        if (answers.empty()) return Answer::kYes;
        Answer a = answers.front();
        answers.pop_front();
        return a;
    }
    std::string InputBox(const std::string&, const std::string&, const std::string&) override {
        return inputAnswer;
    }
    void Pause(int ms) override { pauses.push_back(ms); }
};

// Sockets whose states a test sets, recording what is sent and serving what a test queues.
class MemorySocket : public Socket {
  public:
    std::map<int, int> states{{0, kSocketClosed}, {1, kSocketClosed}};
    std::vector<std::string> sent;
    std::map<int, std::string> waiting;
    std::vector<std::string> calls;
    int stateAfterConnect = kSocketConnecting;

    void Listen(int i, int port) override {
        calls.push_back("Listen " + std::to_string(i) + " " + std::to_string(port));
        states[i] = kSocketListening;
    }
    std::string LocalIP(int) override { return "192.0.2.7"; }
    void Connect(int i, const std::string& host, int port) override {
        calls.push_back("Connect " + host + " " + std::to_string(port));
        states[i] = stateAfterConnect;
    }
    int State(int i) override { return states[i]; }
    void Accept(int i, long) override {
        calls.push_back("Accept " + std::to_string(i));
        states[i] = kSocketConnected;
    }
    void Refuse(int i, long) override { calls.push_back("Refuse " + std::to_string(i)); }
    void Send(int, const std::string& bytes) override { sent.push_back(bytes); }
    std::string Read(int i) override { return std::exchange(waiting[i], ""); }
    void Close(int i) override {
        calls.push_back("Close " + std::to_string(i));
        states[i] = kSocketClosed;
    }
};

// One engine with recording ports, connected as the client unless a test says otherwise.
struct TableUnderTest {
    RecordingScreen screen;
    ScriptedPrompts prompts;
    MemorySocket socket;
    FakeErrorPrompt errors;
    Table table{{screen, prompts, socket, errors}, [] { return SeededRandom(1); }};
};

}  // namespace kelvane::test

namespace kelvane {
struct TablePeer {
    static GameState& State(Table& table) { return table.state_; }
    static void Select(Table& table, int handIndex) { table.selected_[handIndex] = true; }
};
}  // namespace kelvane
