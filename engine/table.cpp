// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/table.h"

#include <utility>

#include "game/invariants.h"
#include "game/scoring.h"

namespace kelvane {

Table::Table(Ports ports, std::function<RandomSource()> shuffleSource, Secrets* secrets)
    : screen_(ports.screen),
      prompts_(ports.prompts),
      socket_(ports.socket),
      errorPrompt_(ports.errors),
      reporter_(ports.errors),
      shuffleSource_(std::move(shuffleSource)),
      resume_(secrets ? *secrets : systemSecrets_) {}

void Table::Enter(const std::function<void()>& handler) {
    if (ended_) return;
    ++depth_;
    try {
        handler();
        CheckState();
    } catch (const ProgramEnded&) {
        --depth_;
        ended_ = true;
        throw;
    }
    --depth_;
    if (depth_ == 0) ProcessArrivals();
}

void Table::ProcessArrivals() {
    for (bool more = true; more && !ended_;) {
        more = false;
        for (int index = 0; index < kSockets && !ended_; ++index) {
            if (!arrivalWaiting_[static_cast<std::size_t>(index)]) continue;
            arrivalWaiting_[static_cast<std::size_t>(index)] = false;
            more = true;
            tcpTalker_DataArrival(index);
        }
        // A close is heard once everything its socket sent before it has been applied.
        for (int index = 0; !more && index < kSockets && !ended_; ++index) {
            if (!std::exchange(closeWaiting_[static_cast<std::size_t>(index)], false)) continue;
            more = true;
            tcpTalker_Close(index);
        }
    }
}

namespace {
#ifdef NDEBUG
constexpr bool kCheckStates = false;
#else
constexpr bool kCheckStates = true;
#endif
}  // namespace

void Table::CheckState() {
    if (!kCheckStates || !checkState_) return;
    Steps steps(reporter_, "CheckInvariants");
    steps([&] {
        if (const std::string problems = CheckInvariants(state_); !problems.empty())
            throw Failure(kInternalError, "The game no longer holds together: " + problems);
    });
}

void Table::TellRefusal(const Verdict& verdict) {
    switch (verdict.refusal) {
        case Refusal::kNone:
        // Gestures out of turn and draws that cannot be made pass without a word.
        case Refusal::kNotYourTurn:
        case Refusal::kAlreadyDrawn:
        case Refusal::kStackEmpty:
        case Refusal::kNoSuchPosition:
        case Refusal::kNoSuchColumn:
        case Refusal::kNotInHand:
            return;
        default:
            prompts_.Tell({NoticeKind::kRefused, verdict});
    }
}

int Table::ConnectionSocket() const {
    return state_.Role == kRoleServer ? connection_ : 0;
}

void Table::ShuffleStack() {
    Steps steps(reporter_, "ShuffleStack");
    steps([&] { state_.Stack.fill(0); });
    steps([&] { ClearTable(); });
    steps([&] {
        state_.Stack = ShuffleOrder(shuffleSource_());
        for (int card = 1; card <= kCardsInDeck; ++card) state_.MeldCredit[card] = 0;
        NoteDeal(state_.Stack);
    });
    // The client must have the order before the server deals its own copy from it.
    steps([&] { TalkToRemote(DealMessage(state_.Stack)); });
    steps([&] { DealRound(kRoleServer); });
}

void Table::DealRound(const std::string& role) {
    screen_.ShowStack(kBackPicture);
    kelvane::DealRound(state_, role);
    screen_.ShowCardsLeft();
    screen_.RefreshUpPile();
    RefreshHands('B');
    RefreshScoreBoard();
}

void Table::ClearTable() {
    Steps steps(reporter_, "ClearTable");
    steps([&] { screen_.ClearTable(); });
    steps([&] { ClearTableState(state_); });
}

void Table::RefreshHands(char which) {
    // Redrawing the local hand clears every selection border, so the selection goes with it.
    if (which != 'R') selected_.fill(false);
    screen_.RefreshHands(which);
}

void Table::RefreshScoreBoard() {
    Steps steps(reporter_, "RefreshScoreBoard");
    steps([&] { screen_.RefreshScoreBoard(); });
}

void Table::CheckEndOfGame() {
    Steps steps(reporter_, "CheckEndOfGame");
    bool over = false;
    steps([&] { over = RoundHasEnded(state_); });
    if (over) ScoreRoundEnd(steps);
}

// Kelvane's own rule: between two Kelvane programs a round in which the player to move can draw
// nothing ends at once, scored as any other; both programs see it at the same message. An
// opponent's program that knows nothing of the rule would wait for ever, so the player is told.
void Table::CheckNobodyCanDraw() {
    Steps steps(reporter_, "CheckEndOfGame");
    bool frozen = false;
    steps([&] { frozen = NobodyCanDraw(state_); });
    // A program that speaks only the game's own messages just waits, as the game's rules have it.
    if (!frozen || !extensions_) return;
    if (Agreed()) return ScoreRoundEnd(steps);
    steps([&] {
        if (!std::exchange(link_.frozenTold, true)) prompts_.Tell({NoticeKind::kNobodyCanDraw});
    });
}

void Table::ScoreRoundEnd(Steps& steps) {
    RoundResult result{0, 0};
    steps([&] { result = EndRound(state_); });
    // Before the next deal, so the server's digest reaches the client ahead of it.
    steps([&] { TellRoundDigest(); });
    steps([&] { RefreshScoreBoard(); });
    steps([&] { screen_.ShowRoundResult(result); });
    steps([&] {
        // The game's outcome replaces the round's in the same window.
        if (const std::optional<GameOutcome> outcome = GameOver(state_)) {
            screen_.ShowGameResult(*outcome);
            ResetGame(state_);
        }
    });
    steps([&] {
        if (state_.Role == kRoleServer) ShuffleStack();
    });
}

}  // namespace kelvane
