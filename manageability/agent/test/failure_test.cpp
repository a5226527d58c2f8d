// SPDX-License-Identifier: Apache-2.0
//
// The disk and the device say no.
#include "agent_testing.hpp"
#include "readings_keeper.hpp"

#include <cerrno>
#include <fstream>

namespace {

using namespace test;
using testing::HasSubstr;

class Failure : public testing::Test {
protected:
    /// Makes the n-th operation of the store fail, counted from now.
    void fail_operation(int n, int error)
    {
        left_ = n;
        agent.faults.before = [this, error](const char*) { return --left_ == 0 ? error : 0; };
    }
    AgentDouble agent;
    int left_ = 0;
};

TEST_F(Failure, OfTheDiskAtAnyPointLeavesTheOldConfiguration)
{
    const std::string before = agent.ask("<get-config><source><running/></source></get-config>");
    int refused = 0;
    for (int n = 1; n < 50; ++n) {
        fail_operation(n, ENOSPC);
        const std::string reply = agent.edit(attenuator("0/0-VOA-BST2", "1.0") + attenuator("0/0-VOA-BST0", "2.0"));
        agent.faults.before = nullptr;
        if (reply == kOk) {
            break;
        }
        ++refused;
        EXPECT_THAT(reply, HasSubstr("<error-tag>resource-denied</error-tag>"));
        EXPECT_EQ(agent.ask("<get-config><source><running/></source></get-config>"), before) << "operation " << n;
    }
    EXPECT_GE(refused, 3); // two records and the commit
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST2"), "1.0");
}

TEST_F(Failure, OfTheDiskLosesNoReading)
{
    std::mutex mutex;
    std::vector<std::string> logged;
    zpf::agent::ReadingsKeeper keeper(
        agent.store, agent.counters,
        [&](int, const std::string& text) {
            const std::lock_guard lock(mutex);
            logged.push_back(text);
        },
        std::chrono::milliseconds{5});
    const auto report = [&](const std::string& tenths) {
        const std::vector<zpf::device::Reading> readings{{"Ots0/0/0/2", {{"tx-voa-attenuation", tenths}}}};
        keeper.keep(readings);
    };
    const auto kept = [&] {
        const kelda::Snapshot now = agent.store.snapshot();
        return std::string{now.get("/oper/optics/if/Ots0_0_0_2/tx-voa-attenuation").value_or("none")};
    };
    report("30");
    EXPECT_EQ(kept(), "30");
    std::atomic<bool> is_full{true};
    agent.faults.before = [&](const char*) { return is_full ? ENOSPC : 0; };
    report("40");
    report("50"); // the last change that the device reports
    EXPECT_EQ(kept(), "30");
    is_full = false;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{20};
    while (kept() != "50" && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds{2});
    }
    EXPECT_EQ(kept(), "50");
    const std::lock_guard lock(mutex);
    EXPECT_THAT(logged, testing::ElementsAre(HasSubstr("not kept"), HasSubstr("kept again"))); // not with each attempt
}

TEST_F(Failure, OfTheDiskTakesTheDeviceBack)
{
    std::vector<zpf::device::Reading> seen;
    std::mutex mutex;
    agent.device.start({}, [&](std::span<const zpf::device::Reading> readings) {
        const std::lock_guard lock(mutex);
        seen.insert(seen.end(), readings.begin(), readings.end());
    });
    const auto reads = [&](const std::string& value) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{20};
        while (std::chrono::steady_clock::now() < end) {
            const std::lock_guard lock(mutex);
            for (const auto& reading : seen) {
                if (reading.port == "Ots0/0/0/2" && reading.leaves.front().second == value) {
                    seen.clear();
                    return true;
                }
            }
            std::this_thread::yield();
        }
        return false;
    };
    EXPECT_TRUE(reads("95"));
    agent.faults.before = [](const char* operation) { return std::string{operation} == "commit" ? EIO : 0; };
    EXPECT_THAT(agent.edit(attenuator("0/0-VOA-BST2", "1.0")), HasSubstr("operation-failed"));
    agent.faults.before = nullptr;
    ASSERT_EQ(agent.edit(attenuator("0/0-VOA-BST2", "9.4")),
              kOk); // the device is at 9.5 again, or this would be 1.0's end
    EXPECT_TRUE(reads("94"));
    agent.device.stop();
}

/// A disk that takes nothing for a while: each edit is answered, and what sessions held does not outlive them.
TEST_F(Failure, OfTheDiskAgainAndAgainIsToldAgainAndAgain)
{
    const auto other = session_of("other", true);
    ASSERT_EQ(agent.edit(attenuator("0/0-VOA-BST2", "3.0")), kOk);
    agent.faults.before = [](const char* operation) { return std::string{operation} == "sync" ? EIO : 0; };
    for (int time = 0; time < 3; ++time) {
        EXPECT_THAT(agent.edit(attenuator("0/0-VOA-BST2", "4.0")), HasSubstr("Nothing was changed"));
        EXPECT_EQ(agent.configured_db("0/0-VOA-BST2"), "3.0");
    }
    agent.faults.before = nullptr;
    ASSERT_EQ(agent.ask(other, "<lock><target><running/></target></lock>"), kOk);
    ASSERT_EQ(agent.ask(other, "<unlock><target><running/></target></unlock>"), kOk);
    ASSERT_EQ(agent.edit(attenuator("0/0-VOA-BST2", "4.0")), kOk);
    ASSERT_EQ(agent.edit(attenuator("0/0-VOA-BST2", "5.0")),
              kOk); // the one before is ordered and leaves nothing behind
    ASSERT_EQ(agent.ask(other, "<lock><target><running/></target></lock>"), kOk);
    agent.faults.before = [](const char* operation) { return std::string{operation} == "sync" ? EIO : 0; };
    EXPECT_THAT(agent.ask(other, "<edit-config><target><running/></target><config>" +
                                     attenuator("0/0-VOA-BST2", "6.0") + "</config></edit-config>"),
                HasSubstr("Nothing was changed"));
    agent.end_session(other);
    agent.faults.before = nullptr;
    EXPECT_EQ(agent.edit(attenuator("0/0-VOA-BST2", "7.0")), kOk);
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST2"), "7.0");
}

TEST_F(Failure, OfTheDeviceRefusesTheEdit)
{
    agent.device_faults.inject("Ots0/0/0/2", "refuse-value", 10, -1);
    const std::string reply = agent.edit(attenuator("0/0-VOA-BST2", "1.0"));
    EXPECT_THAT(reply, HasSubstr("device-refused"));
    EXPECT_THAT(reply, HasSubstr("ots-tx-voa-attenuation</error-path>"));
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST2"), "9.5");
    EXPECT_EQ(agent.edit(attenuator("0/0-VOA-BST2", "1.1")), kOk);
}

TEST_F(Failure, OfTheDeviceToAnswerRefusesTheEdit)
{
    agent.device_faults.inject("Ots0/0/0/2", "no-answer", -1, -1);
    EXPECT_THAT(agent.edit(attenuator("0/0-VOA-BST2", "1.0")), HasSubstr("device-no-answer"));
    EXPECT_EQ(agent.edit(attenuator("0/0-VOA-BST0", "1.0")), kOk);
    agent.device_faults.clear("Ots0/0/0/2");
    EXPECT_EQ(agent.edit(attenuator("0/0-VOA-BST2", "1.0")), kOk);
}

TEST_F(Failure, OfASeedWithoutNativeDataKeepsTheStoreEmpty)
{
    const std::string file = agent.folder.path() + "/client.xml";
    std::ofstream(file) << R"(<data xmlns="urn:ietf:params:xml:ns:netconf:base:1.0">)"
                        << attenuator("0/0-VOA-BST2", "1.0") << "</data>";
    kelda::Store store = kelda::Store::open(agent.folder.path() + "/other");
    const uint64_t generation = store.generation();
    try {
        zpf::agent::seed(yang(), store, file);
        FAIL() << "data of the client's tree were taken";
    } catch (const zpf::Failure& failure) {
        EXPECT_THAT(failure.what(), HasSubstr("optical-attenuator"));
        EXPECT_THAT(failure.what(), HasSubstr("seeds hold native data"));
    }
    EXPECT_EQ(store.generation(), generation);
}

TEST_F(Failure, OfACommitKeepsTheCandidate)
{
    agent.edit(attenuator("0/0-VOA-BST2", "1.0"), "", "candidate");
    fail_operation(2, ENOSPC);
    EXPECT_THAT(agent.ask("<commit><confirmed/></commit>"), HasSubstr("resource-denied"));
    agent.faults.before = nullptr;
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST2"), "9.5");
    EXPECT_THAT(agent.ask("<cancel-commit/>"), HasSubstr("No commit is waiting"));
    ASSERT_EQ(agent.ask("<commit/>"), kOk);
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST2"), "1.0");
}

} // namespace
