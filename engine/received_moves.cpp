// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <utility>

#include "engine/table.h"
#include "game/moves.h"

namespace kelvane {

namespace {

// How much of an unreadable message the player is shown.
constexpr std::size_t kExcerptLength = 40;

// The verdict on a readable message, judged by the same rules the opponent's own handlers apply,
// from his seat. Chat may come at any moment; a kind this program does not know is ignored.
Verdict Judge(const GameState& s, const Received& r) {
    switch (r.kind) {
        case MessageKind::kDiscard:
            return CanDiscard(s, Seat::kRemote, r.number);
        case MessageKind::kStackDraw:
            return CanDrawFromStack(s, Seat::kRemote, r.number);
        case MessageKind::kUpPile:
            return CanTakeFromUpPile(s, Seat::kRemote, r.number);
        case MessageKind::kNewMeld:
            return CanLayMeld(s, Seat::kRemote, kNewColumn, r.cards);
        case MessageKind::kLayOff:
            return CanLayMeld(s, Seat::kRemote, r.number.value(), r.cards);
        case MessageKind::kDeal:
            return CanDeal(s, Seat::kRemote, r.stack);
        case MessageKind::kOldVersion:
            // An older server's deal carries nothing this program reads, but it comes only
            // from the server and only when a deal is due.
            return CanDealNow(s, Seat::kRemote);
        default:
            // Chat, Kelvane's own messages and kinds this program does not know.
            return {};
    }
}

bool IsExtension(MessageKind kind) {
    return kind == MessageKind::kHello || kind == MessageKind::kRoundDigest ||
           kind == MessageKind::kSync || kind == MessageKind::kBye ||
           kind == MessageKind::kChallenge || kind == MessageKind::kProof;
}

}  // namespace

// Every message is read and judged whole before any of it touches the game: a message that
// cannot be played is refused, nothing of it applied, and the session ends with the player told
// why. The failure reporter is kept for this program's own faults.
void Table::Data_Process(const std::string& message) {
    Enter([&] {
        if (sessionOver_) return;
        const MessageKind kind = Classify(message);
        const bool extension = IsExtension(kind) || message.starts_with(kExtensionPrefix);
        // A program that speaks only the game's messages passes over Kelvane's.
        if (!extensions_ && extension) return;
        // A client calling his server again hears the handshake first.
        if (link_.awaitingChallenge || link_.awaitingHello) return HearServerAgain(message);
        // A new client that reached a server waiting for its own client hears so, and the
        // server's player decides; his announcement still counts as the server's first message.
        if (kind == MessageKind::kChallenge && state_.Role == kRoleClient && !link_.peerKnown &&
            !link_.calledWaitingServer) {
            link_.calledWaitingServer = true;
            return prompts_.Tell({NoticeKind::kServerWaitsForItsClient});
        }
        // A Kelvane program announces itself before anything else it sends; an opponent whose
        // first message is anything else speaks only the game's messages, and whatever "K:"
        // message he sends later is passed over as the game's own dispatch passes over it.
        const bool first = !std::exchange(link_.peerKnown, true);
        if (first && kind != MessageKind::kHello) {
            resume_.StopKeeping();
        }
        if (extension && !Agreed() && !(first && kind == MessageKind::kHello)) return;
        // After his quit nothing more of the opponent's is taken: the connection closes next.
        if (link_.peerQuit) return;
        const Received r = ReadMessage(message);
        PeerFault fault;
        if (!r.readable) {
            fault.kind = PeerFaultKind::kUnreadable;
            fault.excerpt = message.substr(0, kExcerptLength);
            return EndSession(fault);
        }
        if (const Verdict v = Judge(state_, r); !v.ok()) {
            fault.kind = PeerFaultKind::kNotAllowed;
            fault.message = r.kind;
            fault.number = r.number;
            fault.cards = r.cards;
            fault.verdict = v;
            return EndSession(fault);
        }
        if (Counted(message)) resume_.Applied();
        Steps steps(reporter_, "Data_Process");
        if (IsExtension(r.kind)) return steps([&] { ApplyExtension(r); });
        Apply(steps, r);
        // Once caught up after a resume, our digest of the whole game follows the message.
        steps([&] { SyncIfDue(); });
    });
}

void Table::Apply(Steps& steps, const Received& r) {
    switch (r.kind) {
        case MessageKind::kDiscard:
            return ApplyDiscard(steps, r.number);
        case MessageKind::kStackDraw:
            return ApplyStackDraw(steps);
        case MessageKind::kUpPile:
            return ApplyUpPileTake(steps, r.number);
        case MessageKind::kNewMeld:
            return ApplyMeld(steps, kNewColumn, r.cards);
        case MessageKind::kLayOff:
            return ApplyMeld(steps, r.number.value(), r.cards);
        case MessageKind::kOldVersion:
            // No game can start with an older server.
            steps([&] { prompts_.Tell({NoticeKind::kServerTooOld}); });
            return CloseSession();
        case MessageKind::kDeal:
            return ApplyDeal(steps, r.stack);
        case MessageKind::kChat:
            return steps([&] { AddChatLine("OPPONENT: " + r.chat, Speaker::kOpponent); });
        default:
            return;
    }
}

void Table::ApplyDiscard(Steps& steps, Int16 card) {
    steps([&] { kelvane::Discard(state_, Seat::kRemote, card); });
    steps([&] { screen_.RefreshUpPile(); });
    steps([&] { RefreshHands('R'); });
    steps([&] { screen_.OpponentMoved({OpponentMoveKind::kDiscard, {card}, {}}); });
    steps([&] { CheckEndOfGame(); });
}

// Both copies of the stock agree, so the card drawn is the top of our own.
void Table::ApplyStackDraw(Steps& steps) {
    Int16 drawn = 0;
    steps([&] { drawn = DrawFromStack(state_, Seat::kRemote); });
    steps([&] { ShowStackDraw(); });
    steps([&] { RefreshHands('R'); });
    steps([&] { screen_.OpponentMoved({OpponentMoveKind::kStackDraw, {drawn}, {}}); });
}

void Table::ApplyUpPileTake(Steps& steps, Int16 position) {
    const Int16 top = state_.UpCount - 1;
    OpponentMove taken{OpponentMoveKind::kUpPileTake, {}, {}};
    steps([&] {
        for (Int16 i = position; i <= top; ++i) taken.cards.push_back(state_.UpPile[i]);
    });
    // The local player gets to see which cards the opponent takes.
    steps([&] { ShowUpPileTake(position, top); });
    steps([&] { TakeFromUpPile(state_, Seat::kRemote, position); });
    steps([&] { RefreshHands('R'); });
    steps([&] { screen_.RefreshUpPile(); });
    steps([&] { screen_.OpponentMoved(taken); });
}

// A new meld opens the next column; a lay-off names its column and carries the column's whole new
// content, the cards already on the table included.
void Table::ApplyMeld(Steps& steps, int column, const MeldContent& content) {
    Int16 laid = 0;
    OpponentMove move{
        column == kNewColumn ? OpponentMoveKind::kNewMeld : OpponentMoveKind::kLayOff, {}, {}};
    steps([&] {
        // The cards from his hand: a lay-off's content repeats the column's cards on the table.
        const std::vector<Int16> before =
            column == kNewColumn ? std::vector<Int16>{} : state_.TableMelds.Cards(column);
        for (Int16 i = 0; i < content.count; ++i) {
            move.meld.push_back(content.list[i]);
            if (std::find(before.begin(), before.end(), content.list[i]) == before.end())
                move.cards.push_back(content.list[i]);
        }
    });
    steps([&] { laid = LayMeld(state_, Seat::kRemote, column, content); });
    steps([&] { ShowMeld(Seat::kRemote, laid, column == kNewColumn); });
    steps([&] { RefreshScoreBoard(); });
    steps([&] { screen_.OpponentMoved(move); });
    steps([&] { CheckNobodyCanDraw(); });
}

void Table::ApplyDeal(Steps& steps, const CardArray& stack) {
    steps([&] {
        for (int card = 1; card <= kCardsInDeck; ++card) state_.MeldCredit[card] = 0;
    });
    steps([&] { ClearTable(); });
    steps([&] {
        state_.Stack = stack;
        NoteDeal(stack);
    });
    steps([&] { DealRound(kRoleClient); });
}

}  // namespace kelvane
