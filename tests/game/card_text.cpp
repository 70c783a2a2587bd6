#include "card_text.h"

#include <sstream>
#include <stdexcept>
#include <string>

namespace kelvane::test {

Int16 Card(std::string_view name) {
    constexpr std::string_view ranks = "A23456789TJQK";
    constexpr std::string_view suits = "SDCH";
    if (name.size() != 2) throw std::invalid_argument("card name must be two characters");
    auto rank = ranks.find(name[0]);
    auto suit = suits.find(name[1]);
    if (rank == std::string_view::npos || suit == std::string_view::npos)
        throw std::invalid_argument("unknown card " + std::string(name));
    return MakeCard(static_cast<int>(suit) + 1, static_cast<int>(rank) + 1);
}

std::vector<Int16> Cards(std::string_view names) {
    std::vector<Int16> cards;
    std::istringstream in{std::string(names)};
    for (std::string word; in >> word;) cards.push_back(Card(word));
    return cards;
}

std::pair<MeldList, Int16> Meld(std::string_view names) {
    MeldList meld{};
    int n = 0;
    for (Int16 c : Cards(names)) meld[n++] = c;
    return {meld, Int16(n)};
}

namespace {
void Fill(CardArray& cards, Int16& count, std::string_view names) {
    cards.fill(0);
    int n = 0;
    for (Int16 c : Cards(names)) cards[n++] = c;
    count = n;
}
}  // namespace

void SetHand(GameState& s, std::string_view names) {
    Fill(s.LocalHand, s.LocalCount, names);
}
void SetRemoteHand(GameState& s, std::string_view names) {
    Fill(s.RemoteHand, s.RemoteCount, names);
}
void SetUpPile(GameState& s, std::string_view names) {
    Fill(s.UpPile, s.UpCount, names);
}

Int16 AddTableMeld(GameState& s, std::string_view names) {
    Int16 col = s.TableMelds.AddColumn();
    int i = 0;
    for (Int16 c : Cards(names)) s.TableMelds.Column(col)[i++] = c;
    return col;
}

}  // namespace kelvane::test
