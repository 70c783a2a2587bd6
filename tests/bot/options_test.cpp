// SPDX-License-Identifier: GPL-3.0-or-later
#include "bot/options.h"

#include <gtest/gtest.h>

#include <QRegularExpression>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "bot/seeds.h"

namespace kelvane::bot {
namespace {

// The options that differ from a bare command line's, in words; a refusal as "refused: why".
std::string Summary(const ParsedOptions& parsed) {
    if (!parsed.error.empty()) return "refused: " + parsed.error;
    const BotOptions& o = parsed.options;
    const BotOptions bare;
    std::string text = o.help ? "help" : o.version ? "version" : "";
    if (o.serve) text += " serve";
    if (o.openRouter) text += " open-router";
    if (!o.host.empty()) text += " host=" + o.host;
    if (o.port != bare.port) text += " port=" + std::to_string(o.port);
    if (!o.listen.empty()) text += " listen=" + o.listen;
    if (o.rounds) text += " rounds=" + std::to_string(*o.rounds);
    if (o.seed) text += " seed=" + std::to_string(*o.seed);
    if (o.delayMs != bare.delayMs) text += " delay=" + std::to_string(o.delayMs);
    if (o.level != bare.level) text += " level=" + std::to_string(o.level);
    if (o.playouts) text += " playouts=" + std::to_string(*o.playouts);
    if (o.thinkMs != bare.thinkMs) text += " think=" + std::to_string(o.thinkMs);
    return text;
}

TEST(BotOptions, ArgumentListsGiveTheirOptionsOrTheReasonTheyCannotBeUsed) {
    // The arguments, and the options they give or how the refusal's message begins.
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"--delay=0", "--seed", "0", "--serve", "--port", "0"}, " serve port=0 seed=0 delay=0"},
        {{"--connect", "10.0.0.2", "--port=65535", "--rounds", "1", "--seed",
          "18446744073709551615", "--delay", "60000"},
         " host=10.0.0.2 port=65535 rounds=1 seed=18446744073709551615 delay=60000"},
        {{"--serve", "--level", "1", "--playouts", "5", "--think-ms", "0"},
         " serve level=1 playouts=5 think=0"},
        {{"--open-router", "--serve"}, " serve open-router"},
        {{"--connect", "h", "--open-router"}, "refused: --open-router goes with --serve"},
        {{"--serve", "--listen", "127.0.0.1"}, " serve listen=127.0.0.1"},
        {{"--listen", "::1", "--serve"}, " serve listen=::1"},
        {{"--serve", "--listen", "localhost"}, "refused: --listen needs an IPv4 or IPv6 address"},
        {{"--connect", "h", "--listen", "127.0.0.1"}, "refused: --listen is for --serve"},
        {{"--port", "x", "-h"}, "help"},
        {{"--colour", "--help-all"}, "help"},
        {{"--serve", "--port", "x", "--version"}, "version"},
        {{"--version", "--help"}, "help"},
        {{"--serve", "--port", "65536"},
         "refused: --port needs a number from 0 to 65535, not '65536'"},
        {{"--serve", "--port=-1"}, "refused: --port needs a number"},
        {{"--serve", "--rounds", "0"}, "refused: --rounds needs a whole number"},
        {{"--serve", "--seed", "-3"}, "refused: --seed needs a whole number"},
        {{"--serve", "--seed", "18446744073709551616"}, "refused: --seed needs a whole number"},
        {{"--serve", "--delay", "60001"}, "refused: --delay needs milliseconds"},
        {{"--serve", "--resume-timeout", "0"}, "refused: --resume-timeout needs seconds"},
        {{"--serve", "--level", "4"}, "refused: --level needs 1, 2 or 3"},
        {{"--serve", "--playouts", "0"}, "refused: --playouts needs a number"},
        {{"--serve", "--think-ms", "60001"}, "refused: --think-ms needs milliseconds"},
        {{"--serve", "--colour", "red"}, "refused: unknown option '--colour'"},
        {{"--serve", "extra"}, "refused: unexpected argument 'extra'"},
        {{"--serve", "--port"}, "refused: missing value after '--port'"},
        {{"--serve=yes"}, "refused: unexpected value after '--serve'"},
        {{"--port", "--serve"}, "refused: --port needs a number from 0 to 65535, not '--serve'"},
        {{"--serve", "--connect", "h"}, "refused: choose one of --serve and --connect"},
        {{}, "refused: choose --serve or --connect"},
        {{"--connect", ""}, "refused: --connect needs a host"},
        {{"--connect", "--plain"}, "refused: --connect needs a host, not '--plain'"},
        {{"--connect", "h", "--port", "0"}, "refused: --connect needs a port"},
    };
    for (const auto& [args, expected] : cases) {
        std::string line;
        for (const std::string& arg : args) line += " '" + arg + "'";
        const std::string got = Summary(ParseOptions(args));
        if (expected.starts_with("refused"))
            EXPECT_TRUE(got.starts_with(expected)) << line << " gave " << got;
        else
            EXPECT_EQ(got, expected) << line;
    }
}

// The manual page is written by hand; an option added to the program must be described there too.
TEST(BotOptions, TheManualPageDescribesEveryOptionTheUsageTextLists) {
    std::ifstream file(KELVANE_BOT_MANUAL);
    ASSERT_TRUE(file) << KELVANE_BOT_MANUAL;
    const std::string page((std::istreambuf_iterator<char>(file)), {});
    const std::string usage = UsageText();
    static const QRegularExpression option("--([a-z]+)");
    const QString page16 = QString::fromStdString(page);
    int options = 0;
    for (const QRegularExpressionMatch& m : option.globalMatch(QString::fromStdString(usage))) {
        ++options;
        // An entry of the page's option list: a tagged paragraph whose bold tag is the option,
        // each hyphen a reader types written "\-".
        const QRegularExpression entry("\\.TP\n\\.B[IR]? \\\\-\\\\-" + m.captured(1) + "(?![a-z])");
        EXPECT_TRUE(entry.match(page16).hasMatch())
            << "no entry for --" << m.captured(1).toStdString();
    }
    EXPECT_GE(options, 8);
}

// With --seed, no decision of a level plays out its deals on the numbers that shuffled a round:
// the first number of each of a hundred rounds' shuffles and of a hundred decisions' play-outs
// have none in common. Each decision's play-outs are seeded from the level's generator, as the
// shuffles are from theirs.
TEST(BotSeeds, TheDecisionsNeverReplayTheShuffles) {
    for (const std::uint64_t seed : {0ULL, 1ULL, 3ULL, 4ULL}) {
        const auto shuffles = Shuffles(seed);
        std::set<std::uint64_t> shuffled;
        for (int round = 0; round < 100; ++round) shuffled.insert(shuffles()());
        std::mt19937_64 decisions(DecisionSeed(seed));
        for (int decision = 0; decision < 100; ++decision)
            ASSERT_FALSE(shuffled.contains(std::mt19937_64(decisions())()))
                << "seed " << seed << ", decision " << decision;
    }
}

}  // namespace
}  // namespace kelvane::bot
