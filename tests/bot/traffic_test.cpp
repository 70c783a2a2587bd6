// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "bot/level1.h"
#include "game/state_digest.h"
#include "sim/duel.h"
#include "sim/random_policy.h"

namespace kelvane {
namespace {

// Whole seeded games between the players we ship and test with. The bytes each side sends are
// the protocol as another program reads it, so a change to how a move is judged, applied or
// chosen that alters one byte of them shows here. Each game is played three ways: two Kelvane
// programs, and a Kelvane program with one that speaks only the game's own messages on either
// side. Leaving out Kelvane's own messages, every side sends the same bytes all three ways: what
// Kelvane adds never changes a move, and a program that knows nothing of it is spoken to exactly
// as before.
// Each game: the server's player and the client's ("random" or "bot"), the seed, and what each
// side sent: how many bytes, and their digest.
using Recorded = std::tuple<std::string, std::string, std::uint64_t, std::size_t, std::size_t,
                            std::uint64_t, std::uint64_t>;
constexpr int kRounds = 100;

std::unique_ptr<Policy> Player(const std::string& kind, std::uint64_t seed) {
    if (kind == "bot") return std::make_unique<bot::BotPolicy>();
    return std::make_unique<sim::RandomPolicy>(seed);
}

// The bytes pin down how the bot plays; how well it plays is its lead over the random player in
// the games they play here.
TEST(Traffic, SeededGamesSendTheRecordedBytesAndTheBotOutscoresRandomPlay) {
    // Recorded from the engine before its moves were gathered into one place.
    const Recorded recorded[] = {
        {"random", "random", 1, 15249, 11495, 0x20360003ab0c3965ULL, 0x910b4269ef62696eULL},
        {"random", "random", 2, 63722, 47982, 0x45d7763a9668171eULL, 0xf93c5147143d446fULL},
        {"random", "random", 3, 6418, 4864, 0x79b0cdbd700d576fULL, 0xf73a26774a479636ULL},
        {"random", "random", 4, 67406, 50467, 0xaa19265db7c318d4ULL, 0xf645d143db68dadeULL},
        {"random", "random", 5, 6088, 4941, 0x8c7ee4cebf1334b0ULL, 0xd66b63f70ddaf25dULL},
        {"random", "random", 6, 22385, 17525, 0x337f2fb70fcfd204ULL, 0x68ce824c446a7c69ULL},
        {"bot", "random", 7, 47605, 28515, 0x3d9f186a56db7d05ULL, 0x460a91b8275bc472ULL},
        {"bot", "random", 8, 49588, 29968, 0xd3ef378d349a52f6ULL, 0xe75b9017749d6c99ULL},
        {"random", "bot", 9, 44673, 31348, 0x6b410fef91b57858ULL, 0x2de08d94ac532a7bULL},
        {"random", "bot", 10, 46241, 32341, 0x135baa5adeacb2aULL, 0xd753738ae9e2db52ULL},
        {"bot", "bot", 11, 38430, 22690, 0xa8bca288b0f9c421ULL, 0xfda3dbc8247d8657ULL},
        {"bot", "bot", 12, 39085, 22527, 0x19adae01d666eaa9ULL, 0x3a304bbf227b987aULL},
    };
    long long botRounds = 0, botLead = 0;
    const std::pair<bool, bool> extensions[] = {{true, true}, {false, true}, {true, false}};
    for (const auto& [serverKind, clientKind, seed, serverBytes, clientBytes, serverDigest,
                      clientDigest] : recorded) {
        for (const auto& [serverKelvane, clientKelvane] : extensions) {
            auto server = Player(serverKind, seed * 31);
            auto client = Player(clientKind, seed * 37);
            sim::Duel duel(seed, *server, *client,
                           {.serverExtensions = serverKelvane, .clientExtensions = clientKelvane});
            const sim::DuelResult result = duel.Play(kRounds);
            ASSERT_EQ(result.failure, "");
            const auto& link = duel.link();
            // Where the game was recorded stuck in a round nobody could draw in, two Kelvane
            // programs score that round and play on; and their own messages shift where the
            // recording's last round stopped by a move or two, so they play on to the recorded
            // length.
            const bool bothKelvane = serverKelvane && clientKelvane;
            while (bothKelvane &&
                   (link.GameText(sim::Side::kServer).size() < serverBytes ||
                    link.GameText(sim::Side::kClient).size() < clientBytes) &&
                   duel.Step()) {
            }
            SCOPED_TRACE(serverKind + " vs " + clientKind + ", seed " + std::to_string(seed) +
                         (serverKelvane ? "" : ", server plain") +
                         (clientKelvane ? "" : ", client plain"));
            EXPECT_FALSE(bothKelvane && result.stuck);
            for (const auto& [side, kelvane, bytes, digest] :
                 {std::tuple{sim::Side::kServer, serverKelvane, serverBytes, serverDigest},
                  std::tuple{sim::Side::kClient, clientKelvane, clientBytes, clientDigest}}) {
                const std::string& game = link.GameText(side);
                // A plain program sends nothing else at all; a Kelvane one announces itself.
                EXPECT_EQ(link.SentBytes(side) == game.size(), !kelvane);
                EXPECT_TRUE(bothKelvane ? game.size() >= bytes : game.size() == bytes)
                    << game.size();
                EXPECT_EQ(Fnv1a(std::string_view(game).substr(0, bytes)), digest);
            }
            if (serverKind == clientKind || !serverKelvane || !clientKelvane) continue;
            botRounds += result.rounds;
            botLead += (serverKind == "bot" ? 1 : -1) * (result.serverPoints - result.clientPoints);
        }
    }
    // The bot leads by 52.5 points a round here; over twenty 400-round arena runs
    // (`kelvane-arena --rounds 400 --seed 1`, 401, ..., 7601) its lead ranged from 43.5 to 56.2.
    // Below 30 it plays clearly worse.
    ASSERT_EQ(botRounds, 400);
    EXPECT_GT(static_cast<double>(botLead) / static_cast<double>(botRounds), 30.0);
}

}  // namespace
}  // namespace kelvane
