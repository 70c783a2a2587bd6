// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "engine/ports.h"
#include "game/game_state.h"
#include "game/scoring.h"

namespace kelvane {

// Every text the window shows for what the engine reports, in one place. Plain C++, so the
// engine's tests can read the same words the player reads.

enum class Buttons { kOk, kYesNo };
enum class Icon { kNone, kExclamation, kCritical };
enum class Answer { kYes, kNo };

// A modal box: its text, buttons, icon and title (empty: the application's own title), and the
// answer a stray Enter gives: the one that loses nothing.
struct BoxText {
    std::string text;
    Buttons buttons = Buttons::kOk;
    Icon icon = Icon::kNone;
    std::string title;
    Answer byDefault = Answer::kYes;
    friend bool operator==(const BoxText&, const BoxText&) = default;
};

BoxText NoticeBox(const Notice& notice);
// What the player and the bot's log are told when the opponent's program sends what cannot be
// played: what arrived, why it cannot be played, and that the game cannot go on.
std::string PeerFaultText(const PeerFault& fault);
// Only the printable characters of what arrived from the network: every other byte, a terminal's
// control characters among them, shows as "?".
std::string Printable(std::string_view text);
BoxText QuestionBox(const Question& question);
// The window's own question when the player quits during a session.
BoxText QuitBox();

// The host prompt: its text, title and the address offered.
struct HostPrompt {
    std::string prompt, title, suggested;
};
HostPrompt HostPromptText();

// "You won that round", "Your opponent won that round" or "You tied that round".
std::string RoundText(const RoundResult& result);
// "You Won the Game!" or "You Lost the Game!".
std::string GameText(GameOutcome outcome);

// The figures beside a result's words, copied when the round ends so that the next deal cannot
// change them: a table of rows (a heading, the player's figure, the opponent's) and a closing line.
struct ResultFigures {
    struct Row {
        std::string heading, you, opponent;
        friend bool operator==(const Row&, const Row&) = default;
    };
    std::vector<Row> rows;
    std::string closing;
};
// From the state the round ended in: points melded, left in hand, the round's and the totals.
ResultFigures RoundFigures(const GameState& state, const RoundResult& result);
// The same, with the final totals' line: who reached 500.
ResultFigures GameFigures(const GameState& state, const RoundResult& lastRound);
// The status line while the server waits for its client.
std::string ListeningText(const std::string& localAddress);

// While the connection to a Kelvane opponent is lost: the box's title and text, for the side
// that calls again (`reconnecting`, still calling by itself or not) or the one that waits.
std::string ConnectionLostTitle();
std::string ConnectionLostText(bool reconnecting, bool stillCalling);
// The status line meanwhile.
std::string ConnectionLostStatus(bool reconnecting);
// Where the player finds which program his opponent plays.
std::string PeerProgramText(const std::string& program);
// Someone called the waiting server and left before his program said a word.
std::string CallerLeftText(const std::string& address);

// The move history, in the window's panel: one line per opponent's move, and each round's result
// in points at its end. Cards by rank and suit sign ("10♠"), one card by its long name.
std::string OpponentMoveText(const OpponentMove& move);
// From the state the round ended in: each side's points melded and left in hand, and the winner.
std::string RoundSummaryText(const GameState& state, const RoundResult& result);
std::string NewRoundText();
std::string GameSummaryText(GameOutcome outcome, const GameState& state);
std::string CardSign(Int16 card);

// When "Play Against the Computer" finds no computer opponent to start, or it does not start.
BoxText ComputerUnavailableBox();
// When the computer opponent's program stops during a game; Yes starts a new one.
BoxText ComputerStoppedBox();
// The computer opponent's chat when a round nobody can draw in stops its game with a program that
// does not end such rounds.
std::string StuckRoundChat();
// The computer opponent's last line on standard output when its opponent has gone.
std::string OpponentLeftLine();
// The window's network part, the module `file` in `folder`, cannot be loaded: no session can
// start until the package is installed again.
std::string NetworkPartMissingText(const std::string& file, const std::string& folder);
// The short help that F1 opens: the rules and the controls, as HTML.
std::string HelpTitle();
std::string HelpText();

// The welcome on the empty table: its heading, and the game in one line for a newcomer.
struct WelcomeTexts {
    std::string heading, howToPlay;
};
WelcomeTexts WelcomeText();

// What a screen reader says for a card slot showing `picture` (a card, the back, or 0 for
// none): "Queen of Hearts", "Queen of Hearts, selected", "face down".
std::string CardSlotName(int picture, bool selected);
// The stack and its count: "the stack, 30 cards", "the stack, empty".
std::string StackName(Int16 cards);
// The status line while a round is in play: "Draw" and "Discard" on the player's turn, and what
// the opponent is to do on his.
std::string TurnStatus(bool myTurn, bool hasDrawn);
// The status line, read with what it says.
std::string StatusName(const std::string& status);
// The opponent's hand with its count, as its caption has it: "your opponent's hand, 7 cards".
std::string OpponentHandName(Int16 cards);
// The player's own draw from the stack, for a reader: "You drew the Seven of Hearts".
std::string DrawnCardText(Int16 card);
// What the keys on the table do, in one sentence for a screen reader.
std::string TableKeysHelp();
// The table's free space, where the selected cards are laid down as a new meld.
std::string ClothName();
// A meld of the table by its position and cards: "meld 2: Seven of Spades, Eight of Spades, ...".
std::string MeldName(Int16 column, const GameState& state);

// The five scoreboard labels.
struct ScoreBoardTexts {
    std::string scores;        // lblScores
    std::string besideScores;  // what follows lblScores' text, in a label of its own
    std::string gamesPlayed;   // lblTotGamesPlayed
    std::string localScore;    // lblLocalScore
    std::string remoteScore;   // lblRemoteScore
    std::string floating;      // lblFloat
};
ScoreBoardTexts ScoreBoardText(const GameState& state);

}  // namespace kelvane
