// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
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

// The longest message text a frame may carry. The longest message the game writes is the deal,
// 158 characters; a chat line of kChatLineLimit typed characters fits even when every one is a
// parenthesis, written as eight. A peer that sends more is refused rather than buffered.
inline constexpr std::size_t kFrameLimit = 8192;
// The one TCP port the two programs meet on, unless a player names another.
inline constexpr int kGamePort = 8895;
inline constexpr std::size_t kChatLineLimit = 1000;
static_assert(2 + 8 * kChatLineLimit <= kFrameLimit);

// Cuts the received stream into message texts. The bytes kept never exceed one frame at the
// limit, and cutting costs time in proportion to the bytes that arrived, however many frames
// they hold.
class FrameReader {
  public:
    // Takes one arrival. Once per arrival, a stream that does not start with "(" gets one in
    // front, so a frame whose "(" went missing is still read.
    void Accept(std::string_view bytes);

    enum class Cut {
        kNone,     // no complete frame: what is waiting is the start of one still on its way
        kEmpty,    // an empty frame, or a ")" at the very start: consumed, nothing to apply
        kMessage,  // a message text
        kTooLong,  // a frame longer than kFrameLimit: the stream cannot be read on
    };
    // Cuts the next frame. One frame at a time, so each message is applied completely before
    // the next is cut.
    Cut Next(std::string& message);

    std::size_t Waiting() const { return buffer_.size() - start_; }
    void Clear();

  private:
    std::string buffer_;
    std::size_t start_ = 0;    // where the uncut stream begins
    std::size_t scanned_ = 0;  // how far past start_ holds no ")"
};

enum class MessageKind {
    kDiscard,
    kStackDraw,
    kUpPile,
    kNewMeld,
    kLayOff,
    kOldVersion,
    kDeal,
    kChat,
    // Kelvane's own, between two Kelvane programs only (below).
    kHello,
    kRoundDigest,
    kSync,
    kBye,
    kChallenge,
    kProof,
    kUnknown,
};

// Every message kind and its prefix, compared case-sensitively in this order (so a new meld's
// "M:M:N:" is tried before a lay-off's "M:M:"). The fields follow the prefix directly. Beside each
// row: its fields, who sends it and when. The game's own messages write every number as two
// digits and every card as its code from 01 to 52; a card list is one to 13 cards, each followed
// by ",". ReadMessage reads them exactly so, and Judge (engine/received_moves.cpp) puts the move
// they state to game/moves.h from the sender's seat before anything of it is applied.
//
// Kelvane's own messages begin "K:", a prefix the game's dispatch does not know, so a program
// that speaks only the game's messages passes over them without a trace; they are used only
// after both sides have announced themselves with this version. Each field is separated by ":";
// counts are decimal without leading zeros (at most nine digits), totals may carry a "-", a
// game's identifier and a digest are 16 lower-case hexadecimal digits, a key and a challenge 32,
// a proof 64. `counted` messages are numbered by both sides, in the order sent, so that after a
// dropped connection each side knows which of the other's it has applied; the sender keeps those
// not yet confirmed, framed, to send again. A message whose kind is not known is counted unless
// it begins "K:".
struct MessageFormat {
    MessageKind kind;
    std::string_view prefix;
    bool counted = true;
};
inline constexpr std::string_view kExtensionPrefix = "K:";
inline constexpr MessageFormat kMessageFormats[] = {
    // "M:D:" card: the card discarded from the sender's hand; his turn ends.
    {MessageKind::kDiscard, "M:D:"},
    // "M:N:" card: a draw from the stack, naming the card drawn. Both copies of the stock agree,
    // so it must be the stack's top; any other code means the two programs no longer agree.
    {MessageKind::kStackDraw, "M:N:"},
    // "M:U:" position: a take from the up pile, the position (from the bottom, the first 00) of
    // the lowest card taken; every card above it comes too.
    {MessageKind::kUpPile, "M:U:"},
    // "M:M:N:" cards: a new meld, its whole list in the order the rules lay it.
    {MessageKind::kNewMeld, "M:M:N:"},
    // "M:M:" column ":" cards: a lay-off onto the table's column, two digits, then the column's
    // whole content after it, its own cards included, in the order the rules lay it.
    {MessageKind::kLayOff, "M:M:"},
    // "S:" and anything: an older server's deal, only ever received. Where a deal is due it tells
    // the player "Server's version is too old" and closes the session; elsewhere it is refused.
    {MessageKind::kOldVersion, "S:"},
    // "s:" cards: the server's deal between rounds, exactly 52 cards, the stock's order bottom
    // first, each card once.
    {MessageKind::kDeal, "s:"},
    // "C:" text: a chat line, at most kChatLineLimit typed characters, "(" and ")" written as
    // "{LPAREN}" and "{RPAREN}" (EscapeChat); leading spaces are dropped on reading.
    {MessageKind::kChat, "C:"},
    // "K:HELLO:" version ":" game ":" applied ":" sent ":" key ":" program
    // The announcement. Sent first on a session's first connection by both sides (the server
    // before its deal, the client as soon as it is connected), and on a resumed connection by
    // the server once the caller has proved himself. `version` of Kelvane's messages
    // (kExtensionVersion); `game` the identifier of the game being resumed, "-" on a first
    // connection; `applied` how many of the other side's counted messages this side has applied
    // and `sent` how many it has sent (both 0 on a first connection); `key` this side's half of
    // the session's secret, 16 random bytes, on the first connection only ("-" on a resume);
    // `program` the name and version, e.g. "kelvane-bot 1.0.42", up to kProgramNameLimit
    // printable characters.
    {MessageKind::kHello, "K:HELLO:", false},
    // "K:ROUND:" applied ":" round ":" server's total ":" client's total ":" deals ":" opener
    // ":" digest
    // Sent by each side as it scores a round, before the server's next deal. `applied` as above
    // (it lets the other side forget what it kept); `round` rounds scored in this session; the
    // totals after the round, the server's first; `deals` made in the game, the one just scored
    // included; `opener` "S" or "C", who plays first in the next deal; `digest` StateDigest of
    // the whole game. Any difference but `applied` ends the session.
    {MessageKind::kRoundDigest, "K:ROUND:"},
    // "K:SYNC:" applied ":" sent ":" digest
    // Sent once after a resume, when this side has applied all the other side said it had sent:
    // the counts at which `digest`, of the whole game, was taken. Compared only by a receiver
    // standing at the very same counts.
    {MessageKind::kSync, "K:SYNC:", false},
    // "K:BYE": no fields. Sent by a program that quits or ends the session, right before it
    // closes the connection; after it nothing the sender says is taken, chat included.
    {MessageKind::kBye, "K:BYE", false},
    // "K:CHALLENGE:" nonce: 16 fresh random bytes, sent by a server waiting for its client to
    // every caller as soon as it lets him into its room of callers, and nothing else.
    {MessageKind::kChallenge, "K:CHALLENGE:", false},
    // "K:PROOF:" applied ":" sent ":" mac: the answer of the client that left. Its counts, and
    // HMAC-SHA-256 under the session's secret (the server's half, then the client's) of
    // "kelvane resume:" challenge ":" applied ":" sent (engine/credential.cpp).
    {MessageKind::kProof, "K:PROOF:", false},
};

// The kind by the message's first characters; kUnknown for anything else, which is ignored.
MessageKind Classify(std::string_view message);
// Whether the message takes a number in the sender's count of messages.
bool Counted(std::string_view message);

// The version of Kelvane's own messages this program speaks. Version 1: the announcement, the
// end of a round nobody can draw in, a digest at every round's end, resuming a dropped connection
// and the quit that ends a session for good. Version 2: a resume is granted only to the caller
// who proves he holds the session's secret. A program announcing another version is spoken to
// as one that knows none of Kelvane's messages.
inline constexpr int kExtensionVersion = 2;

// The secret's halves and the server's challenge are 16 random bytes, the proof a 32-byte keyed
// hash, each written as lower-case hexadecimal digits.
inline constexpr std::size_t kKeyDigits = 32;
inline constexpr std::size_t kProofDigits = 64;

// A Kelvane program's announcement: which program it is, which version of Kelvane's own messages
// it speaks, and its half of the session's secret (on the session's first connection only); or,
// from a server letting its client back in, which game it resumes and how far it got.
struct Hello {
    int version = kExtensionVersion;
    std::optional<std::uint64_t> game;  // none on a session's first connection
    long applied = 0;                   // the other side's counted messages applied here
    long sent = 0;                      // counted messages sent from here
    std::string key;                    // kKeyDigits hexadecimal digits, or none on a resume
    std::string program;                // printable, at most kProgramNameLimit characters
    friend bool operator==(const Hello&, const Hello&) = default;
};
inline constexpr std::size_t kProgramNameLimit = 64;

// A caller's answer to the challenge of a server waiting for its client: how far the caller got,
// and the keyed hash of the challenge and those counts under the session's secret.
struct Proof {
    long applied = 0;
    long sent = 0;
    std::string mac;  // kProofDigits hexadecimal digits
    friend bool operator==(const Proof&, const Proof&) = default;
};

// What both programs must hold alike once a round has been scored, told by each at the same
// message. Totals are the server's first, so both sides write the same digest.
struct RoundDigest {
    long applied = 0;  // the other side's counted messages applied here (not compared)
    long round = 0;    // rounds scored in this session
    int serverTotal = 0;
    int clientTotal = 0;
    int deals = 0;            // deals made in the game, the one just scored included
    char opener = 'C';        // who plays first in the next deal: 'S' the server, 'C' the client
    std::uint64_t table = 0;  // StateDigest of the whole game
    // Equal in everything both sides must hold alike; `applied` is each side's own.
    bool Agrees(const RoundDigest& o) const {
        return round == o.round && serverTotal == o.serverTotal && clientTotal == o.clientTotal &&
               deals == o.deals && opener == o.opener && table == o.table;
    }
    friend bool operator==(const RoundDigest&, const RoundDigest&) = default;
};
// After a resumed connection, the whole game's digest at the point where `applied` of the other
// side's messages had been applied here and `sent` sent from here.
struct Sync {
    long applied = 0;
    long sent = 0;
    std::uint64_t state = 0;
};

// The messages this program sends.
std::string DealMessage(const CardArray& stack);
std::string StackDrawMessage(Int16 card);
std::string UpPileMessage(Int16 position);
std::string NewMeldMessage(const MeldContent& meld);
std::string LayOffMessage(Int16 column, const MeldContent& meld);
std::string DiscardMessage(Int16 card);
std::string ChatMessage(std::string_view typed);
std::string HelloMessage(const Hello& hello);
std::string RoundDigestMessage(const RoundDigest& digest);
std::string SyncMessage(const Sync& sync);
std::string ByeMessage();
std::string ChallengeMessage(std::string_view nonce);
std::string ProofMessage(const Proof& proof);

// A received message as the game writes it: every number two digits, every card a code from 1
// to 52, a card list of one to 13 cards each followed by ",", and a deal of 52 cards. Anything
// else cannot be read and is refused whole; nothing of it is applied.
struct Received {
    MessageKind kind = MessageKind::kUnknown;
    bool readable = true;
    // A discard's and a stack draw's card, an up-pile take's position, a lay-off's column.
    Int16 number = 0;
    MeldContent cards;  // a new meld's or a lay-off's whole content, in the order sent
    CardArray stack{};  // a deal's stock order, bottom first
    std::string chat;   // unescaped
    Hello hello;
    RoundDigest digest;
    Sync sync;
    std::string nonce;  // a challenge's
    Proof proof;
};
Received ReadMessage(std::string_view message);

// Chat text may not carry parentheses on the wire. The escape is not reversible: a player who
// types "{LPAREN}" is shown "(" on the other side.
std::string EscapeChat(std::string_view text);
std::string UnescapeChat(std::string_view text);

}  // namespace kelvane
