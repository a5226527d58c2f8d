// SPDX-License-Identifier: Apache-2.0
//
// Snapshots beside writers: what they saw first is what they see last.
#include <atomic>
#include <thread>
#include <vector>

#include "store_testing.hpp"

namespace kelda::test {
namespace {

/// Writes the same number into many records of a branch at once.
void write_round(Transaction txn, const std::string& branch, int number)
{
    for (int i = 0; i < 20; ++i) {
        txn.put(branch + std::to_string(i), std::to_string(number));
    }
    txn.commit();
}

/// The number that all records of the branch have, or a failure of the test.
std::string number_in(const Snapshot& snapshot, const std::string& branch)
{
    const Content content = content_of(snapshot, branch);
    EXPECT_EQ(content.size(), 20U);
    for (const auto& [key, value] : content) {
        EXPECT_EQ(value, content.begin()->second) << key;
    }
    return content.begin()->second;
}

class Snapshots : public ::testing::Test {
protected:
    TemporaryFolder folder_;
    Store store_ = Store::open(folder_.path(), {.sync = Sync::relaxed});
};

TEST_F(Snapshots, DoNotMoveWithLaterCommits)
{
    fill(store_, {{"/config/a", "1"}, {"/oper/a", "1"}});
    const Snapshot snapshot = store_.snapshot();
    fill(store_, {{"/config/a", "2"}, {"/config/b", "2"}, {"/oper/a", "2"}});
    EXPECT_EQ(content_of(snapshot), (Content{{"/config/a", "1"}, {"/oper/a", "1"}}));
    EXPECT_EQ(content_of(store_.snapshot()), (Content{{"/config/a", "2"}, {"/config/b", "2"}, {"/oper/a", "2"}}));
}

TEST_F(Snapshots, AreWholeBesideAWriter)
{
    write_round(store_.write(), "/config/", 0);
    write_round(store_.write_volatile(), "/oper/", 0);
    std::atomic<bool> is_over{false};
    std::vector<std::thread> readers;
    for (int reader = 0; reader < 3; ++reader) {
        readers.emplace_back([&] {
            int last = 0;
            do {
                const Snapshot snapshot = store_.snapshot();
                const std::string number = number_in(snapshot, "/config/");
                number_in(snapshot, "/oper/");
                EXPECT_EQ(number_in(snapshot, "/config/"), number);
                EXPECT_GE(std::stoi(number), last);
                last = std::stoi(number);
            } while (!is_over);
        });
    }
    for (int round = 1; round <= 300; ++round) {
        write_round(store_.write(), "/config/", round);
        write_round(store_.write_volatile(), "/oper/", round);
    }
    is_over = true;
    for (std::thread& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(number_in(store_.snapshot(), "/config/"), "300");
}

TEST_F(Snapshots, MayBeUsedOnAnotherThread)
{
    fill(store_, {{"/config/a", "1"}});
    Snapshot snapshot = store_.snapshot();
    std::thread{[moved = std::move(snapshot)] { EXPECT_EQ(moved.get("/config/a"), "1"); }}.join();
    EXPECT_EQ(store_.snapshot().get("/config/a"), "1");
}

TEST_F(Snapshots, MayBeManyAtOnceInOneThread)
{
    std::vector<Snapshot> snapshots;
    for (int i = 0; i < 300; ++i) {
        fill(store_, {{"/config/a", std::to_string(i)}});
        snapshots.push_back(store_.snapshot());
    }
    for (std::size_t i = 0; i < snapshots.size(); ++i) {
        ASSERT_EQ(snapshots[i].get("/config/a"), std::to_string(i));
    }
}

TEST_F(Snapshots, WritersWaitForEachOther)
{
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer) {
        writers.emplace_back([&] {
            for (int i = 0; i < 50; ++i) {
                Transaction txn = store_.write();
                const auto value = txn.get("/config/n");
                txn.put("/config/n", std::to_string(value ? std::stoi(std::string{*value}) + 1 : 1));
                txn.commit();
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    EXPECT_EQ(store_.snapshot().get("/config/n"), "200");
}

} // namespace
} // namespace kelda::test
