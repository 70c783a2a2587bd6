// SPDX-License-Identifier: GPL-3.0-or-later
#include "bot/options.h"

#include <arpa/inet.h>

#include <QCommandLineParser>
#include <QStringList>
#include <charconv>
#include <functional>
#include <limits>

namespace kelvane::bot {

namespace {

constexpr int kHighestPort = 65535;
constexpr int kLongestDelayMs = 60000;
constexpr int kLongestResumeSeconds = 86400;
constexpr int kMostPlayouts = 100000;
// Where the usage text's descriptions begin; a longer option and value takes a line of its own.
constexpr std::size_t kHelpColumn = 18;

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

// How an option's value is taken into the options, and what the refusal says it needs when the
// value does not fit.
struct Take {
    std::function<bool(const std::string& value, BotOptions& options)> into;
    std::string needs;  // empty for a switch, which takes no value
};

Take Switch(bool BotOptions::*field) {
    return {[field](const std::string&, BotOptions& o) { return o.*field = true; }, ""};
}

// A host name or address; one that looks like an option is an option whose value was left out.
Take Host(std::string BotOptions::*field) {
    return {[field](const std::string& value, BotOptions& o) {
                o.*field = value;
                return !value.empty() && !value.starts_with("-");
            },
            "a host"};
}

// A numeric address, as the system would listen on it; a name would need a lookup and could
// stand for several machines.
Take Address(std::string BotOptions::*field) {
    return {[field](const std::string& value, BotOptions& o) {
                unsigned char bytes[16];
                o.*field = value;
                return inet_pton(AF_INET, value.c_str(), bytes) == 1 ||
                       inet_pton(AF_INET6, value.c_str(), bytes) == 1;
            },
            "an IPv4 or IPv6 address"};
}

template <typename T, typename Field>
Take Whole(Field BotOptions::*field, T lowest, T highest, std::string needs) {
    return {[=](const std::string& value, BotOptions& o) {
                const std::optional<T> number = Number<T>(value, lowest, highest);
                if (number) o.*field = *number;
                return number.has_value();
            },
            std::move(needs)};
}

// One option of the command line: adding an option is a row here, its field in BotOptions and
// its entry in the manual page.
struct Row {
    std::string name;
    std::string value;  // how the usage text names the value; empty for a switch
    std::string help;   // the usage text's description, its lines broken with '\n'
    Take take;
};

const std::vector<Row>& Rows() {
    static const std::vector<Row> rows = {
        {"serve", "", "wait for the opponent to connect, and deal", Switch(&BotOptions::serve)},
        {"connect", "HOST",
         "connect to an opponent who serves on HOST (also HOST:PORT,\n"
         "[IPv6]:PORT or a bare IPv6 address)",
         Host(&BotOptions::host)},
        {"port", "N",
         "the game port (default 8895); with --serve, 0 lets the system\n"
         "choose a free port and names it on standard error",
         Whole(&BotOptions::port, 0, kHighestPort, "a number from 0 to 65535")},
        {"listen", "ADDRESS",
         "with --serve, listen on this address only (127.0.0.1: this\n"
         "machine alone can connect); default every address",
         Address(&BotOptions::listen)},
        {"rounds", "N", "leave after N finished rounds (default: play until the opponent\nleaves)",
         Whole(&BotOptions::rounds, 1, std::numeric_limits<int>::max(),
               "a whole number of 1 or more")},
        {"seed", "S", "repeatable shuffles (when serving) and play",
         Whole(&BotOptions::seed, std::uint64_t{0}, std::numeric_limits<std::uint64_t>::max(),
               "a whole number of 0 or more")},
        {"delay", "MS", "pause between the bot's own moves (default 700, 0 for none)",
         Whole(&BotOptions::delayMs, 0, kLongestDelayMs, "milliseconds from 0 to 60000")},
        {"resume-timeout", "S",
         "when the connection to a Kelvane opponent drops, how long to wait\n"
         "for the game to resume (default 60): serving, for the opponent\n"
         "to call again; connecting, calling the server again each second",
         Whole(&BotOptions::resumeSeconds, 1, kLongestResumeSeconds, "seconds from 1 to 86400")},
        {"open-router", "",
         "with --serve: ask the home router (UPnP or NAT-PMP) to forward\n"
         "the game's port for as long as the bot serves, and name the\n"
         "outside address on standard error",
         Switch(&BotOptions::openRouter)},
        {"plain", "",
         "speak only the game's own messages, as a program that knows\n"
         "nothing of Kelvane's: no announcement, no resuming, and a round\n"
         "nobody can draw in is never ended",
         Switch(&BotOptions::plain)},
        {"level", "L",
         "1: a greedy planner; 2 (default): plans judged by playing the\n"
         "rest of the round out in many deals of the unseen cards; 3: more\n"
         "plans, the play-outs spent on the close ones",
         Whole(&BotOptions::level, 1, 3, "1, 2 or 3")},
        {"playouts", "N",
         "levels 2, 3: deals played out per candidate move (default " +
             std::to_string(DefaultPlayouts(2)) + " at\nlevel 2, " +
             std::to_string(DefaultPlayouts(3)) + " at level 3)",
         Whole(&BotOptions::playouts, 1, kMostPlayouts, "a number from 1 to 100000")},
        {"think-ms", "MS",
         "levels 2, 3: time limit per decision (default " +
             std::to_string(LookaheadBudget{}.thinkMs) +
             ", 0 for none:\nwith --seed the same play on any machine)",
         Whole(&BotOptions::thinkMs, 0, kLongestDelayMs, "milliseconds from 0 to 60000")},
    };
    return rows;
}

// "--name" for a long option, "-n" for a short one.
std::string Dashed(const QString& name) {
    return (name.size() == 1 ? "-" : "--") + name.toStdString();
}

// Qt's own wording ("Missing value after '--port'.") in the style of the refusals above.
std::string Refusal(QString text) {
    if (text.endsWith('.')) text.chop(1);
    if (!text.isEmpty()) text[0] = text[0].toLower();
    return text.toStdString();
}

}  // namespace

ParsedOptions ParseOptions(const std::vector<std::string>& args) {
    ParsedOptions parsed;
    BotOptions& o = parsed.options;
    auto fail = [&](std::string error) {
        parsed.error = std::move(error);
        return parsed;
    };
    QCommandLineParser parser;
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption helpAll(QStringLiteral("help-all"));
    const QCommandLineOption version(QStringLiteral("version"));
    parser.addOption(version);
    std::vector<QCommandLineOption> options;
    for (const Row& row : Rows()) {
        options.emplace_back(QString::fromStdString(row.name), QString::fromStdString(row.help),
                             QString::fromStdString(row.value));
        parser.addOption(options.back());
    }
    QStringList line{QStringLiteral("kelvane-bot")};
    for (const std::string& arg : args) line << QString::fromStdString(arg);
    const bool lexed = parser.parse(line);

    // Asking for help, or else for the version, is answered whatever else the line holds.
    if (parser.isSet(help) || parser.isSet(helpAll)) {
        o.help = true;
        return parsed;
    }
    if (parser.isSet(version)) {
        o.version = true;
        return parsed;
    }
    if (!parser.unknownOptionNames().isEmpty())
        return fail("unknown option '" + Dashed(parser.unknownOptionNames().front()) + "'");
    if (!lexed) return fail(Refusal(parser.errorText()));
    if (!parser.positionalArguments().isEmpty())
        return fail("unexpected argument '" + parser.positionalArguments().front().toStdString() +
                    "'");
    bool connect = false;
    for (std::size_t i = 0; i < Rows().size(); ++i) {
        const Row& row = Rows()[i];
        if (!parser.isSet(options[i])) continue;
        connect |= row.name == "connect";
        const std::string value = parser.value(options[i]).toStdString();
        if (!row.take.into(value, o))
            return fail("--" + row.name + " needs " + row.take.needs + ", not '" + value + "'");
    }
    if (o.serve && connect) return fail("choose one of --serve and --connect");
    if (!o.serve && !connect) return fail("choose --serve or --connect HOST");
    if (connect && !o.listen.empty()) return fail("--listen is for --serve");
    if (connect && o.port == 0) return fail("--connect needs a port from 1 to 65535");
    if (connect && o.openRouter) return fail("--open-router goes with --serve");
    return parsed;
}

std::string UsageText() {
    std::string text =
        "Usage: kelvane-bot --serve [options]\n"
        "       kelvane-bot --connect HOST [options]\n"
        "\n"
        "Plays Kelvane against the window (or another kelvane-bot) over the network.\n"
        "An option's value follows it, or is joined to it with '=' (--port=8895).\n"
        "\n";
    auto entry = [&](std::string names, const std::string& help) {
        names = "  " + names;
        names += names.size() + 1 < kHelpColumn ? std::string(kHelpColumn - names.size(), ' ')
                                                : "\n" + std::string(kHelpColumn, ' ');
        std::string indented;
        for (char c : help)
            indented += c == '\n' ? "\n" + std::string(kHelpColumn, ' ') : std::string(1, c);
        text += names + indented + "\n";
    };
    for (const Row& row : Rows())
        entry("--" + row.name + (row.value.empty() ? "" : " " + row.value), row.help);
    entry("-h, --help, --help-all", "show this text");
    entry("--version", "show the version");
    return text +
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
