// SPDX-License-Identifier: Apache-2.0
//
// Ports over time, without a thread: the test is the clock.
#include "plant.hpp"

using namespace zpf::device;
using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class PlantTest : public ::testing::Test {
protected:
    static constexpr const char* kA = "Ots0/0/0/0";
    static constexpr const char* kB = "Ots0/0/0/2";

    /// What is due, as "port leaf=value"; '-' for what could not be read.
    std::vector<std::string> due()
    {
        std::vector<std::string> lines;
        for (const Reading& reading : plant_.take_due(now_)) {
            std::string line = reading.port;
            for (const auto& [leaf, value] : reading.leaves) {
                line += " " + leaf + "=" + value.value_or("-");
            }
            lines.push_back(line);
        }
        return lines;
    }

    std::vector<std::string> due_after(std::chrono::milliseconds passed)
    {
        now_ += passed;
        return due();
    }

    void power_up(const std::vector<Reading>& first = {})
    {
        plant_.power_up(first, now_);
        due();
    }

    static Reading reads(const std::string& port, const std::string& tenths)
    {
        return {port, {{"tx-voa-attenuation", tenths}}};
    }

    void set(const char* port, std::optional<int> tenths) { plant_.configure(port, tenths, now_); }

    bool still() const { return !plant_.next_event().has_value(); }

    Clock::Time now_{};
    Plant plant_{0};
};

} // namespace

TEST_F(PlantTest, TwoAttenuatorsAreAlwaysThere)
{
    plant_.power_up({}, now_);
    EXPECT_THAT(due(), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=0", "Ots0/0/0/2 tx-voa-attenuation=0"));
    EXPECT_THAT(due(), IsEmpty());
    EXPECT_TRUE(still());
}

TEST_F(PlantTest, NothingIsDueBeforeItIsPoweredUp)
{
    set(kA, 50);
    EXPECT_THAT(due(), IsEmpty());
    EXPECT_TRUE(still());
}

TEST_F(PlantTest, FirstReadingsStayAsTheyAreWhateverIsConfigured)
{
    set(kA, 50);
    set(kB, 60);
    plant_.power_up(std::vector{reads(kA, "47"), Reading{"Ots0/0/0/1", {{"rx-power", "-12"}}}}, now_);
    EXPECT_THAT(due(), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=47", "Ots0/0/0/1 rx-power=-12",
                                   "Ots0/0/0/2 tx-voa-attenuation=60"));
    EXPECT_TRUE(still());
}

TEST_F(PlantTest, AReadingThatIsNoNumberCountsAsNone)
{
    set(kB, 60);
    plant_.power_up(std::vector{reads(kA, "x"), Reading{kB, {{"tx-voa-attenuation", std::nullopt}}}}, now_);
    EXPECT_THAT(due(), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=0", "Ots0/0/0/2 tx-voa-attenuation=60"));
}

TEST_F(PlantTest, WithoutASlewRateASettingIsReachedAtOnce)
{
    power_up({reads(kA, "47")});
    set(kA, 125);
    EXPECT_THAT(due(), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=125"));
    EXPECT_TRUE(still());
    set(kA, 125);
    EXPECT_THAT(due(), IsEmpty()) << "the same again is no change";
}

TEST_F(PlantTest, AReadingStaysWhenTheSettingIsDeleted)
{
    power_up();
    set(kA, 125);
    due();
    set(kA, std::nullopt);
    EXPECT_THAT(due(), IsEmpty());
    EXPECT_TRUE(still());
}

TEST_F(PlantTest, APortWithoutAnAttenuatorGetsOneWithItsFirstSetting)
{
    power_up();
    plant_.add_port("Ots0/0/0/5", now_);
    EXPECT_THAT(due(), ElementsAre("Ots0/0/0/5"));
    plant_.add_port("Ots0/0/0/5", now_);
    EXPECT_THAT(due(), IsEmpty());
    plant_.set_slew(10, now_);
    set("Ots0/0/0/5", 30);
    EXPECT_THAT(due(), ElementsAre("Ots0/0/0/5 tx-voa-attenuation=30")) << "from nowhere, so at once";
}

TEST_F(PlantTest, ASettingIsApproachedAtTheSlewRateInSteps)
{
    plant_.set_slew(40, now_);
    power_up();
    set(kA, 10);
    EXPECT_THAT(due_after(99ms), IsEmpty());
    EXPECT_THAT(due_after(1ms), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=4"));
    EXPECT_EQ(plant_.next_event(), now_ + 100ms);
    EXPECT_THAT(due_after(100ms), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=8"));
    EXPECT_THAT(due_after(100ms), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=10"));
    EXPECT_TRUE(still());
}

TEST_F(PlantTest, ItMovesDownwardsAndTurnsRoundOnTheWay)
{
    plant_.set_slew(40, now_);
    power_up({reads(kA, "20")});
    set(kA, 0);
    EXPECT_THAT(due_after(100ms), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=16"));
    now_ += 75ms;
    set(kA, 24); // at 13 now
    EXPECT_THAT(due_after(25ms), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=14"));
    EXPECT_THAT(due_after(1s), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=24"));
    EXPECT_TRUE(still());
}

TEST_F(PlantTest, SlowMotionIsReportedWhenAWholeTenthIsReached)
{
    plant_.set_slew(2, now_);
    power_up();
    set(kA, 1);
    EXPECT_THAT(due_after(100ms), IsEmpty());
    EXPECT_THAT(due_after(100ms), IsEmpty());
    EXPECT_THAT(due_after(100ms), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=1")) << "0.6, rounded";
    EXPECT_FALSE(still());
    EXPECT_THAT(due_after(200ms), IsEmpty());
    EXPECT_TRUE(still());
}

TEST_F(PlantTest, DeletingTheSettingStopsTheMotion)
{
    plant_.set_slew(40, now_);
    power_up();
    set(kA, 100);
    now_ += 150ms;
    set(kA, std::nullopt);
    EXPECT_THAT(due(), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=6"));
    EXPECT_TRUE(still());
}

TEST_F(PlantTest, TheSlewRateCanChangeOnTheWay)
{
    plant_.set_slew(40, now_);
    power_up();
    set(kA, 100);
    EXPECT_THAT(due_after(100ms), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=4"));
    plant_.set_slew(100, now_);
    EXPECT_THAT(due_after(100ms), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=14"));
    plant_.set_slew(0, now_);
    EXPECT_THAT(due(), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=100"));
    EXPECT_TRUE(still());
}

TEST_F(PlantTest, MissedStepsAreNotMadeUpFor)
{
    plant_.set_slew(10, now_);
    power_up();
    set(kA, 100);
    EXPECT_THAT(due_after(1050ms), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=11"));
    EXPECT_THAT(due(), IsEmpty());
    EXPECT_EQ(plant_.next_event(), now_ + 50ms);
}

TEST_F(PlantTest, AnUnreadablePortIsReportedAtOnceAndComesBack)
{
    power_up({Reading{kA, {{"rx-power", "-3"}, {"tx-voa-attenuation", "7"}}}});
    plant_.set_reading_faults({{kA, {true, 0ms}}}, now_);
    EXPECT_THAT(due(), ElementsAre("Ots0/0/0/0 rx-power=- tx-voa-attenuation=-"));
    set(kA, 9);
    EXPECT_THAT(due(), IsEmpty()) << "what cannot be read does not change";
    plant_.set_reading_faults({}, now_);
    EXPECT_THAT(due(), ElementsAre("Ots0/0/0/0 rx-power=-3 tx-voa-attenuation=9"));
    EXPECT_TRUE(still());
}

TEST_F(PlantTest, ASlowPortIsReportedLateWithWhatItReadsThen)
{
    power_up();
    plant_.set_reading_faults({{kA, {false, 700ms}}}, now_);
    EXPECT_TRUE(still());
    set(kA, 9);
    EXPECT_EQ(plant_.next_event(), now_ + 700ms);
    EXPECT_THAT(due_after(400ms), IsEmpty());
    set(kA, 12);
    EXPECT_THAT(due_after(299ms), IsEmpty());
    EXPECT_THAT(due_after(1ms), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=12"));
    set(kA, 13);
    plant_.set_reading_faults({}, now_);
    EXPECT_THAT(due(), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=13")) << "cleared: no longer late";
}

TEST_F(PlantTest, FaultsWaitForTheirPort)
{
    power_up();
    plant_.set_reading_faults({{"Ots0/0/0/7", {true, 0ms}}}, now_);
    EXPECT_TRUE(still()) << "the port does not exist";
    set("Ots0/0/0/7", 9);
    EXPECT_THAT(due(), IsEmpty());
    plant_.set_reading_faults({}, now_);
    EXPECT_THAT(due(), ElementsAre("Ots0/0/0/7 tx-voa-attenuation=9"));
}

TEST_F(PlantTest, PoweringUpAgainBeginsAnew)
{
    plant_.set_slew(1, now_);
    power_up({Reading{kB, {{"rx-power", "-3"}}}});
    set(kA, 50);
    plant_.power_up({}, now_);
    EXPECT_THAT(due(), ElementsAre("Ots0/0/0/0 tx-voa-attenuation=50", "Ots0/0/0/2 tx-voa-attenuation=0"));
    EXPECT_TRUE(still());
}
