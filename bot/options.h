// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bot/level3.h"
#include "wire/wire.h"

namespace kelvane::bot {

// Long enough for a person to follow each of the bot's moves on the table, short enough that a
// game does not drag.
inline constexpr int kDefaultDelayMs = 700;
// Long enough for a Wi-Fi blip or a restarted router, short enough that a bot whose opponent has
// really gone does not linger.
inline constexpr int kDefaultResumeSeconds = 60;

// What the command line asks of kelvane-bot.
struct BotOptions {
    bool help = false;
    bool version = false;
    bool serve = false;
    std::string host;      // the server to connect to, when not serving
    int port = kGamePort;  // 0 with --serve: a free port the system chooses, told on standard error
    std::string listen;    // serving: the one address to listen on; empty for every address
    std::optional<int> rounds;
    std::optional<std::uint64_t> seed;
    int delayMs = kDefaultDelayMs;
    int resumeSeconds = kDefaultResumeSeconds;
    bool plain = false;       // the game's own messages only, without Kelvane's
    bool openRouter = false;  // with --serve: ask the home router to forward the port
    // 1 the greedy planner, 2 the planner whose candidates are judged by play-outs, 3 the wider
    // search over them.
    int level = 2;
    // Levels 2 and 3's budget per decision: deals played out per candidate, and a time limit.
    std::optional<int> playouts;  // none: the level's own
    int thinkMs = LookaheadBudget{}.thinkMs;
};

// The options, or the reason they cannot be used (a message for standard error).
struct ParsedOptions {
    BotOptions options;
    std::string error;
};

// The arguments after the program's name.
ParsedOptions ParseOptions(const std::vector<std::string>& args);

std::string UsageText();
// "kelvane-bot" and the version of the game it belongs to, one line.
std::string VersionText();

// The lines a person or a script reads on standard output. Points are the bot's first.
std::string RoundLine(int round, int you, int opponent, int totalYou, int totalOpponent);
std::string GameLine(int you, int opponent);

}  // namespace kelvane::bot
