// SPDX-License-Identifier: Apache-2.0
//
// Who hears of which commits.
#include <optional>
#include <thread>
#include <vector>

#include "store_testing.hpp"

namespace kelda {

static bool operator==(const Change& one, const Change& other)
{
    return one.key == other.key && one.before == other.before && one.after == other.after;
}

namespace test {
namespace {

class Subscriptions : public ::testing::Test {
protected:
    Subscription listen(const std::string& prefix)
    {
        return store_.subscribe(prefix, [this](const Changes& changes) { heard_.push_back(changes); });
    }

    TemporaryFolder folder_;
    Store store_ = Store::open(folder_.path());
    std::vector<Changes> heard_;
};

TEST_F(Subscriptions, TellWhatWasBeforeAndWhatIsAfter)
{
    fill(store_, {{"/config/changed", "old"}, {"/config/erased", "gone"}, {"/config/same", "same"}});
    const Subscription subscription = listen("/config/");
    Transaction txn = store_.write();
    txn.put("/config/added", "new");
    txn.put("/config/changed", "passing");
    txn.put("/config/changed", "new");
    txn.erase("/config/erased");
    txn.put("/config/same", "same");
    txn.put("/config/fleeting", "x");
    txn.erase("/config/fleeting");
    txn.commit();
    EXPECT_EQ(heard_, (std::vector<Changes>{{{"/config/added", std::nullopt, "new"},
                                             {"/config/changed", "old", "new"},
                                             {"/config/erased", "gone", std::nullopt}}}));
}

TEST_F(Subscriptions, TellOnlyOfTheirPrefix)
{
    const Subscription subscription = listen("/config/b/");
    fill(store_, {{"/config/a", "1"}, {"/config/b0", "1"}, {"/oper/b/x", "1"}});
    EXPECT_TRUE(heard_.empty());
    fill(store_, {{"/config/a", "2"}, {"/config/b/x", "2"}, {"/config/c", "2"}});
    EXPECT_EQ(heard_, (std::vector<Changes>{{{"/config/b/x", std::nullopt, "2"}}}));
}

TEST_F(Subscriptions, HearOfBothBranches)
{
    const Subscription subscription = listen("");
    fill(store_, {{"/config/a", "1"}, {"/oper/a", "2"}});
    EXPECT_EQ(heard_, (std::vector<Changes>{{{"/config/a", std::nullopt, "1"}}, {{"/oper/a", std::nullopt, "2"}}}));
}

TEST_F(Subscriptions, AreToldOfErasedBranches)
{
    fill(store_, {{"/config/a/1", "x"}, {"/config/a/2", "y"}});
    const Subscription subscription = listen("/config/");
    Transaction txn = store_.write();
    EXPECT_EQ(txn.erase_all("/config/a/"), 2U);
    txn.commit();
    EXPECT_EQ(heard_, (std::vector<Changes>{{{"/config/a/1", "x", std::nullopt}, {"/config/a/2", "y", std::nullopt}}}));
}

TEST_F(Subscriptions, AreNotToldOfWhatWasDropped)
{
    const Subscription subscription = listen("");
    store_.write().put("/config/a", "1");
    EXPECT_TRUE(heard_.empty());
}

TEST_F(Subscriptions, SeeTheCommitInASnapshot)
{
    std::optional<std::string> seen;
    const Subscription subscription = store_.subscribe("/config/", [&](const Changes&) {
        const Snapshot snapshot = store_.snapshot();
        seen = snapshot.get("/config/a");
    });
    fill(store_, {{"/config/a", "1"}});
    EXPECT_EQ(seen, "1");
}

TEST_F(Subscriptions, MayWriteTheOtherBranch)
{
    const Subscription subscription = store_.subscribe("/config/", [&](const Changes& changes) {
        Transaction txn = store_.write_volatile();
        txn.put("/oper/follows", *changes.front().after);
        txn.commit();
    });
    fill(store_, {{"/config/a", "12.5"}});
    EXPECT_EQ(store_.snapshot().get("/oper/follows"), "12.5");
}

TEST_F(Subscriptions, EndWithTheirOwner)
{
    {
        Subscription first = listen("");
        const Subscription second = std::move(first);
        fill(store_, {{"/config/a", "1"}});
    }
    fill(store_, {{"/config/a", "2"}});
    EXPECT_EQ(heard_.size(), 1U);
}

TEST_F(Subscriptions, MayEndThemselvesDuringTheirCall)
{
    int calls = 0;
    std::optional<Subscription> subscription;
    subscription = store_.subscribe("", [&](const Changes&) {
        ++calls;
        subscription.reset();
    });
    fill(store_, {{"/config/a", "1"}});
    fill(store_, {{"/config/a", "2"}});
    EXPECT_EQ(calls, 1);
}

TEST_F(Subscriptions, HearOfCommitsInTheirOrderWhenThreadsCommit)
{
    std::vector<int> values;
    const Subscription subscription = store_.subscribe(
        "/oper/n", [&](const Changes& changes) { values.push_back(std::stoi(*changes.front().after)); });
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer) {
        writers.emplace_back([&] {
            for (int i = 0; i < 50; ++i) {
                Transaction txn = store_.write_volatile();
                const auto last = txn.get("/oper/n");
                txn.put("/oper/n", std::to_string(last ? std::stoi(std::string{*last}) + 1 : 0));
                txn.commit();
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    ASSERT_EQ(values.size(), 200U);
    for (std::size_t i = 0; i < values.size(); ++i) {
        ASSERT_EQ(values[i], static_cast<int>(i));
    }
}

} // namespace
} // namespace test
} // namespace kelda
