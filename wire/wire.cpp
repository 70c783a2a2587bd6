#include "wire/wire.h"

#include <algorithm>

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
