#include "wire/wire.h"

#include "game/stock.h"

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

std::string CardList(const MeldList& meld, Int16 n) {
    std::string list;
    list.reserve(static_cast<std::size_t>(3 * n.value()));
    for (Int16 i = 0; i < n; ++i) list.append(nformat(meld[i])).append(",");
    return list;
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
    return "s:" + DeckText(stack);
}
std::string StackDrawMessage(Int16 card) {
    return "M:N:" + nformat(card);
}
std::string UpPileMessage(Int16 position) {
    return "M:U:" + nformat(position);
}
std::string NewMeldMessage(const MeldList& meld, Int16 n) {
    return "M:M:N:" + CardList(meld, n);
}
std::string LayOffMessage(Int16 column, const MeldList& meld, Int16 n) {
    return "M:M:" + nformat(column) + ":" + CardList(meld, n);
}
std::string DiscardMessage(Int16 card) {
    return "M:D:" + nformat(card);
}
std::string ChatMessage(std::string_view typed) {
    return "C:" + EscapeChat(typed);
}

std::string EscapeChat(std::string_view text) {
    return ReplaceAll(ReplaceAll(text, "(", "{LPAREN}"), ")", "{RPAREN}");
}

std::string UnescapeChat(std::string_view text) {
    return ReplaceAll(ReplaceAll(text, "{RPAREN}", ")"), "{LPAREN}", "(");
}

MessageKind Classify(std::string_view m) {
    if (StartsWith(m, "M:")) {
        if (StartsWith(m, "M:D:")) return MessageKind::kDiscard;
        if (StartsWith(m, "M:N:")) return MessageKind::kStackDraw;
        if (StartsWith(m, "M:U:")) return MessageKind::kUpPile;
        if (StartsWith(m, "M:M:")) {
            return StartsWith(m, "M:M:N:") ? MessageKind::kNewMeld : MessageKind::kLayOff;
        }
        return MessageKind::kUnknown;
    }
    if (StartsWith(m, "S:")) return MessageKind::kOldVersion;
    if (StartsWith(m, "s:")) return MessageKind::kDeal;
    if (StartsWith(m, "C:")) return MessageKind::kChat;
    return MessageKind::kUnknown;
}

std::string_view RestFrom(std::string_view message, int position) {
    if (position < 1) Raise(kInvalidProcedureCall);
    const auto from = static_cast<std::size_t>(position - 1);
    if (from >= message.size()) return {};
    return SkipLeadingSpaces(message.substr(from));
}

Int16 LayOffColumn(std::string_view message) {
    return message.size() > 4 ? ValueOf(message.substr(4, 2)) : Int16(0);
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
