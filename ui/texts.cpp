#include "ui/texts.h"

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

}  // namespace

BoxText NoticeBox(const Notice& notice) {
    switch (notice.kind) {
        case NoticeKind::kRefused:
            return RefusalBox(notice.refusal);
        case NoticeKind::kServerTooOld:
            return Refused("Server's version is too old");
        case NoticeKind::kUnableToConnect:
            return Refused("Unable to Connect.");
        case NoticeKind::kOpponentGone:
            return Refused("Your opponent just disappeared. Sorry.");
    }
    return Refused("");
}

BoxText QuestionBox(const Question& q) {
    if (q.kind == QuestionKind::kDiscardMeldable)
        return {"The " + Name(q.card) + " is meldable. Are you sure?", Buttons::kYesNo,
                Icon::kExclamation, kConfirmTitle};
    return {"Discard the " + Name(q.card) + "?", Buttons::kYesNo, Icon::kNone, kConfirmTitle};
}

BoxText QuitBox() {
    return {"Sure you want to quit?", Buttons::kYesNo, Icon::kNone, ""};
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

std::string ListeningText(const std::string& localAddress) {
    return "Waiting for client to connect... (local IP: " + localAddress + ")";
}

ScoreBoardTexts ScoreBoardText(const GameState& s) {
    const MeldedPoints melded = MeldedScores(s);
    auto text = [](Int16 n) { return std::to_string(n.value()); };
    const char* floating = s.LocalFloating && s.RemoteFloating ? "Both Floating"
                           : s.LocalFloating                   ? "You Are Floating"
                           : s.RemoteFloating                  ? "Your Opponent is Floating"
                                                               : "";
    return {
        "Your Melded Score: " + text(melded.local) +
            "     Opponent's Melded Score: " + text(melded.remote),
        "Total Games Played: " + text(s.GamesPlayed - 1),
        "Your Score: " + text(s.LocalScore),
        "Your Opponent's Score: " + text(s.RemoteScore),
        floating,
    };
}

}  // namespace kelvane
