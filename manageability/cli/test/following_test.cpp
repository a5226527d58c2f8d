// SPDX-License-Identifier: Apache-2.0
//
// The commands that go on until they are told to end: watch and trace.
#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <sstream>

#include "programs.hpp"

namespace zpf::cli::test {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;

constexpr const char* kOtherChange =
    R"(<nacm xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-acm"><enable-nacm>true</enable-nacm></nacm>)";

class Following : public ::testing::Test {
protected:
    bool is_tracing() const
    {
        return agent_.json({"get", "agent/diagnostics/trace"}).at("zpf-agent:agent").at("diagnostics").at("trace");
    }

    /// The trace says nothing before there are lines, so the agent is asked.
    void wait_until_tracing() const
    {
        for (int tries = 0; tries < 1000 && !is_tracing(); ++tries) {}
        ASSERT_TRUE(is_tracing());
    }

    RunningAgent agent_;
};

TEST_F(Following, WatchPrintsEachChangeOnce)
{
    Program watch(agent_.command({"watch", "--count", "3"}));
    ASSERT_TRUE(watch.wait_for_errors("watching 2 attenuators"));
    ASSERT_EQ(agent_.zpf({"set", "0/0-VOA-BST2", "12.5"}).status, 0);
    const Outcome outcome = watch.end();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const std::string time = "[0-9]+-[0-9]+-[0-9]+T[0-9]+:[0-9]+:[0-9.]+Z  ";
    // Device and configuration report on their own, so either may come first.
    for (const char* const what : {"configured  9.5 -> 12.5\n", "actual  0.0 -> 12.5\n", "enabled  false -> true\n"}) {
        EXPECT_THAT(outcome.out, MatchesRegex("(.|\n)*" + time + "0/0-VOA-BST2  " + what + "(.|\n)*"));
    }
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 3);
}

TEST_F(Following, WatchPrintsAnObjectALineForPrograms)
{
    Program watch(agent_.command({"watch", "--json", "--count", "1"}));
    ASSERT_TRUE(watch.wait_for_errors("watching"));
    // Nothing changes at the device, so that there is one change only.
    ASSERT_EQ(agent_.zpf({"fault", "0/0-VOA-BST0", "reads-slowly", "--delay", "600000"}).status, 0);
    ASSERT_EQ(agent_.zpf({"set", "0/0-VOA-BST0", "4"}).status, 0);
    const Outcome outcome = watch.end();
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    Json line = Json::parse(outcome.out);
    EXPECT_EQ(line.erase("time"), 1U);
    EXPECT_EQ(line,
              Json::parse(R"({"attenuator": "0/0-VOA-BST0", "what": "configured", "before": 3.0, "after": 4.0})"));
}

TEST_F(Following, WatchTellsARemovalAsAChangeOfTheAttenuatorOnly)
{
    Program watch(agent_.command({"watch", "--json", "--count", "3"}));
    ASSERT_TRUE(watch.wait_for_errors("watching"));
    for (const char* const name : {"0/0-VOA-BST0", "0/0-VOA-BST2"}) { // the device stays as it is
        ASSERT_EQ(agent_.zpf({"fault", name, "reads-slowly", "--delay", "600000"}).status, 0);
    }
    // The order in which a notification has its targets must not matter, so there is something behind each change.
    ASSERT_EQ(agent_.zpf({"edit", "-"}, kRemovalOfBst0).status, 0);
    ASSERT_EQ(agent_.zpf({"set", "0/0-VOA-BST2", "4"}).status, 0);
    ASSERT_EQ(agent_.zpf({"edit", "-"}, kOtherChange).status, 0);
    const Outcome outcome = watch.end();
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    std::istringstream lines(outcome.out);
    for (const char* const expected :
         {R"({"attenuator": "0/0-VOA-BST0", "what": "configured", "before": 3.0, "after": null})",
          R"({"attenuator": "0/0-VOA-BST2", "what": "configured", "before": 9.5, "after": 4.0})"}) {
        std::string text;
        std::getline(lines, text);
        Json line = Json::parse(text);
        line.erase("time");
        EXPECT_EQ(line, Json::parse(expected));
    }
    std::string other;
    std::getline(lines, other);
    EXPECT_THAT(Json::parse(other).at("path").get<std::string>(), HasSubstr("enable-nacm"));
}

TEST_F(Following, WatchEndsOnInterruptAndWithTheAgent)
{
    Program interrupted(agent_.command({"watch"}));
    Program left(agent_.command({"watch"}));
    ASSERT_TRUE(interrupted.wait_for_errors("watching"));
    ASSERT_TRUE(left.wait_for_errors("watching"));
    interrupted.signal(SIGINT);
    EXPECT_EQ(interrupted.end().status, 0);
    agent_.stop();
    const Outcome outcome = left.end();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr(agent_.socket()));
}

TEST_F(Following, TraceShowsTheAgentsLinesAndSwitchesTracingOffAgain)
{
    ASSERT_FALSE(is_tracing());
    Program trace(agent_.command({"trace", "--follow", "--json"}));
    wait_until_tracing();
    ASSERT_EQ(agent_.zpf({"set", "0/0-VOA-BST2", "12.5"}).status, 0);
    ASSERT_TRUE(trace.wait_for_output("oc_opt_att_cfg_attenuation_to_low"));
    EXPECT_TRUE(is_tracing());
    trace.signal(SIGINT);
    const Outcome outcome = trace.end();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(Json::parse(outcome.out.substr(0, outcome.out.find('\n'))).contains("sequence"));
    EXPECT_FALSE(is_tracing());
}

TEST_F(Following, TraceEndsInOrderWhenItsTerminalOrReaderGoes)
{
    for (const int number : {SIGHUP, SIGPIPE}) {
        Program trace(agent_.command({"trace", "--follow"}));
        wait_until_tracing();
        trace.signal(number);
        EXPECT_EQ(trace.end().status, 0);
        EXPECT_FALSE(is_tracing());
    }
}

TEST_F(Following, TraceEndsWithTheAgent)
{
    Program trace(agent_.command({"trace", "--follow"}));
    wait_until_tracing();
    agent_.stop();
    const Outcome outcome = trace.end();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("the agent has closed the session"));
}

TEST_F(Following, TraceNeedsAFileUnlessItFollows)
{
    const Outcome outcome = agent_.zpf({"trace"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("FILE"));
}

} // namespace
} // namespace zpf::cli::test
