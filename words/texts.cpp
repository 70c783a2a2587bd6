// SPDX-License-Identifier: GPL-3.0-or-later
#include "words/texts.h"

#include <utility>

namespace kelvane {

namespace {

// Refusals about a meld's make-up are titled "Error"; the others carry the application's title.
const std::string kErrorTitle = "Error";
const std::string kConfirmTitle = "Confirm Discard";

std::string Name(Int16 card) {
    return GetCardName(card, true);
}

BoxText Refused(std::string text, const std::string& title = "") {
    return {std::move(text), Buttons::kOk, Icon::kNone, title};
}

// What stops or ends the game, or keeps it from starting: under the warning sign.
BoxText Warning(std::string text) {
    return {std::move(text), Buttons::kOk, Icon::kExclamation, ""};
}

BoxText RefusalBox(const Verdict& v) {
    switch (v.refusal) {
        case Refusal::kNotDrawn:
            return Refused("Please Draw First");
        case Refusal::kNotMeldableBelow:
            return Refused("You cannot meld the " + Name(v.card));
        case Refusal::kTooFewForNewMeld:
            return Refused("Select at least 3 cards first", kErrorTitle);
        case Refusal::kTooFewForLayOff:
            return Refused("Select at least 1 card first", kErrorTitle);
        case Refusal::kMustMeldFirst:
            return Refused("Please meld the " + Name(v.card) + " first", kErrorTitle);
        case Refusal::kInvalidMeld:
            return Refused("Not a Valid Meld", kErrorTitle);
        case Refusal::kMustMeldBeforeDiscard:
            return Refused("You must meld the " + Name(v.card));
        case Refusal::kTakenAlone:
            return Refused("You may not discard the " + Name(v.card));
        case Refusal::kLastCardMeldable:
            return Refused("You may not discard the " + Name(v.card) + ". It is meldable.");
        default:
            // The engine passes the others over in silence; named here for a complete report.
            return Refused(std::string("Move refused: ") + RefusalName(v.refusal));
    }
}

std::string CardNames(const MeldContent& cards) {
    std::string names;
    for (Int16 i = 0; i < cards.count; ++i) names += (i > 0 ? ", " : "") + Name(cards.list[i]);
    return names;
}

// The move as the opponent's message states it.
std::string MoveText(const PeerFault& f) {
    switch (f.message) {
        case MessageKind::kDiscard:
            return "a discard of the " + Name(f.number);
        case MessageKind::kStackDraw:
            return "a draw of the " + Name(f.number) + " from the stack";
        case MessageKind::kUpPile:
            return "a take from the up pile at position " + std::to_string(f.number.value());
        case MessageKind::kNewMeld:
            return "a new meld of " + CardNames(f.cards);
        case MessageKind::kLayOff:
            return "a lay-off making " + CardNames(f.cards) + " in column " +
                   std::to_string(f.number.value());
        case MessageKind::kDeal:
            return "a deal";
        case MessageKind::kOldVersion:
            return "an older server's deal";
        default:
            return "a message";
    }
}

// Why the rules refuse it, seen from the opponent's seat.
std::string ReasonText(const PeerFault& f) {
    const Verdict& v = f.verdict;
    switch (v.refusal) {
        case Refusal::kNone:
            return "";
        case Refusal::kNotYourTurn:
            return "out of turn";
        case Refusal::kAlreadyDrawn:
            return "after it had drawn already";
        case Refusal::kStackEmpty:
            return "when the stack is empty";
        case Refusal::kNoSuchPosition:
            return "where the up pile holds no card";
        case Refusal::kNotMeldableBelow:
            return "below the top, which it could not meld";
        case Refusal::kNotDrawn:
            return "before drawing";
        case Refusal::kTooFewForNewMeld:
            return "of fewer than three cards";
        case Refusal::kTooFewForLayOff:
            return "adding no card of its own";
        case Refusal::kMustMeldFirst:
            return "without the " + Name(v.card) + " it must meld first";
        case Refusal::kNotInHand:
            return f.message == MessageKind::kDiscard
                       ? "which it does not hold"
                       : "with the " + Name(v.card) + ", which it does not hold";
        case Refusal::kNoSuchColumn:
            return "onto a column the table does not have";
        case Refusal::kInvalidMeld:
            return "which is no set or run";
        case Refusal::kMustMeldBeforeDiscard:
            return "before melding the " + Name(v.card) + " it took";
        case Refusal::kTakenAlone:
            return "which it had just taken alone from the up pile";
        case Refusal::kLastCardMeldable:
            return "its last card, which it could meld";
        case Refusal::kNotTopOfStack:
            return "which is not the top card of the stack";
        case Refusal::kNotAsLaid:
            return "not as the rules lay its cards";
        case Refusal::kNotTheDealer:
            return "which only the server deals";
        case Refusal::kRoundInPlay:
            return "in the middle of a round";
        case Refusal::kNotEachCardOnce:
            return "that does not hold each card once";
    }
    return RefusalName(v.refusal);
}

std::string Pair(int a, int b) {
    return std::to_string(a) + " and " + std::to_string(b);
}

// The first thing the two digests differ in, worded as "what (here ..., there ...)".
std::string Difference(const RoundDigest& here, const RoundDigest& there) {
    auto both = [](const char* what, const std::string& a, const std::string& b) {
        return std::string(what) + " (here " + a + ", there " + b + ")";
    };
    if (here.round != there.round)
        return both("the number of rounds played", std::to_string(here.round),
                    std::to_string(there.round));
    if (here.serverTotal != there.serverTotal || here.clientTotal != there.clientTotal)
        return both("the totals, the server's first", Pair(here.serverTotal, here.clientTotal),
                    Pair(there.serverTotal, there.clientTotal));
    if (here.deals != there.deals)
        return both("the deals of this game", std::to_string(here.deals),
                    std::to_string(there.deals));
    auto opener = [](char o) { return std::string(o == 'S' ? "the server" : "the client"); };
    if (here.opener != there.opener)
        return both("who plays first next", opener(here.opener), opener(there.opener));
    return "the cards of the round just played";
}

}  // namespace

std::string Printable(std::string_view text) {
    std::string out;
    for (char c : text) out += c >= ' ' && c <= '~' ? c : '?';
    return out;
}

std::string PeerFaultText(const PeerFault& fault) {
    const std::string sent = "Your opponent's program sent ";
    const std::string end = " This game cannot go on.";
    switch (fault.kind) {
        case PeerFaultKind::kUnreadable:
            return sent + "a message this game cannot read (\"" + Printable(fault.excerpt) +
                   "\")." + end;
        case PeerFaultKind::kTooLong:
            return sent + "a message longer than " + std::to_string(kFrameLimit) + " bytes." + end;
        case PeerFaultKind::kNotAllowed:
            return sent + "a move the rules do not allow (" + MoveText(fault) + ", " +
                   ReasonText(fault) + ")." + end;
        case PeerFaultKind::kDisagree:
            return "Your opponent's program and this one no longer agree on " +
                   (fault.here && fault.there ? Difference(*fault.here, *fault.there)
                                              : std::string("the cards on the table and in the "
                                                            "hands")) +
                   "." + end;
        case PeerFaultKind::kNotThisGame:
            return "The program that answered is not playing this game with you, so the game "
                   "cannot be resumed." +
                   end;
        case PeerFaultKind::kOutOfPlace:
            return sent + "a Kelvane message where it has no place." + end;
    }
    return sent + "something." + end;
}

namespace {

// The game's own words first, then what happened and where, so the player can tell a typing
// mistake from a server that is not running.
std::string UnableToConnectText(const Notice& n) {
    const std::string words = "Unable to Connect.";
    if (n.host.empty()) return words;
    const std::string where = n.host + ", port " + std::to_string(n.port) + ",";
    switch (n.failure) {
        case ConnectFailure::kRefused:
            return words + " " + where +
                   " refused the connection: no game is being served there. Is the server's "
                   "player serving, and is this the right address?";
        case ConnectFailure::kNoAnswer:
            // Silence is what a home that lets nobody in sounds like from outside; calling out
            // works from there, so the two players can change seats.
            return words + " Nothing answered at " + where +
                   " in time: the machine may be off or out of reach, or the server's home may "
                   "not let players in. Its player can check Options > Open the Router When "
                   "Serving and give you the address the window then tells; or you serve, and "
                   "your friend connects to you.";
        case ConnectFailure::kUnknownHost:
            return words + " No machine named \"" + n.host +
                   "\" could be found. Check the name, or type the server's address (for "
                   "example 192.168.1.20).";
        case ConnectFailure::kNotAnAddress:
            return words + " \"" + n.host +
                   "\" is not an address. Type the server's address, for example 192.168.1.20.";
        case ConnectFailure::kUnknown:
            break;
    }
    return words + " The connection to " + where + " could not be made.";
}

}  // namespace

BoxText NoticeBox(const Notice& notice) {
    switch (notice.kind) {
        case NoticeKind::kRefused:
            return RefusalBox(notice.refusal);
        case NoticeKind::kServerTooOld:
            return Refused("Server's version is too old");
        case NoticeKind::kUnableToConnect:
            return Refused(UnableToConnectText(notice));
        case NoticeKind::kOpponentGone:
            return Refused("Your opponent just disappeared. Sorry.");
        case NoticeKind::kPeerFault:
            return Warning(PeerFaultText(notice.fault));
        case NoticeKind::kNobodyCanDraw:
            return Warning(
                "Neither player can draw: the stack and the up pile are both empty, so this "
                "round cannot go on. Your opponent's program has no way to end it; quit when "
                "you are ready.");
        case NoticeKind::kServerWaitsForItsClient:
            return Refused(
                "This server is waiting for its opponent to come back to a game in progress. "
                "Its player is being asked whether to give that game up and start a new one "
                "with you.");
        case NoticeKind::kServerKeptItsGame:
            return Warning(
                "The server's player is keeping the game in progress for the opponent who "
                "left, so no new game can start with you now. Try again later.");
        case NoticeKind::kServerGameGone:
            return Warning(
                "Your opponent's Kelvane was started again, and the game in progress ended with "
                "it: it cannot be resumed. Start a new game to play again.");
    }
    return Refused("");
}

BoxText QuestionBox(const Question& q) {
    if (q.kind == QuestionKind::kNewGameWithCaller)
        return {"A Kelvane player " +
                    (q.address.empty() ? std::string() : "at " + q.address + " ") +
                    "has connected without the game in progress: perhaps your opponent started "
                    "Kelvane again. Give up the game in progress and start a new one with this "
                    "player?",
                Buttons::kYesNo, Icon::kExclamation, "", Answer::kNo};
    // The warning is there to stop a discard the player may regret; the plain question confirms
    // the press he has just made.
    if (q.kind == QuestionKind::kDiscardMeldable)
        return {"The " + Name(q.card) + " is meldable. Are you sure?", Buttons::kYesNo,
                Icon::kExclamation, kConfirmTitle, Answer::kNo};
    return {"Discard the " + Name(q.card) + "?", Buttons::kYesNo, Icon::kNone, kConfirmTitle};
}

BoxText QuitBox() {
    return {"Sure you want to quit?", Buttons::kYesNo, Icon::kNone, "", Answer::kNo};
}

HostPrompt HostPromptText() {
    return {"Enter Host IP Address : ", "Host IP Address", "127.0.0.1"};
}

std::string RoundText(const RoundResult& result) {
    switch (WinnerOf(result)) {
        case RoundWinner::kYou:
            return "You won that round";
        case RoundWinner::kOpponent:
            return "Your opponent won that round";
        case RoundWinner::kTie:
            break;
    }
    return "You tied that round";
}

std::string GameText(GameOutcome outcome) {
    return outcome == GameOutcome::kWon ? "You Won the Game!" : "You Lost the Game!";
}

ResultFigures RoundFigures(const GameState& s, const RoundResult& r) {
    const MeldedPoints melded = MeldedScores(s);
    const int you = r.local.value(), them = r.remote.value();
    auto row = [](const char* heading, int a, int b) {
        return ResultFigures::Row{heading, std::to_string(a), std::to_string(b)};
    };
    // Cards left in a hand cost their points: shown as the negative figures they add.
    return {{{"", "You", "Opponent"},
             row("Melded", melded.local.value(), melded.remote.value()),
             row("Left in hand", you - melded.local.value(), them - melded.remote.value()),
             row("This round", you, them),
             row("Totals", s.LocalScore.value(), s.RemoteScore.value())},
            ""};
}

ResultFigures GameFigures(const GameState& s, const RoundResult& lastRound) {
    ResultFigures figures = RoundFigures(s, lastRound);
    const int you = s.LocalScore.value(), them = s.RemoteScore.value();
    const int goal = kWinningScore;
    const std::string totals =
        "Final totals: you " + std::to_string(you) + ", your opponent " + std::to_string(them);
    if (you >= goal && them >= goal)
        figures.closing =
            totals + ". Both reached " + std::to_string(goal) + ": the higher total wins.";
    else
        figures.closing = totals + ". " + (you >= goal ? "You" : "Your opponent") + " reached " +
                          std::to_string(goal) + ".";
    return figures;
}

std::string ListeningText(const std::string& localAddress) {
    return "Waiting for client to connect... (local IP: " + localAddress + ")";
}

std::string ConnectionLostTitle() {
    return "Connection Lost";
}

std::string ConnectionLostText(bool reconnecting, bool stillCalling) {
    const std::string lost =
        "The connection to your opponent was lost. The game stays as it was until ";
    if (!reconnecting) return lost + "your opponent's program comes back.";
    if (stillCalling)
        return lost + "it is back: Kelvane is calling your opponent's computer again.";
    return lost +
           "it is back. Kelvane has stopped calling by itself; choose Reconnect Now to call "
           "again.";
}

std::string ConnectionLostStatus(bool reconnecting) {
    return reconnecting ? "Connection lost: calling your opponent again"
                        : "Connection lost: waiting for your opponent to come back";
}

std::string CallerLeftText(const std::string& address) {
    return "A caller" + (address.empty() ? std::string() : " from " + address) +
           " left before playing; still waiting for an opponent.";
}

std::string PeerProgramText(const std::string& program) {
    return "Your opponent plays " + program;
}

std::string CardSign(Int16 card) {
    static const char* const ranks[] = {"A", "2", "3",  "4", "5", "6", "7",
                                        "8", "9", "10", "J", "Q", "K"};
    static const char* const suits[] = {"\u2660", "\u2666", "\u2663", "\u2665"};
    const int code = card.value();
    if (code < 1 || code > kCardsInDeck) return "?";
    return std::string(ranks[(code - 1) % 13]) + suits[(code - 1) / 13];
}

namespace {

std::string Signs(const std::vector<Int16>& cards) {
    std::string text;
    for (Int16 card : cards) {
        if (!text.empty()) text += ' ';
        text += CardSign(card);
    }
    return text;
}

std::string Signed(int points) {
    return std::to_string(points);
}

}  // namespace

std::string OpponentMoveText(const OpponentMove& m) {
    const std::string who = "Your opponent ";
    switch (m.kind) {
        case OpponentMoveKind::kStackDraw:
            // The card drawn stays his secret.
            return who + "drew from the stack";
        case OpponentMoveKind::kUpPileTake:
            if (m.cards.size() == 1)
                return who + "took the " + Name(m.cards[0]) + " from the up pile";
            return who + "took " + std::to_string(m.cards.size()) +
                   " cards from the up pile: " + Signs(m.cards);
        case OpponentMoveKind::kNewMeld:
            return who + "laid down " + Signs(m.cards);
        case OpponentMoveKind::kLayOff:
            return who + "laid off " + Signs(m.cards) + ", making " + Signs(m.meld);
        case OpponentMoveKind::kDiscard:
            break;
    }
    return who + "discarded the " + (m.cards.empty() ? std::string("?") : Name(m.cards[0]));
}

std::string RoundSummaryText(const GameState& s, const RoundResult& r) {
    const MeldedPoints melded = MeldedScores(s);
    const int you = r.local.value(), them = r.remote.value();
    return "Round over. You melded " + Signed(melded.local.value()) + " and held " +
           Signed(melded.local.value() - you) + " in hand: " + Signed(you) +
           ". Your opponent melded " + Signed(melded.remote.value()) + " and held " +
           Signed(melded.remote.value() - them) + " in hand: " + Signed(them) + ". " +
           RoundText(r) + ".";
}

std::string NewRoundText() {
    return "A new round is dealt.";
}

std::string GameSummaryText(GameOutcome outcome, const GameState& s) {
    return GameText(outcome) + " Totals: you " + Signed(s.LocalScore.value()) + ", your opponent " +
           Signed(s.RemoteScore.value()) + ".";
}

BoxText ComputerStoppedBox() {
    return {
        "The computer player stopped, so this game cannot go on. Start a new game against "
        "the computer?",
        Buttons::kYesNo, Icon::kExclamation, ""};
}

std::string TurnStatus(bool myTurn, bool hasDrawn) {
    if (myTurn) return hasDrawn ? "Discard" : "Draw";
    return std::string("Waiting for your opponent to ") + (hasDrawn ? "discard" : "draw");
}

std::string StuckRoundChat() {
    return "Neither of us can draw, so this round cannot go on. I am leaving; start a new game to "
           "play again.";
}

std::string OpponentLeftLine() {
    return "Your opponent left.";
}

std::string NetworkPartMissingText(const std::string& file, const std::string& folder) {
    return "No session can start: the game's network part " + file + " is missing or damaged in " +
           folder + "; reinstalling the kelvane package repairs it.";
}

BoxText ComputerUnavailableBox() {
    return Warning(
        "The computer opponent could not be started (kelvane-bot was not found beside "
        "Kelvane, or it did not start).");
}

std::string HelpTitle() {
    return "How to Play Kelvane";
}

std::string HelpText() {
    return "<h3>The game</h3>"
           "<p>Two players each hold seven cards. On your turn you <b>draw</b> one card from the "
           "stack, or take any card of the up pile together with every card above it (a card "
           "taken from below the top must be melded in the same turn). Then you may <b>lay "
           "down</b> new melds of three or more cards (a set of one rank, or a run of one suit) "
           "and <b>lay off</b> cards onto any meld on the table. You end your turn by "
           "<b>discarding</b> one card onto the up pile. Melding your whole hand makes you "
           "float: you play on with an empty hand.</p>"
           "<p>A round ends when a discard empties a hand, or after any discard once the stack "
           "is empty. Melded cards score their points and cards left in hand cost theirs: aces "
           "15 (5 in a meld with a two), two to nine 5, ten to king 10. The first total to "
           "reach 500 wins the game.</p>"
           "<h3>Controls</h3>"
           "<ul>"
           "<li>Click the stack, or a card of the up pile, to draw.</li>"
           "<li>Left-click hand cards to select them; click the table's free space to lay them "
           "down, or a meld to lay them off onto it.</li>"
           "<li>Right-click a hand card to discard it.</li>"
           "<li>The cards of your opponent's last move are framed in orange until you move; "
           "Options, Move History (Ctrl+H) tells every move in words.</li>"
           "<li>File, Connect: be the server, connect to one, or play against the computer. "
           "Ctrl+Q quits.</li>"
           "</ul>"
           "<h3>Playing by keyboard</h3>"
           "<ul>"
           "<li>Tab moves between the welcome's buttons, the table and the chat; on the table a "
           "dashed frame shows the place the keys act on.</li>"
           "<li>Left and Right move along a row; Up and Down move between the rows: the stack "
           "and the up pile, the table's free space and its melds, your hand.</li>"
           "<li>Space or Enter does what a left click does there: select a hand card, draw from "
           "the stack, take from the up pile, lay the selection down on the free space or off "
           "onto a meld.</li>"
           "<li>D or Delete discards the hand card in the frame, as a right click does.</li>"
           "<li>Home and End go to a row's first and last place.</li>"
           "</ul>";
}

WelcomeTexts WelcomeText() {
    return {"Welcome to Kelvane",
            "Draw a card, lay down sets and runs of three or more, lay off onto any meld, then "
            "discard one: the first to 500 points wins. F1 tells more."};
}

std::string CardSlotName(int picture, bool selected) {
    if (picture == kBackPicture) return "face down";
    if (!IsCard(Int16(picture))) return "";
    return GetCardName(Int16(picture), true) + (selected ? ", selected" : "");
}

std::string StackName(Int16 cards) {
    if (cards == 0) return "the stack, empty";
    return "the stack, " + std::to_string(cards.value()) + (cards == 1 ? " card" : " cards");
}

std::string OpponentHandName(Int16 cards) {
    return "your opponent's hand, " + std::to_string(cards.value()) +
           (cards == 1 ? " card" : " cards");
}

std::string TableKeysHelp() {
    return "Up and Down move between the piles, the table and your hand, Left and Right along "
           "them; Space plays the framed place, D discards the framed card.";
}

std::string DrawnCardText(Int16 card) {
    return "You drew the " + GetCardName(card, true);
}

std::string StatusName(const std::string& status) {
    return "Status: " + status;
}

std::string ClothName() {
    return "the table's free space: lay the selected cards down as a new meld";
}

std::string MeldName(Int16 column, const GameState& state) {
    std::string name = "meld " + std::to_string(column.value() + 1);
    const char* between = ": ";
    for (Int16 card : state.TableMelds.Cards(column))
        name += std::exchange(between, ", ") + GetCardName(card, true);
    return name;
}

ScoreBoardTexts ScoreBoardText(const GameState& s) {
    // Before the first deal of a session the labels invite the player to start one.
    if (s.GamesPlayed == 0)
        // The game's invitation names two of the three ways to play; the third is told beside it.
        return {"Become server or client to begin new game",
                "(or play against the computer)",
                "Total Games Played:",
                "Your Score:",
                "Your Opponent's Score:",
                ""};
    const MeldedPoints melded = MeldedScores(s);
    auto text = [](Int16 n) { return std::to_string(n.value()); };
    const char* floating = s.LocalFloating && s.RemoteFloating ? "Both Floating"
                           : s.LocalFloating                   ? "You Are Floating"
                           : s.RemoteFloating                  ? "Your Opponent is Floating"
                                                               : "";
    return {
        "Your Melded Score: " + text(melded.local) +
            "     Opponent's Melded Score: " + text(melded.remote),
        "",
        "Total Games Played: " + text(s.GamesPlayed - 1),
        "Your Score: " + text(s.LocalScore),
        "Your Opponent's Score: " + text(s.RemoteScore),
        floating,
    };
}

}  // namespace kelvane
