// SPDX-License-Identifier: Apache-2.0
//
// A writer is killed again and again: every commit that it was told of is there, none is there by half, and the store
// opens at once.
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>

#include "store_testing.hpp"

namespace kelda::test {
namespace {

constexpr int kRecords = 5;

std::string key(int i)
{
    return "/config/record=" + std::to_string(i);
}

/// Writes rounds for ever and reports each one that is committed. Values grow and shrink, so that pages are split,
/// joined and used again.
[[noreturn]] void write_for_ever(const std::string& folder, Sync sync, int report)
{
    try {
        Store store = Store::open(folder, {.sync = sync});
        const auto last = store.snapshot().get(key(0));
        for (int round = last ? std::stoi(std::string{*last}) + 1 : 1;; ++round) {
            Transaction txn = store.write();
            for (int i = 0; i < kRecords; ++i) {
                txn.put(key(i),
                        std::to_string(round) + std::string(static_cast<std::size_t>(round * i * 97 % 3000), ' '));
            }
            txn.erase_all("/config/old=");
            txn.put("/config/old=" + std::to_string(round), "");
            txn.commit();
            if (::write(report, &round, sizeof round) != sizeof round) {
                _exit(1);
            }
        }
    } catch (const std::exception&) {
        _exit(2);
    }
}

/// Lets a while pass that differs from time to time and is far shorter than a commit's steps.
void spin(std::mt19937& random)
{
    std::atomic<unsigned> idle{0};
    const unsigned end = std::uniform_int_distribution<unsigned>{0, 200000}(random);
    while (idle.fetch_add(1, std::memory_order_relaxed) < end) {}
}

void kill_and_wait(pid_t child)
{
    EXPECT_EQ(::kill(child, SIGKILL), 0);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status)) << "the writer ended by itself: " << status;
}

/// Starts a writer, kills it some time after some reports. Returns the last round that it reported, or `last`.
int run_and_kill(const std::string& folder, Sync sync, std::mt19937& random, int last)
{
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    const pid_t writer = fork();
    if (writer == 0) {
        write_for_ever(folder, sync, ends[1]);
    }
    ::close(ends[1]);
    const int reports = std::uniform_int_distribution<int>{1, 15}(random);
    for (int i = 0; i < reports; ++i) {
        EXPECT_EQ(::read(ends[0], &last, sizeof last), static_cast<ssize_t>(sizeof last));
    }
    spin(random);
    kill_and_wait(writer);
    int round = 0;
    while (::read(ends[0], &round, sizeof round) == static_cast<ssize_t>(sizeof round)) {
        last = round;
    }
    ::close(ends[0]);
    return last;
}

class KilledWriter : public ::testing::TestWithParam<Sync> {};

TEST_P(KilledWriter, LosesNoAcknowledgedCommitAndLeavesNoHalf)
{
    const TemporaryFolder folder;
    std::mt19937 random{4711}; // NOLINT(cert-msc51-cpp): the same stops each time, as far as they can be
    int last = 0;
    for (int time = 0; time < 150; ++time) {
        last = run_and_kill(folder.path(), GetParam(), random, last);
        const Store store = Store::open(folder.path());
        const Snapshot snapshot = store.snapshot();
        const int round = std::stoi(std::string{snapshot.get(key(0)).value()});
        ASSERT_GE(round, last);
        ASSERT_LE(round, last + 1); // the one that was under way may have come through
        for (int i = 1; i < kRecords; ++i) {
            ASSERT_EQ(std::stoi(std::string{snapshot.get(key(i)).value()}), round) << key(i);
        }
        ASSERT_EQ(content_of(snapshot, "/config/old="), (Content{{"/config/old=" + std::to_string(round), ""}}));
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, KilledWriter, ::testing::Values(Sync::full, Sync::relaxed),
                         [](const auto& test) { return test.param == Sync::full ? "Full" : "Relaxed"; });

TEST(KilledMaker, LeavesAStoreOrNothing)
{
    std::mt19937 random{815}; // NOLINT(cert-msc51-cpp)
    int made = 0;
    for (int time = 0; time < 100; ++time) {
        const TemporaryFolder folder;
        std::array<int, 2> ends{};
        ASSERT_EQ(pipe(ends.data()), 0);
        const pid_t maker = fork();
        if (maker == 0) {
            char begun = 'b';
            static_cast<void>(::write(ends[1], &begun, 1) > 0);
            write_for_ever(folder.path(), Sync::full, ends[1]);
        }
        char begun = 0;
        ASSERT_EQ(::read(ends[0], &begun, 1), 1);
        for (int spins = time % 8; spins > 0; --spins) {
            spin(random);
        }
        kill_and_wait(maker);
        ::close(ends[0]);
        ::close(ends[1]);
        const Store store = Store::open(folder.path());
        made += store.created() ? 0 : 1;
        if (store.created()) {
            ASSERT_TRUE(content_of(store.snapshot()).empty());
        }
    }
    EXPECT_GT(made, 0);   // some were killed after
    EXPECT_LT(made, 100); // and some before the store was there
}

} // namespace
} // namespace kelda::test
