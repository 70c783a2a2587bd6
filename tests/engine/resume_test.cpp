// SPDX-License-Identifier: GPL-3.0-or-later
// What a session keeps to resume, without a table: the counts and kept messages a resume sends
// again, the proof only the two halves of the secret make, and the room of callers a waiting
// server holds.

#include "engine/resume.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "engine/caller_room.h"
#include "engine/credential.h"

namespace kelvane {
namespace {

// The same bytes every run: keys numbered in the order they are asked for.
class CountedSecrets : public Secrets {
  public:
    std::string RandomKey() override {
        return std::string(kKeyDigits - 1, '0') + static_cast<char>('a' + made++);
    }
    std::string Mac(std::string_view serverKey, std::string_view clientKey,
                    std::string_view challenge, long applied, long sent) override {
        return ProofMac(serverKey, clientKey, challenge, applied, sent);
    }
    int made = 0;
};

TEST(Resume, KeepsWhatTheOpponentHasNotConfirmedAndFitsOnlyCountsItCanGoOnFrom) {
    CountedSecrets secrets;
    Resume r(secrets);
    for (const char* frame : {"(a)", "(b)", "(c)", "(d)"}) r.Sent(frame);
    r.Applied();
    r.Applied();
    r.Confirmed(1);
    EXPECT_EQ(r.kept(), (std::deque<std::string>{"(b)", "(c)", "(d)"}));
    // Ours he applied, his he sent: whether the resume can go on from what was kept.
    const std::tuple<long, long, bool> counts[] = {
        {1, 2, true},   // he missed three of ours: all are kept
        {4, 5, true},   // he has all of ours and sent more than we applied
        {0, 2, false},  // he asks for one we no longer keep
        {5, 2, false},  // he applied more than we sent
        {4, 1, false},  // he sent fewer than we applied
    };
    for (const auto& [theirApplied, theirSent, fits] : counts)
        EXPECT_EQ(r.Fits(theirApplied, theirSent), fits) << theirApplied << " " << theirSent;
    r.StopKeeping();
    r.Sent("(e)");
    EXPECT_TRUE(r.kept().empty()) << "nothing is kept for a program that is not Kelvane";
    EXPECT_EQ(r.sent(), 5);
    r.Clear();
    EXPECT_EQ(r.sent() + r.applied(), 0);
    r.Sent("(f)");
    EXPECT_EQ(r.kept().size(), 1u) << "a new session keeps again";
}

TEST(Resume, OnlyTheClientWithBothHalvesOfTheSecretAnswersAChallenge) {
    CountedSecrets secrets;
    Resume server(secrets), client(secrets), stranger(secrets);
    client.TakeTheirKey(server.OurKey());
    server.TakeTheirKey(client.OurKey());
    stranger.TakeTheirKey(server.OurKey());
    stranger.OurKey();
    client.Sent("(x)");
    const std::string challenge = server.NewChallenge();
    const Proof proof = client.Answer(challenge);
    EXPECT_EQ(proof.sent, 1);
    EXPECT_TRUE(server.Proves(proof, challenge));
    EXPECT_FALSE(server.Proves(proof, server.NewChallenge())) << "a proof heard once opens nothing";
    EXPECT_FALSE(server.Proves(stranger.Answer(challenge), challenge));
    Proof moved = proof;
    moved.applied = 7;
    EXPECT_FALSE(server.Proves(moved, challenge)) << "the counts are inside the hash";
}

// One address holds two callers at most, its oldest making way; a full room is the table's to
// make room in; callers whose ticks run out leave.
TEST(CallerRoom, OneAddressHoldsItsShareAndSilentCallersLeaveInTime) {
    CallerRoom room;
    std::vector<std::optional<int>> evicted;
    const auto admit = [&](const std::string& address) {
        const std::optional<int> socket = room.FreeSocket(kFirstCallerSocket);
        EXPECT_TRUE(socket);
        evicted.push_back(room.Admit(socket.value_or(0), address, "challenge"));
        return socket.value_or(0);
    };
    const int client = admit("198.51.100.9");
    EXPECT_EQ(client, kFirstCallerSocket + 1) << "the busy socket is not handed out";
    const int first = admit("203.0.113.5");
    admit("203.0.113.5");
    admit("203.0.113.5");
    EXPECT_EQ(evicted.back(), first);
    EXPECT_EQ(std::ranges::count_if(evicted, [](const auto& e) { return !e; }), 3);
    EXPECT_TRUE(room.On(client));
    while (room.FreeSocket(kFirstCallerSocket)) admit("192.0.2." + std::to_string(evicted.size()));
    EXPECT_EQ(room.OldestSocket(), client);
    for (int tick = 1; tick < CallerRoom::kTicksToAnswer; ++tick) EXPECT_TRUE(room.Tick().empty());
    EXPECT_EQ(room.Tick().size(), static_cast<std::size_t>(kCallerSockets - 1));
    EXPECT_TRUE(room.empty());
}

}  // namespace
}  // namespace kelvane
