#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""One-line mutants: each is a slip a developer could make; the suite must catch it.

    python3 tools/mutants.py               # every mutant
    python3 tools/mutants.py --only M3,M7  # some
    python3 tools/mutants.py --list

Each mutant replaces one exact text (found exactly once in its file), builds the release
configuration without benchmarks in build/mutants, runs the suite with a 60-second limit per
test until its first failure, and restores the file. A mutant the suite does not catch is a
missing test. The results are printed as a table and written to build/mutants/results.md.
"""
import argparse
import os
import pathlib
import re
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent

# id, file, original text, replacement, what the slip does to the game
MUTANTS = [
    # The rules and the moves.
    ("M1", "game/scoring.cpp", "if (rank < kTen) return 5;", "if (rank <= kTen) return 5;",
     "a ten scores 5"),
    ("M2", "game/scoring.cpp", "meldHoldsTwo ? 5 : 15", "meldHoldsTwo ? 15 : 15",
     "an ace beside a two scores 15"),
    ("M3", "game/invariants.cpp", "if (n != 1) p.Add(", "if (n > 1) p.Add(",
     "the invariant checker misses a lost card"),
    ("M4", "game/moves.cpp", "if (seat == Seat::kRemote && !CardIsKnown(s, s.UpPile[i])) {",
     "if (seat == Seat::kRemote) {", "a card re-taken from the up pile is listed twice"),
    ("M5", "game/moves.cpp", "    s.HasDrawn = true;\n    TakenUp(s, seat) = 0;\n    return card;",
     "    s.HasDrawn = true;\n    return card;", "a stack draw leaves the taken-alone card"),
    ("M6", "game/moves.cpp", "if (taken > 0 && card == taken) return",
     "if (taken > 0 && card == taken && false) return",
     "the card taken alone may be discarded at once"),
    ("M7", "game/moves.cpp", "move.cards.size() < (newMeld ? 3u : 1u)",
     "move.cards.size() < (newMeld ? 2u : 1u)", "a new meld of two cards passes the count"),
    ("M8", "game/moves.cpp", "if (HandCount(s, seat) == 1 && CheckMeld(s, card, seat))",
     "if (HandCount(s, seat) == 2 && CheckMeld(s, card, seat))",
     "the meldable-last-card rule applies one card early"),
    ("M9", "game/moves.cpp", "if (must != 0 && content.list[i] == must) must = 0;",
     "if (must != 0 && content.list[i] != must) must = 0;",
     "the must-meld duty is cleared by any meld"),
    ("M10", "game/moves.cpp", "    Floating(s, seat) = false;\n}", "}\n",
     "a discard does not end the float"),
    ("M11", "game/moves.cpp", "card > kCardsInDeck || seen[card]", "card > kCardsInDeck",
     "a deal holding a card twice is accepted"),
    ("M12", "game/moves.cpp", "if (s.Stack[s.StackCount - 1] != drawn) return",
     "if (s.Stack[s.StackCount - 1] != drawn && false) return",
     "a stack draw naming another card is accepted"),
    ("M13", "game/moves.cpp", "if (position != top && !CheckMeld(s, card, seat))",
     "if (position + 1 < top && !CheckMeld(s, card, seat))",
     "the card just below the top may be taken without melding it"),
    ("M14", "game/meldability.cpp", "bool SetTest() const { return sameRank >= 3; }",
     "bool SetTest() const { return sameRank >= 2; }", "two of a rank count as meldable"),
    ("M15", "game/stock.cpp", "s.LocalCount = kDealtPerHand;", "s.LocalCount = kDealtPerHand - 1;",
     "a deal gives six cards"),
    # The wire.
    ("M16", "wire/wire.cpp", "if (text.size() != 2 ||", "if (text.size() < 2 ||",
     "a number of three digits is read as two"),
    ("M17", "wire/wire.cpp", "return code >= 1 && code <= kCardsInDeck;",
     "return code >= 1 && code <= kCardsInDeck + 1;", "card code 53 is readable"),
    ("M18", "wire/wire.cpp", "return Waiting() > kFrameLimit + 1 ? Cut::kTooLong",
     "return Waiting() > kFrameLimit + 2 ? Cut::kTooLong", "an open frame may run one past the limit"),
    ("M19", "wire/wire.cpp", "static_cast<int>(text.size() / 3) > most",
     "static_cast<int>(text.size() / 3) > most + 1", "a meld of 14 cards is readable"),
    ("M20", "wire/wire.cpp", 'return ReplaceAll(ReplaceAll(text, "{RPAREN}", ")")',
     'return ReplaceAll(ReplaceAll(text, "{RPAREN}", "(")', "an escaped ) arrives as ("),
    ("M21", "wire/wire.cpp", "    buffer_.erase(0, start_);\n", "",
     "cut frames are never dropped from the buffer"),
    # The engine.
    ("M22", "engine/received_moves.cpp", "return CanDiscard(s, Seat::kRemote, r.number);",
     "return {};", "a received discard is not judged"),
    ("M23", "engine/received_moves.cpp", "return CanLayMeld(s, Seat::kRemote, kNewColumn, r.cards);",
     "return {};", "a received new meld is not judged"),
    ("M24", "engine/session.cpp", "        state.RoundInPlay = state.MyTurn = false;\n", "",
     "a closed session leaves the turn in play"),
    ("M25", "engine/session.cpp", "if (socket_.State(index) != kSocketClosed) socket_.Close(index);",
     "if (false) socket_.Close(index);", "a refused message leaves the connection open"),
    ("M26", "engine/play.cpp", "        if (state_.Role == kRoleServer) ShuffleStack();",
     "        if (state_.Role != kRoleServer) ShuffleStack();", "the client deals the next round"),
    ("M27", "engine/play.cpp", "        case Refusal::kNotInHand:\n            return;",
     "        case Refusal::kNotDrawn:\n            return;", "'Please Draw First' is not shown"),
    ("M28", "engine/local_discard.cpp", "const bool warn = warnMeld_ && CheckMeld(state_, card);",
     "const bool warn = CheckMeld(state_, card);", "the meldable warning ignores its option"),
    # The window's layout and words.
    ("M29", "ui/card_layout.h", "return frameHeight * 0.3;", "return frameHeight * 0.4;",
     "clubs stand at the diamonds' height"),
    ("M30", "ui/card_layout.h", "return frameWidth / 85 + cardWidth * 0.4 * i;",
     "return frameWidth / 85 + cardWidth * 0.5 * i;", "up-pile cards spread too wide"),
    ("M31", "ui/deck.cpp", "&& code != kBack && code != kEmptyStack) {", "&& code != kBack) {",
     "the empty-stack mark is drawn blank"),
    ("M32", "words/texts.cpp", "return f.message == MessageKind::kDiscard",
     "return f.message != MessageKind::kDiscard", "a refused discard is worded as a meld's"),
    ("M33", "words/texts.cpp", 'hasDrawn ? "Discard" : "Draw"', 'hasDrawn ? "Draw" : "Discard"',
     "the status line asks for the wrong step"),
    # The bot and the socket.
    ("M34", "bot/level1.cpp", "points - outlook_.KeptCost(kept) - outlook_.Denial(card)",
     "points - outlook_.KeptCost(kept) + outlook_.Denial(card)",
     "the bot's judgement of a discard flips a sign"),
    ("M35", "bot/main.cpp", "if (sessionClosed) return Leave(kExitFailure);",
     "if (sessionClosed) return Leave(0);", "the bot leaves a refused session with status 0"),
    ("M36", "qtnet/qt_socket.cpp", "if (index == 0 && Listening()) return server_->serverPort();",
     "if (index == 1 && Listening()) return server_->serverPort();",
     "the listening port is reported for the wrong socket"),
    # Between two Kelvane programs.
    ("M37", "game/scoring.cpp", "s.StackCount == 0 && s.UpCount == 0;", "s.StackCount == 0;",
     "a round ends when only the stack is empty"),
    ("M38", "engine/link.cpp", "if (Agreed()) return true;",
     "if (!Agreed()) return true;",
     "a round nobody can draw in is scored with a plain program"),
    ("M39", "engine/link.cpp", "for (const std::string& frame : resume_.kept()) socket_.Send(index, frame);",
     "for (const std::string& frame : resume_.kept()) (void)frame;",
     "a resume sends nothing again"),
    ("M40", "engine/resume.cpp", "firstKept_ <= theirApplied", "firstKept_ < theirApplied",
     "a resume sends again a message the other side has applied"),
    ("M41", "engine/session.cpp", "if (Counted(message)) resume_.Applied();", "",
     "received messages are not counted"),
    ("M42", "engine/digests.cpp", "if (lastRound_ && lastRound_->Agrees(theirs)) return std::nullopt;",
     "return std::nullopt;", "round digests are not compared"),
    ("M43", "engine/digests.cpp", "if (StateDigest(state, ServerSeat(state)) == theirs.state)",
     "if (true || StateDigest(state, ServerSeat(state)) == theirs.state)",
     "a resume's digest is not compared"),
    ("M44", "engine/caller_desk.cpp", "resume_.Proves(r.proof, caller->challenge)) {",
     "!r.proof.mac.empty()) {", "a caller's proof is not checked"),
    ("M45", "wire/wire.h", '{MessageKind::kRoundDigest, "K:ROUND:"},',
     '{MessageKind::kRoundDigest, "K:ROUND:", false},', "round digests are not counted"),
    ("M46", "engine/session.cpp", "if (CanResume()) return LinkLost();", "",
     "a dropped connection ends the game"),
    ("M48", "engine/link.cpp", "    steps([&] { SendNow(ByeMessage()); });\n", "",
     "a quitting program does not say so"),
    ("M49", "engine/resume.cpp", "    keeping_ = false;\n", "",
     "messages are kept for a program that cannot resume"),
    ("M50", "game/state_digest.cpp", "    for (Int16 i = 0; i < s.StackCount; ++i) fnv.Add(s.Stack[i]);\n",
     "", "the digest leaves out the stock's order"),
    ("M51", "game/moves.cpp", "!std::equal(content.list.begin(), content.list.begin() + content.count.value(),",
     "!std::is_permutation(content.list.begin(), content.list.begin() + content.count.value(),",
     "a received meld listed in an order the rules do not lay is accepted"),
    # Resuming only for the client that left, and the announcement's rules.
    ("M52", "engine/caller_desk.cpp", "const std::string challenge = resume_.NewChallenge();",
     "const std::string challenge(kKeyDigits, '0');",
     "every caller gets the same challenge, so a proof heard once opens the door again"),
    ("M53", "engine/credential.cpp",
     "const std::string secret = std::string(serverKey) + std::string(clientKey);",
     "const std::string secret = std::string(serverKey) + std::string(clientKey.substr(0, 0));",
     "the client's half is left out of the secret"),
    ("M54", "engine/session.cpp",
     "if (extension && !Agreed() && !(first && kind == MessageKind::kHello)) return;",
     "if (extension && !Agreed() && kind != MessageKind::kHello) return;",
     "an announcement after another message is taken"),
    ("M55", "engine/session.cpp", "    if (link_.peerQuit) return;\n", "",
     "moves after the opponent's quit are applied"),
    ("M56", "engine/link.cpp", "    if (hello.version != kExtensionVersion) return resume_.StopKeeping();",
     "    if (false) return resume_.StopKeeping();", "an announcement of another version is taken"),
    # Hosting across homes: the address forms and the router's door.
    ("M57", "portmap/address.cpp", "in(0x64400000, 10)", "in(0x64400000, 11)",
     "half of a carrier's shared range counts as reachable from outside"),
    ("M58", "portmap/address.cpp",
     "if (close == std::string::npos || close == 1) return std::nullopt;",
     "if (close == std::string::npos) return std::nullopt;", "\"[]:8896\" is taken as an address"),
    ("M59", "portmap/router.cpp", "if (rc == kConflictInMappingEntry) continue;",
     "if (rc == kConflictInMappingEntry) break;",
     "a router port held by another machine is the end of it (router lab, as root)"),
    ("M60", "portmap/router_door.cpp",
     "        const RouterTurn turn(s->calls.family);\n        s->calls.giveBack(granted.mapping);\n    }\n    Finish(*s);",
     "    }\n    Finish(*s);", "the router's port is never given back (router lab, as root)"),
    # The welcome, the keyboard and the computer's seat.
    ("M61", "ui/computer_opponent.cpp", '"--serve", "--listen", "127.0.0.1", "--port", "0"',
     '"--serve", "--port", "0"', "the computer's bot listens on every address"),
    ("M62", "ui/form1.cpp", "welcome_->setVisible(enabled);", "welcome_->setVisible(true);",
     "the welcome stays over a game"),
    ("M63", "ui/table_keys.cpp", "table_.imgMeld_Click(Int16((i - 1) * kSlotsPerColumn))",
     "table_.imgMeld_Click(Int16(i * kSlotsPerColumn))", "Enter lays off onto the next meld"),
    ("M64", "ui/table_keys.cpp", "if (row_ == Row::kHand) Act(kMouseRight);",
     "if (row_ == Row::kHand) Act(kMouseLeft);", "the discard key selects instead"),
    ("M65", "words/texts.cpp", '(selected ? ", selected" : "")', '(selected ? "" : "")',
     "a reader never hears that a card is selected"),
    ("M66", "ui/form1_views.cpp",
     "    announcer_->Announce(QString::fromStdString(OpponentMoveText(move)));\n", "",
     "the opponent's move is not announced"),
    ("M67", "qtnet/qt_socket.cpp", "listenAddress_.empty()", "true",
     "--listen is ignored: the bot listens on every address"),
    ("M68", "ui/table_keys.cpp", "row = std::max(0, row - 1);", "row = std::max(0, row);",
     "Up never leaves the row"),
    ("M77", "bot/main.cpp", "round.remote.value(),\n                               s.LocalScore.value(), s.RemoteScore.value())",
     "round.remote.value(),\n                               s.RemoteScore.value(), s.LocalScore.value())",
     "the bot's round line gives the totals the wrong way round"),
    # What the window makes after its first frame, and its socket before the network is loaded.
    ("M78", "ui/form1_views.cpp", "slot->setGeometry(QRect(QPoint(x, y), first.size()));",
     "(void)first;\n    slot->move(x, y);",
     "a hand's later cards keep the size they were made with when the window grows"),
    ("M79", "ui/form1_views.cpp",
     "        if ((local && s.LocalCount > 1) || (remote && s.RemoteCount > 1)) MakeCardSlots();\n",
     "", "a hand dealt before the first frame has no slots for its cards"),
    ("M80", "ui/lazy_socket.cpp", "if (onClose) onClose(index);", "(void)index;",
     "the window never hears that the peer closed the line"),
    # The open door: callers who never played, the room callers wait in, text from the network.
    ("M81", "engine/session.cpp",
     "if (play_.state().Role == kRoleServer && !link_.peerKnown) return ForgetCaller();", "",
     "a caller who leaves without a word ends the serving program"),
    ("M82", "engine/caller_room.cpp", "sameAddress) >= kPerAddress)",
     "sameAddress) >= kCallerSockets)", "one address may fill the room of callers"),
    ("M83", "engine/link.cpp", "    socket_.Close(connection_);\n    gate_.Forget", "    gate_.Forget",
     "the dead connection stays open beside the client who proved himself"),
    ("M84", "engine/link.cpp", "link_.askedAbout.contains(claim->address)", "false",
     "the player is asked about the same address again and again"),
    ("M85", "engine/caller_room.cpp", "if (--c.ticksLeft <= 0)", "if (--c.ticksLeft < -1000)",
     "a silent caller holds his place for ever"),
    ("M86", "engine/transcript.cpp", " || text_.size() + line.size() > kMostBytes", "",
     "long chat lines grow the transcript up to 2000 frames"),
    ("M87", "ui/form1.cpp", "box.setTextFormat(Qt::PlainText);", "",
     "a box shows the peer's markup as a link"),
    ("M88", "bot/main.cpp", "std::cerr << Printable(line) << std::endl;",
     "std::cerr << line << std::endl;", "the bot writes the peer's terminal commands"),
    ("M89", "qtnet/qt_socket.cpp", "        KeepAlive(*socket);\n", "",
     "a line that died without a close goes unnoticed for many minutes"),
    ("M90", "engine/session.cpp", "if (settings.opponentWatched) return CloseSession();", "",
     "the computer player's quit closes the window"),
    ("M91", "engine/link.cpp", "if (link_.awaitingChallenge && r.readable && r.kind == MessageKind::kHello",
     "if (false && r.readable && r.kind == MessageKind::kHello",
     "a client calling back a restarted server is not told its game is gone"),
    # Level 3's successive halving.
    ("M69", "bot/level3.cpp", "return margin[a] > margin[b]; });",
     "return margin[a] < margin[b]; });",
     "level 3 keeps the worse half of its candidates"),
    ("M70", "bot/level3.cpp", "(margin[a] == margin[b] && a > b)",
     "(margin[a] == margin[b] && a < b)",
     "level 3 takes the last of equal candidates, not the first level's preference"),
    ("M71", "bot/level3.cpp", "static_cast<long long>(count) / rounds;",
     "static_cast<long long>(count);", "level 3 spends its whole budget in every round of halving"),
    # The simulated round level 2 plays out.
    ("M72", "bot/fast_round.cpp",
     "if ((ranks & ace) && (ranks & king)) return Contiguous(ranks & ~ace);",
     "if ((ranks & ace) && (ranks & king)) return Contiguous(ranks);",
     "the simulated round refuses a run the ace closes above the king"),
    # Level 3's reading of the opponent's hand and its play-outs.
    ("M73", "bot/fast_round.cpp", "if ((wide & (wide >> 1) & (wide >> 2)) != 0) return true;",
     "if ((wide & (wide >> 1)) != 0) return true;", "two cards in a row count as a run in a hand"),
    ("M74", "bot/level2.cpp", "settled_ = reading.read && (", "settled_ = !reading.read && (",
     "level 3 deals the opponent's hand as if it had read nothing"),
    ("M75", "bot/fast_round.cpp", "(!live || (sameRank & ~held & ~gone) != 0)",
     "(!live || (sameRank & ~held) != 0)", "level 3's play-outs keep a pair whose rank is gone"),
    ("M76", "bot/level2.cpp", "(stackBefore < kStockAfterDeal ||", "(stackBefore <= kStockAfterDeal ||",
     "level 3 reads a meld-free hand into the opponent before his first turn"),
    # What a player sees of its seat, and the clicks it makes.
    ("M92", "headless/gestures.cpp", "    if (draw.fromStack)", "    if (!draw.fromStack)",
     "a chosen draw clicks the other pile"),
    ("M93", "headless/policy.cpp", "seen.Selected[i] = table.IsSelected(i);",
     "seen.Selected[i] = false;", "a player's view forgets the cards he has raised"),
    ("M94", "game/seat_view.cpp", "      KnownCards(table.KnownCards),", "",
     "a seat's view leaves out the cards the opponent took face up"),
    ("M95", "game/seat_view.cpp", "    s.MustMeldCard = MustMeldCard;", "",
     "the pictured table forgets the card that must be melded"),
    ("M96", "headless/gestures.cpp", "clicks.imgMeld_Click(Int16(meld.column * kSlotsPerColumn));",
     "clicks.imgMeld_Click(Int16(meld.column));", "a lay-off clicks a slot number as a column"),
    ("M97", "headless/gestures.cpp", "Int16(static_cast<int>(at - hand));",
     "Int16(static_cast<int>(at - hand) + 1);", "a discard's right press lands on the next card"),
    ("M98", "bot/level2.cpp",
     "const bool circling = std::find(drawnAt_.begin(), drawnAt_.end(), here) != drawnAt_.end();",
     "const bool circling = false;", "two levels passing the same cards circle for ever"),
    ("M99", "bot/seeds.cpp", "    return std::mt19937_64(words)();", "    return *seed;",
     "a seeded bot's first decision replays the numbers that shuffled round 1"),
    # The engine's rooms.
    ("M100", "engine/gate.h", "bool HoldClose(int socket) { return Hold(closes_, socket); }",
     "bool HoldClose(int socket) { return socket < 0; }",
     "the opponent's close is heard in the middle of a handler, before the data he sent ahead of it"),
    ("M101", "engine/gate.cpp", "    if (depth_ == 0) return false;", "    if (depth_ < 0) return false;",
     "a socket event with no handler running waits for ever"),
    ("M102", "engine/caller_desk.cpp", "return caller && caller->order == claim.order;",
     "return caller != nullptr;",
     "a caller who took the place of the one the player was asked about gets the game"),
    ("M103", "engine/digests.cpp", "if (!syncAt_ || applied < *syncAt_) return std::nullopt;",
     "if (!syncAt_) return std::nullopt;",
     "a resume's digest goes out before this side has caught up"),
    ("M104", "bot/main.cpp",
     "for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, SIG_DFL);", ";",
     "a bot told twice to end still waits for a frozen router"),
    ("M105", "ui/run_window.cpp",
     "for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, SIG_DFL);", ";",
     "a window told twice to end still waits for a frozen router"),
]


def run(command, **kwargs):
    return subprocess.run(command, cwd=ROOT, capture_output=True, text=True, **kwargs)


def configure(build):
    run(["cmake", "-S", ".", "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
         "-DKELVANE_BUILD_BENCH=OFF"], check=True)


def try_mutant(build, mutant):
    mid, path, original, replacement, _ = mutant
    file = ROOT / path
    text = file.read_text()
    if text.count(original) != 1:
        return {"result": f"text found {text.count(original)} times", "failed": "", "seconds": 0}
    start = time.time()
    try:
        file.write_text(text.replace(original, replacement))
        built = run(["cmake", "--build", build, "-j2"])
        if built.returncode != 0:
            return {"result": "did not compile", "failed": "", "seconds": time.time() - start}
        # The first failing test is enough to call a mutant caught.
        tested = run(["ctest", "--test-dir", build, "-j2", "--timeout", "60", "--stop-on-failure"],
                     env=dict(os.environ, QT_QPA_PLATFORM="offscreen"))
        failed = re.findall(r"^\s*\d+ - (\S+)", tested.stdout.split("tests FAILED")[-1],
                            re.MULTILINE) if tested.returncode != 0 else []
        result = "caught" if tested.returncode != 0 else "NOT CAUGHT"
        if "Timeout" in tested.stdout:
            result += " (timeout)"
        return {"result": result, "failed": ", ".join(failed[:4]), "seconds": time.time() - start}
    finally:
        file.write_text(text)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--only", help="comma-separated ids")
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--build-dir", default="build/mutants")
    args = parser.parse_args()
    chosen = [m for m in MUTANTS if not args.only or m[0] in args.only.split(",")]
    if args.list:
        for mid, path, _, _, what in chosen:
            print(f"{mid:4} {path:28} {what}")
        return 0
    configure(args.build_dir)
    baseline = run(["cmake", "--build", args.build_dir, "-j2"])
    if baseline.returncode != 0:
        print(baseline.stdout[-2000:])
        return 1
    rows = []
    for mutant in chosen:
        outcome = try_mutant(args.build_dir, mutant)
        rows.append((mutant, outcome))
        print(f"{mutant[0]:4} {outcome['result']:18} {outcome['seconds']:5.0f} s  {mutant[4]}"
              f"  [{outcome['failed']}]", flush=True)
    run(["cmake", "--build", args.build_dir, "-j2"])
    if run(["git", "diff", "--quiet"]).returncode != 0:
        print("warning: the working tree differs from the last commit after restoring")
    lines = ["| id | file | mutant | result | caught by |", "| --- | --- | --- | --- | --- |"]
    for (mid, path, _, _, what), outcome in rows:
        lines.append(f"| {mid} | {path} | {what} | {outcome['result']} | {outcome['failed']} |")
    caught = sum(1 for _, o in rows if o["result"].startswith("caught"))
    lines.append(f"\n{caught} of {len(rows)} caught")
    report = "\n".join(lines)
    (ROOT / args.build_dir / "results.md").write_text(report + "\n")
    print(report)
    return 0


if __name__ == "__main__":
    sys.exit(main())
