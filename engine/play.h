// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>

#include "engine/ports.h"
#include "engine/report_error.h"
#include "engine/steps.h"
#include "engine/transcript.h"
#include "game/game_state.h"
#include "game/meld_rules.h"
#include "game/stock.h"
#include "wire/wire.h"

namespace kelvane {

inline constexpr int kMouseLeft = 1;
inline constexpr int kMouseRight = 2;

// What the play hands to the session: the messages for the opponent, and the moments the
// conversation between two Kelvane programs follows.
class Outbox {
  public:
    virtual ~Outbox() = default;
    // A message for the opponent, counted, in the order the game made it.
    virtual void Send(const std::string& message) = 0;
    // A round is dealt from this stock order, by either side.
    virtual void Dealt(const CardArray& stack) = 0;
    // A round was scored; both programs score it at the same message.
    virtual void RoundScored() = 0;
    // The player to move can draw nothing: true when the round ends here, scored as any other.
    virtual bool ScoresFrozenRound() = 0;
};

// The game on this table: its state, the player's selection, the moves of both seats judged and
// applied, and the views each move leaves to redraw. It reaches the opponent only through the
// outbox and knows nothing of sockets.
class Play {
  public:
    Play(Screen& screen, Prompts& prompts, ErrorReporter& reporter, Outbox& outbox,
         std::function<RandomSource()> shuffleSource)
        : screen_(screen),
          prompts_(prompts),
          reporter_(reporter),
          outbox_(outbox),
          shuffleSource_(std::move(shuffleSource)) {}

    const GameState& state() const { return state_; }
    GameState& state() { return state_; }
    bool IsSelected(Int16 handIndex) const { return selected_[handIndex]; }
    bool WarnIfMeldable() const { return warnMeld_; }
    const Transcript& transcript() const { return transcript_; }

    // The player's gestures.
    void DrawFromStack();
    void TakeFromUpPile(Int16 index);
    // Lays the selected cards as a new meld (column kNewColumn) or onto a column.
    void Meld(int column);
    void HandClicked(Int16 index, Int16 button);
    void ToggleWarnMeld();
    void Say(const std::string& typed);

    // The opponent's message, judged by the rules his own handlers apply from his seat, and
    // applied once allowed.
    Verdict Judge(const Received& r) const;
    void Apply(Steps& steps, const Received& r);

    // The server deals a new round from a fresh shuffle; the client gets the order first.
    void ShuffleStack();
    // A new game: nothing dealt, nothing scored.
    void ClearGame();
    // Redraws the hands; the selection goes with the local hand's redraw.
    void RefreshHands(char which);
    // In debug and sanitizer builds the state must hold together after every handler, so after
    // every move and every received message; a break is our own fault and is reported.
    void CheckState();

  private:
    friend struct TablePeer;

    void ApplyDiscard(Steps& steps, Int16 card);
    void ApplyStackDraw(Steps& steps);
    void ApplyUpPileTake(Steps& steps, Int16 position);
    void ApplyMeld(Steps& steps, int column, const MeldContent& content);
    void ApplyDeal(Steps& steps, const CardArray& stack);
    void Discard(Int16 card);

    // The views a move of either seat leaves to redraw, in the order the player sees them.
    void ShowStackDraw();
    void ShowUpPileTake(Int16 position, Int16 top);
    void ShowMeld(Seat seat, Int16 column, bool newColumn);
    // A refusal the player is told about; the silent ones (not his turn, already drawn) are not.
    void TellRefusal(const Verdict& verdict);

    void DealRound(const std::string& role);
    void ClearTable();
    void RefreshScoreBoard();
    void CheckEndOfGame();
    // After a meld: a round nobody can draw in may end here.
    void CheckNobodyCanDraw();
    void ScoreRoundEnd(Steps& steps);
    void AddChatLine(const std::string& line, Speaker speaker);

    GameState state_;
    Screen& screen_;
    Prompts& prompts_;
    ErrorReporter& reporter_;
    Outbox& outbox_;
    std::function<RandomSource()> shuffleSource_;
    CheckedArray<bool, kCardsInDeck> selected_{};
    bool warnMeld_ = false;
    bool checkState_ = true;
    Transcript transcript_;
};

}  // namespace kelvane
