// SPDX-License-Identifier: Apache-2.0
//
// The simulated device as the agent uses it, with a clock that the test moves.
#include "zpf_device/simulation.hpp"

#include <algorithm>
#include <future>
#include <map>

using namespace zpf::device;
using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

constexpr auto kPatience = 20s; // for something that has to happen; never waited for in full by a test that passes

/// Time passes only when the test says so, and waits end by it.
class ManualClock final : public Clock {
public:
    Time now() const override
    {
        const std::lock_guard lock(mutex_);
        return now_;
    }

    void wait_until(std::condition_variable& notified, std::unique_lock<std::mutex>& lock, Time until) override
    {
        const Waiter waiter{&notified, lock.mutex(), until};
        {
            const std::lock_guard own(mutex_);
            if (now_ >= until) {
                return;
            }
            waiters_.push_back(waiter);
            waiting_.notify_all();
        }
        notified.wait(lock);
        const std::lock_guard own(mutex_);
        std::erase(waiters_, waiter);
    }

    void advance(std::chrono::milliseconds passed)
    {
        std::vector<Waiter> waiters;
        {
            const std::lock_guard own(mutex_);
            now_ += passed;
            waiters = waiters_;
        }
        for (const Waiter& waiter : waiters) {
            // Once the mutex can be had, the waiter is in its wait.
            const std::lock_guard into_the_wait(*waiter.mutex);
            waiter.notified->notify_all();
        }
    }

    /// Whether somebody waits for a moment that is `ahead` from now.
    bool awaits(std::chrono::milliseconds ahead)
    {
        std::unique_lock own(mutex_);
        return waiting_.wait_for(own, kPatience, [&] {
            return std::any_of(waiters_.begin(), waiters_.end(),
                               [&](const Waiter& waiter) { return waiter.until == now_ + ahead; });
        });
    }

    bool nobody_waits() const
    {
        const std::lock_guard lock(mutex_);
        return waiters_.empty();
    }

private:
    struct Waiter {
        std::condition_variable* notified;
        std::mutex* mutex;
        Time until;
        bool operator==(const Waiter&) const = default;
    };

    mutable std::mutex mutex_;
    std::condition_variable waiting_;
    Time now_{};
    std::vector<Waiter> waiters_;
};

/// Collects what is reported.
class Inbox {
public:
    Driver::Report report()
    {
        return [this](std::span<const Reading> readings) {
            const std::lock_guard lock(mutex_);
            for (const Reading& reading : readings) {
                std::string line = reading.port;
                for (const auto& [leaf, value] : reading.leaves) {
                    line += " " + value.value_or("-");
                }
                lines_.push_back(line);
            }
            arrived_.notify_all();
        };
    }

    /// The next `count` lines; fewer if they do not come.
    std::vector<std::string> take(std::size_t count)
    {
        std::unique_lock lock(mutex_);
        arrived_.wait_for(lock, kPatience, [&] { return lines_.size() >= count; });
        return std::exchange(lines_, {});
    }

private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<std::string> lines_;
};

std::string key_of(const std::string& port, const std::string& entry_kind = "act")
{
    std::string encoded;
    for (const char c : port) {
        encoded += c == '/' ? "%2F" : std::string(1, c);
    }
    return "/config/Quarn-KMT-VN-ifmgr-cfg:interface-configurations/interface-configuration=" + entry_kind + "," +
           encoded + "/Quarn-KMT-VN-controller-ots-cfg:ots/ots-tx-voa-attenuation";
}

class SimulationTest : public ::testing::Test {
protected:
    std::optional<Refusal> set(const std::string& port, std::optional<std::string_view> tenths,
                               std::chrono::milliseconds limit = 1s)
    {
        const std::string key = key_of(port);
        return device_.apply(std::vector{Change{key, std::nullopt, tenths}}, limit);
    }

    /// The message of a refusal, or "taken".
    static std::string outcome(const std::optional<Refusal>& refusal) { return refusal ? refusal->message : "taken"; }

    void start(const std::vector<Reading>& first = {})
    {
        device_.start(first, inbox_.report());
        inbox_.take(2);
    }

    static constexpr const char* kA = "Ots0/0/0/0";
    static constexpr const char* kB = "Ots0/0/0/2";

    ManualClock clock_;
    Inbox inbox_;
    Simulation device_{0, clock_};
};

struct Attenuation {
    const char* name;
    const char* value;
    bool taken;
};

} // namespace

class SimulationRange : public SimulationTest, public ::testing::WithParamInterface<Attenuation> {};

TEST_P(SimulationRange, IsWhatTheAttenuatorCanDo)
{
    EXPECT_EQ(!set(kA, GetParam().value).has_value(), GetParam().taken);
}

INSTANTIATE_TEST_SUITE_P(Limits, SimulationRange,
                         ::testing::Values(Attenuation{"Zero", "0", true}, Attenuation{"Between", "125", true},
                                           Attenuation{"Maximum", "200", true}, Attenuation{"JustAbove", "201", false},
                                           Attenuation{"Negative", "-1", false}, Attenuation{"NoNumber", "abc", false},
                                           Attenuation{"Fraction", "1.5", false}, Attenuation{"Empty", "", false}),
                         [](const auto& param) { return std::string{param.param.name}; });

TEST_F(SimulationTest, AllReadingsAreReportedAtTheStartAndChangesAfterwards)
{
    device_.start(std::vector{Reading{"Ots0/0/0/1", {}}, Reading{kB, {{"tx-voa-attenuation", "77"}}}}, inbox_.report());
    EXPECT_THAT(inbox_.take(3), ElementsAre("Ots0/0/0/0 0", "Ots0/0/0/1", "Ots0/0/0/2 77"));
    EXPECT_EQ(outcome(set(kA, "125")), "taken");
    EXPECT_THAT(inbox_.take(1), ElementsAre("Ots0/0/0/0 125"));
}

TEST_F(SimulationTest, WhatIsAppliedBeforeTheStartIsWhatItComesUpWith)
{
    set(kA, "33");
    device_.start({}, inbox_.report());
    EXPECT_THAT(inbox_.take(2), ElementsAre("Ots0/0/0/0 33", "Ots0/0/0/2 0"));
}

TEST_F(SimulationTest, ChangesAreTakenTogetherOrNotAtAll)
{
    start();
    const std::string a = key_of(kA);
    const std::string b = key_of(kB);
    const auto refusal = device_.apply(std::vector{Change{a, std::nullopt, "10"}, Change{b, std::nullopt, "999"}}, 1s);
    ASSERT_TRUE(refusal.has_value());
    EXPECT_EQ(refusal->key, b);
    EXPECT_FALSE(refusal->no_answer);
    EXPECT_THAT(refusal->message, HasSubstr("Ots0/0/0/2 takes attenuations of 0 to 200 tenths of a dB, not 999"));
    device_.apply(std::vector{Change{b, std::nullopt, "20"}}, 1s);
    EXPECT_THAT(inbox_.take(1), ElementsAre("Ots0/0/0/2 20")) << "the other port has not moved";
    device_.apply(std::vector{Change{a, std::nullopt, "1"}, Change{b, "20", "2"}}, 1s);
    EXPECT_THAT(inbox_.take(2), ElementsAre("Ots0/0/0/0 1", "Ots0/0/0/2 2"));
}

TEST_F(SimulationTest, OtherConfigurationIsTakenWithoutEffect)
{
    start();
    const std::string waiting = key_of(kA, "pre");
    const std::vector<Change> changes{
        {"/config/Quarn-KMT-VN-ifmgr-cfg:global-interface-configuration/link-status", std::nullopt, "disable"},
        {waiting, std::nullopt, "125"}};
    EXPECT_EQ(outcome(device_.apply(changes, 1s)), "taken");
    set(kB, "5");
    EXPECT_THAT(inbox_.take(1), ElementsAre("Ots0/0/0/2 5"));
}

TEST_F(SimulationTest, AnyLeafOfAPortBringsItIntoBeing)
{
    start();
    const std::string key =
        "/config/Quarn-KMT-VN-ifmgr-cfg:interface-configurations/interface-configuration=act,Ots0%2F0%2F0%2F5/active";
    EXPECT_EQ(outcome(device_.apply(std::vector{Change{key, std::nullopt, "act"}}, 1s)), "taken");
    EXPECT_THAT(inbox_.take(1), ElementsAre("Ots0/0/0/5"));
}

TEST_F(SimulationTest, WhatChangesWithinTheGapIsReportedTogether)
{
    Simulation device(0, clock_, 5ms);
    device.start({}, inbox_.report());
    inbox_.take(2);
    ASSERT_TRUE(clock_.awaits(5ms));
    for (const char* tenths : {"1", "2", "3"}) {
        const std::string key = key_of(kA);
        device.apply(std::vector{Change{key, std::nullopt, tenths}}, 1s);
    }
    clock_.advance(5ms);
    EXPECT_THAT(inbox_.take(1), ElementsAre("Ots0/0/0/0 3"));
    device.stop(); // ends its rest at once
}

TEST_F(SimulationTest, WhileItMovesEachStepIsReportedAndThenNobodyWaitsForTime)
{
    device_.set_slew(40);
    start();
    set(kA, "6");
    ASSERT_TRUE(clock_.awaits(100ms));
    clock_.advance(100ms);
    EXPECT_THAT(inbox_.take(1), ElementsAre("Ots0/0/0/0 4"));
    ASSERT_TRUE(clock_.awaits(100ms));
    clock_.advance(100ms);
    EXPECT_THAT(inbox_.take(1), ElementsAre("Ots0/0/0/0 6"));
    device_.stop(); // so that the thread is where it ends up
    EXPECT_TRUE(clock_.nobody_waits());
}

TEST_F(SimulationTest, ARefusedValueIsNamedWithItsPort)
{
    device_.inject({Fault::refuse_value, kA, 125});
    const auto refusal = set(kA, "125");
    ASSERT_TRUE(refusal.has_value());
    EXPECT_EQ(refusal->message, "Ots0/0/0/0 refuses an attenuation of 125 tenths of a dB");
    EXPECT_EQ(refusal->key, key_of(kA));
    EXPECT_FALSE(refusal->no_answer);
    EXPECT_EQ(outcome(set(kA, "124")), "taken");
    EXPECT_EQ(outcome(set(kB, "125")), "taken");
    device_.clear(kA);
    EXPECT_EQ(outcome(set(kA, "125")), "taken");
}

TEST_F(SimulationTest, AFaultWithoutAValueRefusesAnyButNotADeletion)
{
    device_.inject({Fault::refuse_value, kA});
    EXPECT_THAT(outcome(set(kA, "0")), HasSubstr("refuses an attenuation of 0"));
    EXPECT_EQ(outcome(set(kA, std::nullopt)), "taken");
}

TEST_F(SimulationTest, APortThatDoesNotAnswerCostsTheWholeLimitAndNoMore)
{
    start();
    device_.inject({Fault::no_answer, kA});
    auto answer = std::async(std::launch::async, [this] { return set(kA, "5", 300ms); });
    ASSERT_TRUE(clock_.awaits(300ms));
    clock_.advance(299ms);
    ASSERT_TRUE(clock_.awaits(1ms));
    clock_.advance(1ms);
    const auto refusal = answer.get();
    ASSERT_TRUE(refusal.has_value());
    EXPECT_TRUE(refusal->no_answer);
    EXPECT_EQ(refusal->key, key_of(kA));
    EXPECT_EQ(refusal->message, "Ots0/0/0/0 did not answer within 300 ms");
    EXPECT_EQ(outcome(set(kB, "6")), "taken") << "the other port answers";
    EXPECT_THAT(inbox_.take(1), ElementsAre("Ots0/0/0/2 6"));
}

TEST_F(SimulationTest, APortThatIsClearedInTimeAnswers)
{
    device_.inject({Fault::no_answer, kA});
    auto answer = std::async(std::launch::async, [this] { return set(kA, "5", 300ms); });
    ASSERT_TRUE(clock_.awaits(300ms));
    device_.clear(kA);
    EXPECT_EQ(outcome(answer.get()), "taken");
}

TEST_F(SimulationTest, ReadingsGoMissingAndComeBack)
{
    start({Reading{kA, {{"tx-voa-attenuation", "7"}}}});
    device_.inject({Fault::reads_nothing, kA});
    EXPECT_THAT(inbox_.take(1), ElementsAre("Ots0/0/0/0 -"));
    device_.clear(kA);
    EXPECT_THAT(inbox_.take(1), ElementsAre("Ots0/0/0/0 7"));
}

TEST_F(SimulationTest, SlowReadingsComeLateTheSlowestFaultCounts)
{
    start();
    device_.inject({.kind = Fault::reads_slowly, .port = kA, .delay = 500ms});
    device_.inject({.kind = Fault::reads_slowly, .port = kA, .delay = 200ms});
    set(kA, "8");
    ASSERT_TRUE(clock_.awaits(500ms));
    clock_.advance(500ms);
    EXPECT_THAT(inbox_.take(1), ElementsAre("Ots0/0/0/0 8"));
}

TEST_F(SimulationTest, FaultsAreListedUntilTheirPortIsCleared)
{
    const Fault on_a{Fault::refuse_value, kA, 3};
    const Fault on_b{Fault::no_answer, kB};
    device_.inject(on_a);
    device_.inject(on_b);
    EXPECT_THAT(device_.faults(), ElementsAre(on_a, on_b));
    device_.clear(kA);
    EXPECT_THAT(device_.faults(), ElementsAre(on_b));
}

TEST_F(SimulationTest, ItStopsWhileMovingAndStartsAgain)
{
    device_.stop();
    device_.set_slew(1);
    start();
    set(kA, "200");
    ASSERT_TRUE(clock_.awaits(100ms));
    device_.stop();
    set(kB, "4");
    device_.start({}, inbox_.report());
    EXPECT_THAT(inbox_.take(2), ElementsAre("Ots0/0/0/0 200", "Ots0/0/0/2 4"));
}

TEST(SimulationWithRealTime, ManyThreadsUseItAtOnceAndTheLastWordIsReported)
{
    std::mutex mutex;
    std::condition_variable arrived;
    std::map<std::string, std::vector<std::pair<std::string, std::optional<std::string>>>> latest;
    Simulation device(5000);
    device.start({}, [&](std::span<const Reading> readings) {
        const std::lock_guard lock(mutex);
        for (const Reading& reading : readings) {
            latest[reading.port] = reading.leaves;
        }
        arrived.notify_all();
    });
    std::vector<std::thread> threads;
    std::map<std::string, std::vector<std::pair<std::string, std::optional<std::string>>>> expected;
    for (const char* port : {"Ots0/0/0/0", "Ots0/0/0/1", "Ots0/0/0/2", "Ots0/0/0/3"}) {
        expected[port] = {{"tx-voa-attenuation", "199"}};
        threads.emplace_back([&device, port] {
            const std::string key = key_of(port);
            for (int i = 0; i < 200; ++i) {
                const std::string value = std::to_string(i);
                EXPECT_FALSE(device.apply(std::vector{Change{key, std::nullopt, value}}, 1s).has_value());
                device.inject({Fault::reads_nothing, port});
                device.set_slew(i % 3 == 0 ? 0 : 5000);
                device.clear(port);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(device.faults().empty());
    std::unique_lock lock(mutex);
    arrived.wait_for(lock, kPatience, [&] { return latest == expected; });
    EXPECT_EQ(latest, expected);
    lock.unlock();
    device.stop();
}
