#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "game/game_state.h"
#include "game/int16.h"
#include "game/moves.h"

namespace kelvane {

// Every message travels as "(" + text + ")"; the closing parenthesis is the only delimiter a
// receiver looks for, so no message text may hold one (chat text is escaped).
std::string Frame(std::string_view text);

// Appends one arrival to the receive buffer. Once per arrival, a buffer that does not start with
// "(" gets one in front, so a frame whose "(" went missing is still read.
void AcceptArrival(std::string& buffer, std::string_view bytes);

// Cuts the first frame out of the buffer. Nothing when no ")" has arrived yet; otherwise the
// frame is consumed and yields its message text, or no text for an empty frame or a ")" at the
// very start. One frame at a time, so each message is applied completely before the next is cut.
std::optional<std::optional<std::string>> CutFrame(std::string& buffer);

enum class MessageKind {
    kDiscard,
    kStackDraw,
    kUpPile,
    kNewMeld,
    kLayOff,
    kOldVersion,
    kDeal,
    kChat,
    kUnknown,
};

// Every message kind: its prefix, compared case-sensitively in this order (so a new meld's
// "M:M:N:" is tried before a lay-off's "M:M:"), and the 1-based position where its field starts.
// A lay-off also carries its two-digit column at positions 5 and 6. "S:" is an older server's
// deal, only ever received.
struct MessageFormat {
    MessageKind kind;
    std::string_view prefix;
    int field;
};
inline constexpr MessageFormat kMessageFormats[] = {
    {MessageKind::kDiscard, "M:D:", 5}, {MessageKind::kStackDraw, "M:N:", 5},
    {MessageKind::kUpPile, "M:U:", 5},  {MessageKind::kNewMeld, "M:M:N:", 7},
    {MessageKind::kLayOff, "M:M:", 8},  {MessageKind::kOldVersion, "S:", 3},
    {MessageKind::kDeal, "s:", 3},      {MessageKind::kChat, "C:", 3},
};

// Where a lay-off's two-digit column stands (1-based).
inline constexpr int kLayOffColumnField = 5;

// The kind by the message's first characters; kUnknown for anything else, which is ignored.
MessageKind Classify(std::string_view message);

// The messages this program sends.
std::string DealMessage(const CardArray& stack);
std::string StackDrawMessage(Int16 card);
std::string UpPileMessage(Int16 position);
std::string NewMeldMessage(const MeldContent& meld);
std::string LayOffMessage(Int16 column, const MeldContent& meld);
std::string DiscardMessage(Int16 card);
std::string ChatMessage(std::string_view typed);

// The fields of a received message of a known kind. A number reads as ValueOf does; a deal must
// hold 52 whole numbers; a card list ends at its first entry that is not a card code above 0.
Int16 NumberField(std::string_view message, MessageKind kind);
Int16 LayOffColumn(std::string_view message);
MeldContent CardListField(std::string_view message, MessageKind kind);
CardArray DealField(std::string_view message);
std::string ChatField(std::string_view message);

// Chat text may not carry parentheses on the wire. The escape is not reversible: a player who
// types "{LPAREN}" is shown "(" on the other side.
std::string EscapeChat(std::string_view text);
std::string UnescapeChat(std::string_view text);

// The rest of a message from a 1-based position, leading spaces removed; empty when the message
// is shorter. A position below 1 is an Invalid procedure call failure.
std::string_view RestFrom(std::string_view message, int position);
// A card list split at ","; the empty text after the final comma is the last element, and an
// empty list is one empty element, so a reader always meets a non-positive entry at the end.
std::vector<std::string_view> SplitList(std::string_view list);

// A number as moves carry it: leading spaces, an optional sign, then digits up to the first
// other character; no digits reads 0. Beyond 16 bits is an Overflow failure.
Int16 ValueOf(std::string_view text);
// A whole number and nothing else, as the deal's stock order must be: anything else is a Type
// mismatch failure, beyond 16 bits an Overflow failure.
Int16 ReadWholeNumber(std::string_view text);

}  // namespace kelvane
