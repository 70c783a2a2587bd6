#include "bot/options.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace kelvane::bot {

namespace {

constexpr int kHighestPort = 65535;
constexpr int kLongestDelayMs = 60000;
constexpr int kLongestResumeSeconds = 86400;
constexpr int kMostPlayouts = 100000;

// The whole text as a number in [lowest, highest], or nothing.
template <typename T>
std::optional<T> Number(const std::string& text, T lowest, T highest) {
    T value{};
    const char* end = text.data() + text.size();
    const auto [at, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc{} || at != end || value < lowest || value > highest)
        return std::nullopt;
    return value;
}

}  // namespace

ParsedOptions ParseOptions(const std::vector<std::string>& args) {
    ParsedOptions parsed;
    BotOptions& o = parsed.options;
    bool connect = false;
    auto fail = [&](std::string error) {
        parsed.error = std::move(error);
        return parsed;
    };
    // Asking for help, or else for the version, is answered whatever else the line holds.
    if (std::find_if(args.begin(), args.end(), [](const std::string& a) {
            return a == "--help" || a == "-h";
        }) != args.end()) {
        o.help = true;
        return parsed;
    }
    if (std::find(args.begin(), args.end(), "--version") != args.end()) {
        o.version = true;
        return parsed;
    }
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        const bool flag = arg == "--serve" || arg == "--plain";
        const bool takesValue = arg == "--connect" || arg == "--port" || arg == "--rounds" ||
                                arg == "--seed" || arg == "--delay" || arg == "--resume-timeout" ||
                                arg == "--level" || arg == "--playouts" || arg == "--think-ms";
        if (!flag && !takesValue) {
            if (!arg.starts_with("-")) return fail("unexpected argument '" + arg + "'");
            return fail("unknown option '" + arg + "'");
        }
        if (takesValue && (i + 1 >= args.size() || args[i + 1].starts_with("--")))
            return fail(arg + " needs a value");
        const std::string value = takesValue ? args[++i] : "";
        if (arg == "--plain") {
            o.plain = true;
        } else if (arg == "--serve") {
            if (connect) return fail("choose one of --serve and --connect");
            o.serve = true;
        } else if (arg == "--connect") {
            if (o.serve || connect) return fail("choose one of --serve and --connect");
            connect = true;
            o.host = value;
        } else if (arg == "--port") {
            const auto port = Number(value, 0, kHighestPort);
            if (!port) return fail("--port needs a number from 0 to 65535, not '" + value + "'");
            o.port = *port;
        } else if (arg == "--rounds") {
            const auto rounds = Number(value, 1, std::numeric_limits<int>::max());
            if (!rounds)
                return fail("--rounds needs a whole number of 1 or more, not '" + value + "'");
            o.rounds = *rounds;
        } else if (arg == "--seed") {
            const auto seed =
                Number<std::uint64_t>(value, 0, std::numeric_limits<std::uint64_t>::max());
            if (!seed) return fail("--seed needs a whole number of 0 or more, not '" + value + "'");
            o.seed = *seed;
        } else if (arg == "--resume-timeout") {
            const auto seconds = Number(value, 1, kLongestResumeSeconds);
            if (!seconds)
                return fail("--resume-timeout needs seconds from 1 to 86400, not '" + value + "'");
            o.resumeSeconds = *seconds;
        } else if (arg == "--level") {
            const auto level = Number(value, 1, 3);
            if (!level) return fail("--level needs 1, 2 or 3, not '" + value + "'");
            o.level = *level;
        } else if (arg == "--playouts") {
            const auto playouts = Number(value, 1, kMostPlayouts);
            if (!playouts)
                return fail("--playouts needs a number from 1 to 100000, not '" + value + "'");
            o.playouts = *playouts;
        } else if (arg == "--think-ms") {
            const auto ms = Number(value, 0, kLongestDelayMs);
            if (!ms)
                return fail("--think-ms needs milliseconds from 0 to 60000, not '" + value + "'");
            o.thinkMs = *ms;
        } else {
            const auto delay = Number(value, 0, kLongestDelayMs);
            if (!delay)
                return fail("--delay needs milliseconds from 0 to 60000, not '" + value + "'");
            o.delayMs = *delay;
        }
    }
    if (!o.serve && !connect) return fail("choose --serve or --connect HOST");
    if (connect && o.host.empty()) return fail("--connect needs a host");
    if (connect && o.port == 0) return fail("--connect needs a port from 1 to 65535");
    return parsed;
}

std::string UsageText() {
    return "Usage: kelvane-bot --serve [options]\n"
           "       kelvane-bot --connect HOST [options]\n"
           "\n"
           "Plays Kelvane against the window (or another kelvane-bot) over the network.\n"
           "\n"
           "  --serve         wait for the opponent to connect, and deal\n"
           "  --connect HOST  connect to an opponent who serves on HOST\n"
           "  --port N        the game port (default 8895); with --serve, 0 lets the system\n"
           "                  choose a free port and names it on standard error\n"
           "  --rounds N      leave after N finished rounds (default: play until the opponent\n"
           "                  leaves)\n"
           "  --seed S        repeatable shuffles (when serving) and play\n"
           "  --delay MS      pause between the bot's own moves (default 700, 0 for none)\n"
           "  --resume-timeout S\n"
           "                  when the connection to a Kelvane opponent drops, how long to wait\n"
           "                  for the game to resume (default 60): serving, for the opponent\n"
           "                  to call again; connecting, calling the server again each second\n"
           "  --plain         speak only the game's own messages, as a program that knows\n"
           "                  nothing of Kelvane's: no announcement, no resuming, and a round\n"
           "                  nobody can draw in is never ended\n"
           "  --level L       1: a greedy planner; 2 (default): plans judged by playing the\n"
           "                  rest of the round out in many deals of the unseen cards; 3: more\n"
           "                  plans, the play-outs spent on the close ones\n"
           "  --playouts N    level 2: deals played out per candidate move (default " +
           std::to_string(LookaheadBudget{}.playouts) +
           ")\n"
           "  --think-ms MS   levels 2, 3: time limit per decision (default " +
           std::to_string(LookaheadBudget{}.thinkMs) +
           ", 0 for none:\n"
           "                  with --seed the same play on any machine)\n"
           "  --help          show this text\n"
           "  --version       show the version\n"
           "\n"
           "One line per finished round on standard output; chat from the opponent on standard\n"
           "error.\n";
}

std::string VersionText() {
    return "kelvane-bot " KELVANE_VERSION "\n";
}

std::string RoundLine(int round, int you, int opponent, int totalYou, int totalOpponent) {
    return "Round " + std::to_string(round) + ": you " + std::to_string(you) + ", opponent " +
           std::to_string(opponent) + ". Totals: you " + std::to_string(totalYou) + ", opponent " +
           std::to_string(totalOpponent) + ".";
}

std::string GameLine(int you, int opponent) {
    return std::string("Game: you ") + (you > opponent ? "won " : "lost ") + std::to_string(you) +
           " to " + std::to_string(opponent) + ".";
}

}  // namespace kelvane::bot
