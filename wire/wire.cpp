#include "wire/wire.h"

namespace kelvane {

std::string Frame(std::string_view text) {
    std::string frame;
    frame.reserve(text.size() + 2);
    frame.append("(").append(text).append(")");
    return frame;
}

void AcceptArrival(std::string& buffer, std::string_view bytes) {
    // A socket never reports an empty arrival; taken literally, one would turn an empty buffer
    // into "(" and spoil the next frame, so it is ignored.
    if (bytes.empty()) return;
    buffer.append(bytes);
    if (buffer.front() != '(') buffer.insert(buffer.begin(), '(');
}

std::optional<std::optional<std::string>> CutFrame(std::string& buffer) {
    const std::size_t close = buffer.find(')');
    if (close == std::string::npos) return std::nullopt;
    // The text runs from the second character: whatever stands first is taken as the "(".
    std::optional<std::string> message;
    if (close >= 2) message = buffer.substr(1, close - 1);
    buffer.erase(0, close + 1);
    return message;
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

std::string_view TrimSpaces(std::string_view text) {
    text = SkipLeadingSpaces(text);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    return text;
}

// Removes an optional leading sign; true when it was a minus.
bool TakeSign(std::string_view& text) {
    if (text.empty() || (text.front() != '-' && text.front() != '+')) return false;
    const bool negative = text.front() == '-';
    text.remove_prefix(1);
    return negative;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

Int16 FromDigits(std::string_view digits, bool negative) {
    long value = 0;
    for (char d : digits) {
        value = value * 10 + (d - '0');
        if (value > 100000) break;  // already beyond any 16-bit value; Int16 raises Overflow
    }
    return Int16(negative ? -value : value);
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

Int16 NumberField(std::string_view message, MessageKind kind) {
    return ValueOf(RestFrom(message, FormatOf(kind).field));
}

MeldContent CardListField(std::string_view message, MessageKind kind) {
    const std::vector<std::string_view> parts = SplitList(RestFrom(message, FormatOf(kind).field));
    MeldContent meld;
    // The empty element after the final comma ends the list.
    for (std::size_t i = 0;; ++i) {
        if (i >= parts.size()) Raise(kSubscriptOutOfRange);
        const Int16 card = ValueOf(parts[i]);
        if (card <= 0) return meld;
        meld.list[meld.count] = card;
        meld.count += 1;
    }
}

CardArray DealField(std::string_view message) {
    const std::vector<std::string_view> parts =
        SplitList(RestFrom(message, FormatOf(MessageKind::kDeal).field));
    CardArray stack{};
    for (int i = 0; i < kCardsInDeck; ++i) {
        if (i >= static_cast<int>(parts.size())) Raise(kSubscriptOutOfRange);
        stack[i] = ReadWholeNumber(parts[static_cast<std::size_t>(i)]);
    }
    return stack;
}

std::string ChatField(std::string_view message) {
    return UnescapeChat(RestFrom(message, FormatOf(MessageKind::kChat).field));
}

std::string_view RestFrom(std::string_view message, int position) {
    if (position < 1) Raise(kInvalidProcedureCall);
    const auto from = static_cast<std::size_t>(position - 1);
    if (from >= message.size()) return {};
    return SkipLeadingSpaces(message.substr(from));
}

Int16 LayOffColumn(std::string_view message) {
    constexpr std::size_t at = kLayOffColumnField - 1;
    return message.size() > at ? ValueOf(message.substr(at, 2)) : Int16(0);
}

std::vector<std::string_view> SplitList(std::string_view list) {
    std::vector<std::string_view> parts;
    for (std::size_t at = 0;;) {
        const std::size_t comma = list.find(',', at);
        if (comma == std::string_view::npos) {
            parts.push_back(list.substr(at));
            return parts;
        }
        parts.push_back(list.substr(at, comma - at));
        at = comma + 1;
    }
}

Int16 ValueOf(std::string_view text) {
    text = SkipLeadingSpaces(text);
    const bool negative = TakeSign(text);
    std::size_t digits = 0;
    while (digits < text.size() && IsDigit(text[digits])) ++digits;
    return FromDigits(text.substr(0, digits), negative);
}

Int16 ReadWholeNumber(std::string_view text) {
    text = TrimSpaces(text);
    const bool negative = TakeSign(text);
    if (text.empty()) Raise(kTypeMismatch);
    for (char c : text)
        if (!IsDigit(c)) Raise(kTypeMismatch);
    return FromDigits(text, negative);
}

}  // namespace kelvane
