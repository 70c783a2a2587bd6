// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "engine/steps.h"
#include "engine/table.h"
#include "engine/table_peer.h"
#include "game/card_text.h"
#include "headless/headless_ports.h"
#include "words/texts.h"

namespace kelvane {
inline std::ostream& operator<<(std::ostream& out, const BoxText& box) {
    return out << box.text;
}
}  // namespace kelvane

namespace kelvane::test {

// The next of a script's answers, Yes when it has run out.
inline bool NextAnswer(std::deque<bool>& answers) {
    if (answers.empty()) return true;
    const bool yes = answers.front();
    answers.pop_front();
    return yes;
}

// Answers failure reports from a script, recording what was shown.
class FakeErrorPrompt : public ErrorPrompt {
  public:
    std::deque<bool> answers;
    std::vector<std::string> shown, clipboard;
    bool ended = false;
    void SetClipboardText(const std::string& text) override { clipboard.push_back(text); }
    bool AskToContinue(const std::string& text) override {
        shown.push_back(text);
        return NextAnswer(answers);
    }
    void EndProgram() override {
        ended = true;
        throw ProgramEnded{};
    }
};

// Writes the view calls the tests look at into one log, in order, so a test can check what the
// player saw.
class RecordingScreen : public HeadlessScreen {
  public:
    std::vector<std::string> log;
    ScoreBoardTexts scoreBoard;
    const GameState* state = nullptr;  // what the scoreboard reads
    void RefreshHands(char which) override { Log("RefreshHands", std::string(1, which)); }
    void MarkUpPileSlot(Int16 i, bool on) override { Log("MarkUpPileSlot", i, on); }
    void ShowStack(Int16 picture) override { Log("ShowStack", picture); }
    void ShowCardsLeft() override { Log("ShowCardsLeft"); }
    void RefreshScoreBoard() override { scoreBoard = ScoreBoardText(*state); }
    void ShowRoundResult(const RoundResult& r) override { Log("ShowResult", RoundText(r)); }
    void ShowListening(const std::string& address) override {
        Log("SetStatus", ListeningText(address));
    }
    void ChatLineAdded(const Transcript&, Speaker) override { Log("ChatLineAdded"); }
    void NoteCallerLeft(const std::string& address) override { Log("CallerLeft", address); }

  private:
    static std::string Text(const std::string& s) { return s; }
    static std::string Text(Int16 n) { return std::to_string(n.value()); }
    static std::string Text(bool on) { return on ? "on" : "off"; }
    template <typename... Parts>
    void Log(std::string entry, const Parts&... parts) {
        ((entry += " " + Text(parts)), ...);
        log.push_back(std::move(entry));
    }
};

// Answers questions from a script, recording each box as the window words it; duringBox runs
// while the next box is up.
class ScriptedPrompts : public Prompts {
  public:
    std::vector<BoxText> boxes;
    std::deque<bool> answers;
    std::string inputAnswer = "127.0.0.1";
    std::vector<int> pauses;
    std::function<void()> duringBox;
    void Tell(const Notice& notice) override { Show(NoticeBox(notice)); }
    bool Ask(const Question& question) override {
        Show(QuestionBox(question));
        return NextAnswer(answers);
    }
    std::string AskHost() override { return inputAnswer; }
    void Pause(int ms) override { pauses.push_back(ms); }

  private:
    void Show(const BoxText& box) {
        if (duringBox) std::exchange(duringBox, nullptr)();
        boxes.push_back(box);
    }
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
    std::map<int, std::string> addresses;
    std::string PeerAddress(int i) override { return addresses[i]; }
};

// One engine with recording ports, not connected until a test says so.
struct TableUnderTest {
    RecordingScreen screen;
    ScriptedPrompts prompts;
    MemorySocket socket;
    FakeErrorPrompt errors;
    Table table{{screen, prompts, socket, errors}, [] { return SeededRandom(1); }};
    GameState& s = TablePeer::State(table);
    TableUnderTest() {
        screen.state = &s;
        TablePeer::CheckStates(table, false);
    }
    // Bytes from the other program arriving on a connection.
    void Arrive(const std::string& bytes, int index = 0) {
        socket.waiting[index] += bytes;
        table.tcpTalker_DataArrival(index);
    }
    // The other end closes connection `index`.
    void HangUp(int index) {
        socket.states[index] = kSocketClosed;
        table.tcpTalker_Close(index);
    }
    // Connected as the client mid-round; the stock holds KS down to 4S from the top.
    void MidRound(const char* hand, const char* upPile) {
        s.Role = kRoleClient;
        s.GamesPlayed = 1;
        socket.states[0] = kSocketConnected;
        SetHand(s, hand);
        SetUpPile(s, upPile);
        for (int i = 0; i < 10; ++i) s.Stack[i] = Card("KS") - i;
        s.StackCount = 10;
    }
};

}  // namespace kelvane::test
