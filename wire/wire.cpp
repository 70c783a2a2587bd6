// SPDX-License-Identifier: GPL-3.0-or-later
#include "wire/wire.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace kelvane {

std::string Frame(std::string_view text) {
    std::string frame;
    frame.reserve(text.size() + 2);
    frame.append("(").append(text).append(")");
    return frame;
}

void FrameReader::Accept(std::string_view bytes) {
    // A socket never reports an empty arrival; taken literally, one would turn an empty stream
    // into "(" and spoil the next frame, so it is ignored.
    if (bytes.empty()) return;
    // What was cut leaves once per arrival, not once per frame, so cutting stays linear.
    buffer_.erase(0, start_);
    scanned_ -= start_;
    start_ = 0;
    buffer_.append(bytes);
    if (buffer_.front() != '(') {
        buffer_.insert(buffer_.begin(), '(');
        ++scanned_;
    }
}

FrameReader::Cut FrameReader::Next(std::string& message) {
    const std::size_t close = buffer_.find(')', scanned_);
    if (close == std::string::npos) {
        scanned_ = buffer_.size();
        // "(" and a whole frame's text may wait for their ")"; anything longer never fits.
        return Waiting() > kFrameLimit + 1 ? Cut::kTooLong : Cut::kNone;
    }
    // The text runs from the second character: whatever stands first is taken as the "(".
    const std::size_t length = close - start_;
    if (length > kFrameLimit + 1) return Cut::kTooLong;
    const Cut cut = length >= 2 ? Cut::kMessage : Cut::kEmpty;
    if (cut == Cut::kMessage) message.assign(buffer_, start_ + 1, length - 1);
    start_ = scanned_ = close + 1;
    if (start_ == buffer_.size()) Clear();
    return cut;
}

void FrameReader::Clear() {
    buffer_.clear();
    start_ = scanned_ = 0;
}

namespace {

// Every entry as two digits and a comma: the deal's stock order and a meld's cards.
template <typename Cards>
std::string CardList(const Cards& cards, int n) {
    std::string list;
    list.reserve(static_cast<std::size_t>(3 * n));
    for (int i = 0; i < n; ++i) list.append(nformat(cards[i])).append(",");
    return list;
}

const MessageFormat& FormatOf(MessageKind kind) {
    for (const MessageFormat& format : kMessageFormats)
        if (format.kind == kind) return format;
    Raise(kInvalidProcedureCall);
}

std::string Prefixed(MessageKind kind, std::string_view rest) {
    return std::string(FormatOf(kind).prefix).append(rest);
}

std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0;;) {
        const std::size_t hit = text.find(from, at);
        if (hit == std::string_view::npos) return out.append(text.substr(at));
        out.append(text.substr(at, hit - at)).append(to);
        at = hit + from.size();
    }
}

bool StartsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

std::string_view SkipLeadingSpaces(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    return text;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Two digits, as every number of a move is written; -1 for anything else.
int TwoDigits(std::string_view text) {
    if (text.size() != 2 || !IsDigit(text[0]) || !IsDigit(text[1])) return -1;
    return (text[0] - '0') * 10 + (text[1] - '0');
}

bool IsCardCode(int code) {
    return code >= 1 && code <= kCardsInDeck;
}

// Cards written as two digits and a comma each, `count` of them at most, into `cards`; the
// number read, or -1 when the text is anything else.
template <typename Cards>
int ReadCardList(std::string_view text, Cards& cards, int most) {
    if (text.empty() || text.size() % 3 != 0 || static_cast<int>(text.size() / 3) > most) return -1;
    int n = 0;
    for (; !text.empty(); text.remove_prefix(3), ++n) {
        const int code = TwoDigits(text.substr(0, 2));
        if (!IsCardCode(code) || text[2] != ',') return -1;
        cards[n] = code;
    }
    return n;
}

// The text cut at ":" into exactly `n` fields, the last one taking the rest.
std::optional<std::vector<std::string_view>> Split(std::string_view text, std::size_t n) {
    std::vector<std::string_view> fields;
    for (; fields.size() + 1 < n;) {
        const std::size_t colon = text.find(':');
        if (colon == std::string_view::npos) return std::nullopt;
        fields.push_back(text.substr(0, colon));
        text.remove_prefix(colon + 1);
    }
    fields.push_back(text);
    return fields;
}

// A count: one to nine digits, no sign, no leading zero but in "0".
bool Count(std::string_view text, long& value) {
    if (text.empty() || text.size() > 9 || (text.size() > 1 && text[0] == '0')) return false;
    value = 0;
    for (char c : text) {
        if (!IsDigit(c)) return false;
        value = value * 10 + (c - '0');
    }
    return true;
}

// A total: a count, or "-" and a count, within the game's 16-bit range.
bool Total(std::string_view text, int& value) {
    const bool negative = !text.empty() && text[0] == '-';
    if (negative) text.remove_prefix(1);
    long magnitude = 0;
    if (text.size() > 5 || !Count(text, magnitude) || (negative && magnitude == 0)) return false;
    const long signedValue = negative ? -magnitude : magnitude;
    if (signedValue < -32768 || signedValue > 32767) return false;
    value = static_cast<int>(signedValue);
    return true;
}

// Exactly `digits` lower-case hexadecimal digits.
bool IsHex(std::string_view text, std::size_t digits) {
    return text.size() == digits &&
           std::ranges::all_of(text, [](char c) { return IsDigit(c) || (c >= 'a' && c <= 'f'); });
}

// Sixteen lower-case hexadecimal digits.
bool Hex64(std::string_view text, std::uint64_t& value) {
    return IsHex(text, 16) &&
           std::from_chars(text.data(), text.data() + text.size(), value, 16).ec == std::errc{};
}

std::string Hex64Text(std::uint64_t value) {
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(value));
    return text;
}

bool IsProgramName(std::string_view name) {
    return !name.empty() && name.size() <= kProgramNameLimit &&
           std::ranges::all_of(name, [](char c) { return c >= ' ' && c <= '~'; });
}

// Any version is read, so that a program announcing another one can be told apart from one that
// cannot write an announcement; its fields are read as this version writes them.
bool ReadHello(std::string_view rest, Hello& h) {
    const auto f = Split(rest, 6);
    if (!f) return false;
    long version = 0;
    if ((*f)[0].size() > 3 || !Count((*f)[0], version) || version < 1) return false;
    if (!Count((*f)[2], h.applied) || !Count((*f)[3], h.sent) || !IsProgramName((*f)[5]))
        return false;
    const std::string_view key = (*f)[4];
    if (key != "-" && !IsHex(key, kKeyDigits)) return false;
    h.version = static_cast<int>(version);
    h.key = key == "-" ? "" : std::string(key);
    h.program = std::string((*f)[5]);
    if ((*f)[1] == "-") return true;
    std::uint64_t game = 0;
    if (!Hex64((*f)[1], game)) return false;
    h.game = game;
    return true;
}

bool ReadRoundDigest(std::string_view rest, RoundDigest& d) {
    const auto f = Split(rest, 7);
    if (!f) return false;
    long deals = 0;
    const std::string_view opener = (*f)[5];
    if (!Count((*f)[0], d.applied) || !Count((*f)[1], d.round) || !Count((*f)[4], deals) ||
        deals > 32767 || !Total((*f)[2], d.serverTotal) || !Total((*f)[3], d.clientTotal) ||
        !Hex64((*f)[6], d.table) || (opener != "S" && opener != "C"))
        return false;
    d.deals = static_cast<int>(deals);
    d.opener = opener[0];
    return true;
}

bool ReadSync(std::string_view rest, Sync& y) {
    const auto f = Split(rest, 3);
    return f && Count((*f)[0], y.applied) && Count((*f)[1], y.sent) && Hex64((*f)[2], y.state);
}

bool ReadProof(std::string_view rest, Proof& p) {
    const auto f = Split(rest, 3);
    if (!f || !Count((*f)[0], p.applied) || !Count((*f)[1], p.sent) ||
        !IsHex((*f)[2], kProofDigits))
        return false;
    p.mac = std::string((*f)[2]);
    return true;
}

bool ReadFields(std::string_view rest, Received& r) {
    const int number = TwoDigits(rest.substr(0, r.kind == MessageKind::kLayOff ? 2 : rest.size()));
    r.number = std::max(number, 0);
    switch (r.kind) {
        case MessageKind::kDiscard:
        case MessageKind::kStackDraw:
            return IsCardCode(number);
        case MessageKind::kUpPile:
            return number >= 0;
        case MessageKind::kLayOff:
            if (number < 0 || rest.size() < 3 || rest[2] != ':') return false;
            rest.remove_prefix(3);
            [[fallthrough]];
        case MessageKind::kNewMeld: {
            const int n = ReadCardList(rest, r.cards.list, kSlotsPerColumn);
            r.cards.count = std::max(n, 0);
            return n > 0;
        }
        case MessageKind::kDeal:
            return ReadCardList(rest, r.stack, kCardsInDeck) == kCardsInDeck;
        case MessageKind::kChat:
            r.chat = UnescapeChat(SkipLeadingSpaces(rest));
            return true;
        case MessageKind::kHello:
            return ReadHello(rest, r.hello);
        case MessageKind::kRoundDigest:
            return ReadRoundDigest(rest, r.digest);
        case MessageKind::kSync:
            return ReadSync(rest, r.sync);
        case MessageKind::kBye:
            return rest.empty();
        case MessageKind::kChallenge:
            r.nonce = std::string(rest);
            return IsHex(rest, kKeyDigits);
        case MessageKind::kProof:
            return ReadProof(rest, r.proof);
        case MessageKind::kOldVersion:
        case MessageKind::kUnknown:
            return true;
    }
    return false;
}

}  // namespace

std::string DealMessage(const CardArray& stack) {
    return Prefixed(MessageKind::kDeal, CardList(stack, kCardsInDeck));
}
std::string StackDrawMessage(Int16 card) {
    return Prefixed(MessageKind::kStackDraw, nformat(card));
}
std::string UpPileMessage(Int16 position) {
    return Prefixed(MessageKind::kUpPile, nformat(position));
}
std::string NewMeldMessage(const MeldContent& meld) {
    return Prefixed(MessageKind::kNewMeld, CardList(meld.list, meld.count.value()));
}
std::string LayOffMessage(Int16 column, const MeldContent& meld) {
    return Prefixed(MessageKind::kLayOff,
                    nformat(column) + ":" + CardList(meld.list, meld.count.value()));
}
std::string DiscardMessage(Int16 card) {
    return Prefixed(MessageKind::kDiscard, nformat(card));
}
std::string ChatMessage(std::string_view typed) {
    return Prefixed(MessageKind::kChat, EscapeChat(typed));
}

std::string HelloMessage(const Hello& h) {
    return Prefixed(MessageKind::kHello,
                    std::to_string(h.version) + ":" + (h.game ? Hex64Text(*h.game) : "-") + ":" +
                        std::to_string(h.applied) + ":" + std::to_string(h.sent) + ":" +
                        (h.key.empty() ? "-" : h.key) + ":" + h.program);
}
std::string RoundDigestMessage(const RoundDigest& d) {
    return Prefixed(MessageKind::kRoundDigest,
                    std::to_string(d.applied) + ":" + std::to_string(d.round) + ":" +
                        std::to_string(d.serverTotal) + ":" + std::to_string(d.clientTotal) + ":" +
                        std::to_string(d.deals) + ":" + d.opener + ":" + Hex64Text(d.table));
}
std::string SyncMessage(const Sync& y) {
    return Prefixed(MessageKind::kSync, std::to_string(y.applied) + ":" + std::to_string(y.sent) +
                                            ":" + Hex64Text(y.state));
}
std::string ByeMessage() {
    return Prefixed(MessageKind::kBye, "");
}
std::string ChallengeMessage(std::string_view nonce) {
    return Prefixed(MessageKind::kChallenge, nonce);
}
std::string ProofMessage(const Proof& p) {
    return Prefixed(MessageKind::kProof,
                    std::to_string(p.applied) + ":" + std::to_string(p.sent) + ":" + p.mac);
}

std::string EscapeChat(std::string_view text) {
    return ReplaceAll(ReplaceAll(text, "(", "{LPAREN}"), ")", "{RPAREN}");
}

std::string UnescapeChat(std::string_view text) {
    return ReplaceAll(ReplaceAll(text, "{RPAREN}", ")"), "{LPAREN}", "(");
}

MessageKind Classify(std::string_view m) {
    for (const MessageFormat& format : kMessageFormats)
        if (StartsWith(m, format.prefix)) return format.kind;
    return MessageKind::kUnknown;
}

bool Counted(std::string_view message) {
    const MessageKind kind = Classify(message);
    if (kind == MessageKind::kUnknown) return !StartsWith(message, kExtensionPrefix);
    return FormatOf(kind).counted;
}

Received ReadMessage(std::string_view message) {
    Received r;
    r.kind = Classify(message);
    const std::string_view rest = r.kind == MessageKind::kUnknown
                                      ? std::string_view()
                                      : message.substr(FormatOf(r.kind).prefix.size());
    r.readable = ReadFields(rest, r);
    return r;
}

}  // namespace kelvane
