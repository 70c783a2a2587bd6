// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/random_policy.h"

#include <utility>

#include "headless/gestures.h"

namespace kelvane::sim {

namespace {

enum class DrawKind { kStack, kTop, kBelowTop };

bool TurnCanEndAfterTake(const GameState& seen, Int16 position) {
    GameState after = seen;
    TakeFromUpPile(after, Seat::kLocal, position);
    return TurnCanEnd(after);
}

}  // namespace

std::optional<DrawChoice> RandomPolicy::PickDraw(const SeatView& view) {
    const GameState seen = view.Pictured();
    const Int16 top = seen.UpCount - 1;
    // Weighted 3 : 1 : 2; a kind not open to the player now is dropped and another drawn.
    std::vector<DrawKind> kinds = {DrawKind::kStack, DrawKind::kStack,    DrawKind::kStack,
                                   DrawKind::kTop,   DrawKind::kBelowTop, DrawKind::kBelowTop};
    while (!kinds.empty()) {
        const DrawKind kind = Pick(kinds);
        switch (kind) {
            case DrawKind::kStack:
                if (CanDrawFromStack(seen, Seat::kLocal).ok()) return DrawChoice{true, 0};
                break;
            case DrawKind::kTop:
                // Taken alone into an empty hand, the top card may be neither kept nor discarded.
                if (seen.UpCount > 0 && (seen.LocalCount > 0 || TurnCanEndAfterTake(seen, top)))
                    return DrawChoice{false, top};
                break;
            case DrawKind::kBelowTop: {
                std::vector<Int16> takes;
                for (Int16 p = 0; p < top; ++p)
                    if (CanTakeFromUpPile(seen, Seat::kLocal, p).ok() &&
                        TurnCanEndAfterTake(seen, p))
                        takes.push_back(p);
                if (!takes.empty()) return DrawChoice{false, Pick(takes)};
                break;
            }
        }
        std::erase(kinds, kind);
    }
    // Nothing open leaves a turn that can end; the harness names the dead end.
    return std::nullopt;
}

std::optional<TurnStep> RandomPolicy::PickStep(const SeatView& view) {
    const GameState seen = view.Pictured();
    const std::vector<Int16> discards = Discardable(seen);
    // Three times in four a meld is played when there is one; the search is spared otherwise.
    std::vector<MeldMove> melds;
    if (discards.empty() || Below(4) != 0)
        melds = seen.MustMeldCard != 0 ? MeldsWith(seen, seen.MustMeldCard) : AllMelds(seen);
    if (!melds.empty()) {
        // Tried in random order until one leaves a turn that can still end.
        for (std::size_t left = melds.size(); left > 0; --left) {
            std::swap(melds[left - 1], melds[Below(left)]);
            if (!TurnCanEndAfter(seen, melds[left - 1])) continue;
            return TurnStep::Lay(std::move(melds[left - 1]));
        }
    }
    if (discards.empty()) return std::nullopt;
    return TurnStep::Throw(Pick(discards));
}

}  // namespace kelvane::sim
