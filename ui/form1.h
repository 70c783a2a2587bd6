// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLabel>
#include <QMainWindow>
#include <QPointer>
#include <QStringList>
#include <memory>
#include <optional>
#include <vector>

#include "engine/ports.h"
#include "engine/report_error.h"
#include "engine/table.h"
#include "ui/link_dialog.h"
#include "ui/results_dialog.h"
#include "ui/window_socket.h"
#include "words/texts.h"

class QAction;
class QMenu;
class QDockWidget;
class QGroupBox;
class QPlainTextEdit;
class QLineEdit;
class QPushButton;
class QTextEdit;

namespace kelvane {

class Announcer;
class CardImage;
class ComputerOpponent;
class Deck;
class FormResizer;
class TableKeys;
class WelcomePanel;

// The main window: every control at its design place, the menus, and the views that draw the
// engine's state. It is the engine's Screen, Prompts and ErrorPrompt; the engine decides, the
// window only shows and asks.
class Form1 : public QMainWindow, public Screen, public Prompts, public ErrorPrompt {
    Q_OBJECT

  public:
    // `socket` is the session's socket; the window wires its events to the engine. `shuffles`
    // gives the server's shuffles: the clock by default, a fixed order where a test needs one.
    Form1(WindowSocket& socket, Deck& deck,
          std::function<RandomSource()> shuffles = ClockSeededRandom, QWidget* parent = nullptr);
    ~Form1() override;

    Table& table() { return *table_; }

    // "Play Against the Computer": starts the computer opponent at `level` and connects to it.
    void PlayAgainstComputer(int level);
    // Where the computer opponent's program is (by default found beside this program), and what
    // its command line adds to serving.
    void UseBotProgram(const QString& path, const QStringList& arguments = {}) {
        botProgram_ = path;
        botArguments_ = arguments;
    }
    ComputerOpponent* computerOpponent() const { return computer_.get(); }
    // The move history's lines, oldest first.
    QStringList historyLines() const;

    // Ends the program as Quit does, without the question nobody is there to answer: the
    // desktop's session ends, the terminal closes, or the program is told to stop.
    void EndAsQuit();

    // Brings the window inside the screen area it may use, keeping its place when it fits. The
    // window opens at the design size unless the screen is smaller.
    void FitInto(const QRect& available);

    // The controls, by their names, for tests that click them as a player would.
    QGroupBox* frTable() const { return frTable_; }
    CardImage* imgStack() const { return imgStack_; }
    CardImage* imgLocal(int i) const { return imgLocal_.at(static_cast<std::size_t>(i)); }
    CardImage* imgRemote(int i) const { return imgRemote_.at(static_cast<std::size_t>(i)); }
    CardImage* imgUpPile(int i) const { return imgUpPile_.at(static_cast<std::size_t>(i)); }
    CardImage* imgMeld(int slot) const;
    int meldSlotCount() const { return static_cast<int>(imgMeld_.size()); }
    QLabel* label(const char* name) const;
    QLineEdit* txtSay() const { return txtSay_; }
    QPushButton* cmdSend() const { return cmdSend_; }
    QTextEdit* rtbConvo() const { return rtbConvo_; }
    QAction* action(const char* name) const;
    ResultsDialog* resultsDialog() const { return dialog_; }
    LinkDialog* linkDialog() const { return linkDialog_; }
    WelcomePanel* welcomePanel() const { return welcome_; }
    TableKeys* tableKeys() const { return keys_; }
    Announcer* announcer() const { return announcer_; }

    // Screen
    void RefreshHands(char which) override;
    void RefreshUpPile() override;
    void MarkUpPileSlot(Int16 index, bool marked) override;
    void ShowStack(Int16 picture) override;
    void ShowCardsLeft() override;
    void CreateMeldColumn(Int16 column) override;
    void ShowMeldColumn(Int16 column) override;
    void ClearTable() override;
    void RefreshScoreBoard() override;
    void ShowSelection(Int16 handIndex, bool selected) override;
    void ShowRoundResult(const RoundResult& result) override;
    void ShowGameResult(GameOutcome outcome) override;
    void ShowListening(const std::string& localAddress) override;
    void EnableSessionMenus(bool enabled) override;
    void ShowWarnMeldChecked(bool checked) override;
    void ShowConnectionLost(bool reconnecting) override;
    void ShowConnectionBack() override;
    void ShowWaitOver() override;
    void ShowPeerProgram(const std::string& program) override;
    void ChatLineAdded(const Transcript& transcript, Speaker speaker) override;
    void ClearChatInput() override;
    void CloseWindow() override;
    void OpponentMoved(const OpponentMove& move) override;
    void NoteCallerLeft(const std::string& address) override;

    // Prompts
    void Tell(const Notice& notice) override;
    bool Ask(const Question& question) override;
    std::string AskHost() override;
    void Pause(int milliseconds) override;

    // ErrorPrompt
    void SetClipboardText(const std::string& text) override;
    bool AskToContinue(const std::string& text) override;
    void EndProgram() override;

  protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  protected:
    // A modal box; true when the player answers Yes.
    virtual bool ShowBox(const BoxText& box);

  private:
    void ShowResult(const std::string& text, const ResultFigures& figures);
    void Form_Load();
    void Form_Resize();
    void BuildControls();
    void BuildCardRows();
    void BuildLabels();
    void BuildChat();
    void WireGestures();
    void BuildMenus();
    void BuildHistory();
    void MakeHistory();
    void AddHistory(const std::string& line);
    // Draws the marks of the opponent's last move on every slot that shows one of its cards.
    void ShowLastMoveMarks();
    bool IsLastMove(int card) const;
    // Runs a handler of the player's gestures; a move he makes by it ends the opponent's marks.
    void PlayerGesture(const std::function<void()>& handler);
    // The platform's alert (a flashing task bar entry) while the window is in the background.
    void AskForAttention();
    void ShowHelp();
    // Hosting: the router's forwarding, this machine's IPv6 address, and where they are told
    // beside the waiting text (the status line's tooltip, the history, "Copy Address").
    void BuildRouterMenus(QMenu* connectMenu, QMenu* options);
    void StartHosting();
    void StopHosting();
    void ShowRouterReport(const DoorReport& report);
    // "Copy Address" gives the addresses whose door is open, else this network's.
    void GiveOpenDoors();
    void ShowStatusTip();
    // The line below the status while serving: the router's answer, or this network's address.
    void ShowHostingLine();
    void PlaceBesideScores();
    // False, having told the player why, when no session can start (the network side is missing).
    bool NetworkReady();
    // Gives the router's port back before the program ends on the spot, waiting a bounded while.
    void GiveBackDoorNow();
    // What the player typed for a server: the host to connect to, its port given to the table.
    std::string TakeAddress(const std::string& typed);
    void ForgetTypedPort();
    void WireSocket();
    void MakeCardSlots();
    void CreateHandImages();
    void CreateUpPile();
    void RepositionMelds();
    void PlaceMeldSlot(int slot);
    void ColorizeRTB();
    void TakeStatusFontSize();
    void ShowLocalSlot(int i);
    void ShowRemoteSlot(int i);
    void WriteStatusLine();
    // "Not Connected", or the waiting text while the server waits for its client.
    QString NotConnectedText() const;
    void SetStatusColour(const QColor& colour);
    void SetStatusText(const QString& text);
    // The welcome, the keyboard's frame and the screen reader's names (window_access.cpp).
    void BuildAccess();
    void PlaceWelcome();
    // After every view that changes what the keys can reach.
    void FollowKeys();
    CardImage* NewCardImage(QWidget* parent, const CardImage* model, int index);
    // Runs a window procedure's steps under its own name, as the engine's procedures do.
    void Procedure(const char* name, const std::function<void(Steps&)>& body);

    WindowSocket& socket_;
    Deck& deck_;
    ErrorReporter reporter_{*this};
    std::unique_ptr<FormResizer> resizer_;
    std::unique_ptr<Table> table_;

    QWidget* client_ = nullptr;
    QGroupBox* frTable_ = nullptr;
    QGroupBox* frLocalHand_ = nullptr;
    QGroupBox* frRemoteHand_ = nullptr;
    QGroupBox* frUpPile_ = nullptr;
    QGroupBox* frmScores_ = nullptr;
    CardImage* imgStack_ = nullptr;
    std::vector<CardImage*> imgLocal_, imgRemote_, imgUpPile_, imgMeld_;
    QLabel* lblCardsleft_ = nullptr;
    QLabel* lblStatus_ = nullptr;
    QLabel* lblHosting_ = nullptr;
    QLabel* lblScores_ = nullptr;
    QLabel* lblBesideScores_ = nullptr;
    QLabel* lblTotGamesPlayed_ = nullptr;
    QLabel* lblLocalScore_ = nullptr;
    QLabel* lblRemoteScore_ = nullptr;
    QLabel* lblFloat_ = nullptr;
    QLabel* label1_ = nullptr;
    QLineEdit* txtSay_ = nullptr;
    QPushButton* cmdSend_ = nullptr;
    QTextEdit* rtbConvo_ = nullptr;
    QAction* mnuServer_ = nullptr;
    QAction* mnuClient_ = nullptr;
    QAction* mnuQuit_ = nullptr;
    QAction* mnuWarnMeld_ = nullptr;
    QAction* mnuAbout_ = nullptr;
    QAction* mnuComputer_ = nullptr;
    QAction* mnuHistory_ = nullptr;
    QAction* mnuHowToPlay_ = nullptr;
    QAction* mnuOpenRouter_ = nullptr;
    QAction* mnuCopyAddress_ = nullptr;
    QPointer<ResultsDialog> dialog_;
    QPointer<LinkDialog> linkDialog_;
    QDockWidget* history_ = nullptr;
    QPlainTextEdit* historyText_ = nullptr;
    QPointer<QWidget> help_;
    WelcomePanel* welcome_ = nullptr;
    TableKeys* keys_ = nullptr;
    Announcer* announcer_ = nullptr;
    std::unique_ptr<ComputerOpponent> computer_;
    QString botProgram_;
    QStringList botArguments_;
    std::string pendingHost_;    // answers the host question once, for the computer opponent
    QString listening_;          // the server's waiting text
    std::string lastTyped_;      // the server the player last typed, offered again in this run
    std::vector<int> lastMove_;  // the cards of the opponent's moves since the player's last
    std::vector<int> ownMove_;   // the cards the player drew or took, until his next move
    QSize laidOut_;              // the client area's size at the last layout
    QSize upPileCard_;           // an up-pile card's size as the layout gives it
    bool wasMyTurn_ = false;
    RoundResult lastRound_{0, 0};  // the last round's, for the game's results beside it
    QString turnSpoken_;           // the status line's turn as last told to a screen reader
    std::unique_ptr<RouterLease> door_;
    int doorsOpened_ = 0;                 // a report from a door since closed is not shown
    std::string peerTip_;                 // the opponent's program, once it has announced itself
    std::vector<std::string> hostTips_;   // this machine's IPv6 address and the router's answer
    std::optional<DoorReport> toldIPv4_;  // what the router said of each door, once it has
    std::optional<DoorReport> toldIPv6_;
    bool pinholeAsked_ = false;     // the router was asked to open its IPv6 firewall too
    std::string friendAddress_;     // what "Copy Address" copies
    std::string homeAddress_;       // this machine's, for a friend on its network
    std::size_t convoBytes_ = 0;    // the transcript's size the chat view shows
    bool portFromAddress_ = false;  // the table's port was taken from a typed address

    int statusFontSize_ = 10;
    bool statusRed_ = false;
    bool closing_ = false;
    bool endWithoutQuestion_ = false;
    bool shown_ = false;
};

}  // namespace kelvane
