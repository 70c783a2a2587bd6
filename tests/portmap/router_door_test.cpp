// SPDX-License-Identifier: GPL-3.0-or-later
#include "portmap/router_door.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "words/router_texts.h"

namespace kelvane {
namespace {

using namespace std::chrono_literals;

// A router played by the test: its answer to the request, its answers to the renewals in turn
// (yes once they run out), and a give-back the test may hold up. Everything it is asked and
// everything the door tells is written down, in order.
class ScriptedRouter {
  public:
    explicit ScriptedRouter(DoorReport answer, std::deque<bool> renewals = {})
        : answer_(std::move(answer)), renewals_(std::move(renewals)) {}

    RouterCalls Calls() {
        RouterCalls calls;
        calls.ask = [this](int port, int, std::chrono::steady_clock::time_point) {
            Granted granted{answer_, {}};
            granted.report.insidePort = port;
            if (answer_.outcome != DoorOutcome::kRefused &&
                answer_.outcome != DoorOutcome::kNoAnswer)
                granted.mapping = {
                    Mapping::By::kNatPmp, port, answer_.outsidePort, "", "", "", 1, ""};
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return !holdAsk; });
            lock.unlock();
            Note("ask");
            return granted;
        };
        calls.renew = [this](const Mapping&, int) {
            std::unique_lock lock(mutex_);
            const bool yes = renewals_.empty() || renewals_.front();
            if (!renewals_.empty()) renewals_.pop_front();
            lock.unlock();
            Note(yes ? "renew" : "refused");
            return yes;
        };
        calls.giveBack = [this](const Mapping&) {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return !holdGiveBack; });
            lock.unlock();
            Note("give back");
        };
        return calls;
    }

    RouterDoor::Tell Tell() {
        return [this](const DoorReport& report) { Note("told " + DoorSentence(report)); };
    }

    void Note(const std::string& what) {
        const std::lock_guard lock(mutex_);
        log_.push_back(what);
        changed_.notify_all();
    }

    // Holds the answer to the request, or the give-back, until the test lets it go.
    void Hold(bool& what, bool hold) {
        const std::lock_guard lock(mutex_);
        what = hold;
        changed_.notify_all();
    }
    bool holdAsk = false;
    bool holdGiveBack = false;

    // Waits until `done` holds for the log; a router that never gets there fails the test at
    // once with what it was asked.
    ::testing::AssertionResult AwaitLog(
        const std::function<bool(const std::vector<std::string>&)>& done, const char* what) {
        std::unique_lock lock(mutex_);
        if (changed_.wait_for(lock, 10s, [&] { return done(log_); }))
            return ::testing::AssertionSuccess();
        std::string seen;
        for (const std::string& line : log_) seen += "\n  " + line;
        return ::testing::AssertionFailure() << "never " << what << "; the router saw:" << seen;
    }

    std::vector<std::string> Log() {
        const std::lock_guard lock(mutex_);
        return log_;
    }

  private:
    DoorReport answer_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<bool> renewals_;
    std::vector<std::string> log_;
};

int Count(const std::vector<std::string>& log, const std::string& line) {
    return static_cast<int>(std::count(log.begin(), log.end(), line));
}

const DoorReport kOpened{DoorOutcome::kOpen, "203.0.113.7", 8895, 8895, "NAT-PMP", 3600};
// Renewals come at once in these tests; the door renews a few times before the test looks.
constexpr LeaseTimes kQuickLease{3600, 1ms, 1ms, 2};

// The lease is renewed; a renewal the router refuses is asked again, and only when every retry
// is refused is the player told that players outside can no longer reach him. The port is given
// back in every case, once.
TEST(RouterDoor, ARefusedRenewalIsAskedAgainAndToldOnlyWhenEveryRetryFails) {
    DoorReport lostReport = kOpened;
    lostReport.outcome = DoorOutcome::kLost;
    const std::string lost = "told " + DoorSentence(lostReport);
    const std::string opened = "told " + DoorSentence(kOpened);
    struct Case {
        const char* name;
        std::deque<bool> renewals;
        bool lost;
    } cases[] = {
        {"renewed every time", {}, false},
        {"refused, then renewed", {false, true}, false},
        {"refused as often as it is retried, then renewed", {false, false, true}, false},
        {"refused once more than it is retried", {false, false, false}, true},
        {"renewed, then refused every time", {true, false, false, false}, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ScriptedRouter router(kOpened, c.renewals);
        auto door = std::make_unique<RouterDoor>(8895, router.Tell(), router.Calls(), kQuickLease);
        // A door still held is stopped once renewed; a lost one gives back on its own.
        if (!c.lost) {
            ASSERT_TRUE(router.AwaitLog([&](const auto& log) { return Count(log, "renew") >= 3; },
                                        "renewed"));
            door.reset();
        }
        ASSERT_TRUE(router.AwaitLog([&](const auto& log) { return Count(log, "give back") > 0; },
                                    "gave back"));
        // The router outlives the door's thread.
        door.reset();
        ASSERT_TRUE(AwaitGiveBacks(10s));
        const auto log = router.Log();
        EXPECT_EQ(log.front(), "ask");
        EXPECT_EQ(Count(log, opened), 1);
        EXPECT_EQ(Count(log, lost), c.lost ? 1 : 0);
        EXPECT_EQ(Count(log, "give back"), 1);
        EXPECT_EQ(log.back(), "give back");
        if (c.lost) {  // the first refusal and every retry
            EXPECT_EQ(Count(log, "refused"), kQuickLease.retries + 1);
        }
    }
}

// A yes that is no door players outside can use is given back at once and never renewed; a
// router that said no holds nothing to give back.
TEST(RouterDoor, WhatIsNoDoorIsGivenBackAtOnceAndNeverRenewed) {
    const DoorReport answers[] = {
        {DoorOutcome::kShared, "192.168.1.1", 8895, 8895, "UPnP", 3600},
        {DoorOutcome::kNoDoor, "0.0.0.0", 8895, 8895, "NAT-PMP", 3600},
        {DoorOutcome::kRefused, "", 0, 8895, "UPnP", 0},
        {DoorOutcome::kNoAnswer, "", 0, 8895, "", 0},
    };
    for (const DoorReport& answer : answers) {
        SCOPED_TRACE(DoorSentence(answer));
        ScriptedRouter router(answer);
        const bool held =
            answer.outcome == DoorOutcome::kShared || answer.outcome == DoorOutcome::kNoDoor;
        {
            RouterDoor door(8895, router.Tell(), router.Calls(), kQuickLease);
            ASSERT_TRUE(router.AwaitLog(
                [](const auto& log) { return !log.empty() && log.back().starts_with("told "); },
                "told"));
        }
        ASSERT_TRUE(AwaitGiveBacks(10s));
        std::vector<std::string> expected{"ask"};
        if (held) expected.push_back("give back");
        expected.push_back("told " + DoorSentence(answer));
        EXPECT_EQ(router.Log(), expected);
    }
}

// Stopping never waits for the router: the door goes while its give-back is still under way,
// tells nothing after it has gone, and the program's last wait for the give-back is bounded.
TEST(RouterDoor, StoppingLeavesTheGiveBackToItsOwnThreadAndTheLastWaitIsBounded) {
    ScriptedRouter router(kOpened);
    router.Hold(router.holdGiveBack, true);
    auto door = std::make_unique<RouterDoor>(8895, router.Tell(), router.Calls(), kQuickLease);
    ASSERT_TRUE(
        router.AwaitLog([](const auto& log) { return Count(log, "renew") > 0; }, "renewed"));
    // Stopped on a thread of the test's, so that a door that waited for the router fails the
    // test instead of holding it.
    auto stopped = std::async(std::launch::async, [&door] { door.reset(); });
    const bool returned = stopped.wait_for(10s) == std::future_status::ready;
    EXPECT_TRUE(returned) << "stopping the door waited for the router's give-back";
    if (returned) {
        EXPECT_FALSE(AwaitGiveBacks(20ms)) << "nothing was being given back";
    }
    router.Hold(router.holdGiveBack, false);
    stopped.wait();
    EXPECT_TRUE(AwaitGiveBacks(10s));
    const auto log = router.Log();
    EXPECT_EQ(log.back(), "give back");
    EXPECT_EQ(Count(log, "told " + DoorSentence(kOpened)), 1);
}

// A door stopped while the router is still answering tells its owner nothing (he may be gone),
// and gives back what the router grants all the same.
TEST(RouterDoor, ADoorStoppedBeforeTheAnswerTellsNothingAndGivesBackWhatWasGranted) {
    ScriptedRouter router(kOpened);
    router.Hold(router.holdAsk, true);
    { RouterDoor door(8895, router.Tell(), router.Calls(), kQuickLease); }
    router.Hold(router.holdAsk, false);
    ASSERT_TRUE(AwaitGiveBacks(10s));
    EXPECT_EQ(router.Log(), (std::vector<std::string>{"ask", "give back"}));
}

}  // namespace
}  // namespace kelvane
