// SPDX-License-Identifier: Apache-2.0
//
// The commands that ask the agent once: tables, JSON, refusals, statuses.
#include <gmock/gmock.h>

#include <cstdlib>

#include "programs.hpp"

namespace zpf::cli::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* kEdit = R"(<optical-attenuator xmlns="http://openconfig.net/yang/optical-attenuator">
  <attenuators><attenuator><name>0/0-VOA-BST2</name>
    <config><name>0/0-VOA-BST2</name><attenuation>12.5</attenuation></config>
  </attenuator></attenuators></optical-attenuator>)";

constexpr const char* kNativePath =
    "/Quarn-KMT-VN-ifmgr-cfg:interface-configurations/interface-configuration[active='act']"
    "[interface-name='Ots0/0/0/2']/Quarn-KMT-VN-controller-ots-cfg:ots/ots-tx-voa-attenuation";

class AgentCommands : public ::testing::Test {
protected:
    RunningAgent agent_;
};

TEST_F(AgentCommands, ShowPrintsATableOfTheAttenuators)
{
    const Outcome outcome = agent_.zpf({"show"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "NAME          CONTROLLER  CONFIGURED dB  ACTUAL dB  ENABLED\n"
                           "0/0-VOA-BST0  Ots0/0/0/0            3.0        3.1  yes\n"
                           "0/0-VOA-BST2  Ots0/0/0/2            9.5        0.0  no\n");
    EXPECT_EQ(agent_.zpf({"show", "--names"}).out, "0/0-VOA-BST0\n0/0-VOA-BST2\n");
}

TEST_F(AgentCommands, ShowColoursOnlyWhenTold)
{
    EXPECT_THAT(agent_.zpf({"--colour", "always", "show"}).out, HasSubstr("\033[1mNAME"));
    EXPECT_THAT(agent_.zpf({"show"}).out, Not(HasSubstr("\033")));
}

TEST_F(AgentCommands, ShowHasNumbersForPrograms)
{
    const Json list = agent_.json({"show"});
    EXPECT_EQ(list.at(0), Json::parse(R"({"name": "0/0-VOA-BST0", "controller": "Ots0/0/0/0", "configured-db": 3.0,
                                          "actual-db": 3.1, "enabled": true})"));
    EXPECT_EQ(list.at(1).at("enabled"), false);
    EXPECT_EQ(agent_.json({"show", "--names"}), (Json{"0/0-VOA-BST0", "0/0-VOA-BST2"}));
}

TEST_F(AgentCommands, ShowSaysWhichReadingsAreMissing)
{
    const Json faults = agent_.json({"fault", "0/0-VOA-BST2", "reads-nothing"});
    EXPECT_EQ(faults, Json::parse(R"([{"port": "Ots0/0/0/2", "kind": "reads-nothing"}])"));
    // An edit makes the device read.
    ASSERT_EQ(agent_.zpf({"set", "0/0-VOA-BST2", "4"}).status, 0);
    EXPECT_THAT(agent_.zpf({"show"}).out, HasSubstr("0/0-VOA-BST2  Ots0/0/0/2            4.0          -  -\n"));
    EXPECT_EQ(agent_.json({"show"}).at(1).at("actual-db"), nullptr);
}

TEST_F(AgentCommands, ShowDoesNotTakeAReadingForConfiguration)
{
    // The reading stays what it was, so there is a value that could be taken for a configured one.
    ASSERT_EQ(agent_.zpf({"fault", "0/0-VOA-BST0", "reads-slowly", "--delay", "600000"}).status, 0);
    ASSERT_EQ(agent_.zpf({"edit", "-"}, kRemovalOfBst0).status, 0);
    EXPECT_THAT(agent_.zpf({"show"}).out, HasSubstr("0/0-VOA-BST0  Ots0/0/0/0              -        3.1  yes\n"));
    const Json list = agent_.json({"show"});
    for (const Json& each : list) {
        const bool removed = each.at("name") == "0/0-VOA-BST0";
        EXPECT_EQ(each.at("configured-db"), removed ? Json(nullptr) : Json(9.5));
    }
}

TEST_F(AgentCommands, SetPrintsTheValueBeforeAndAfterAsTheDeviceHasThem)
{
    EXPECT_EQ(agent_.zpf({"set", "0/0-VOA-BST2", "12.5"}).out, "0/0-VOA-BST2: 9.5 -> 12.5 dB\n");
    EXPECT_EQ(agent_.json({"set", "0/0-VOA-BST2", "12.34"}),
              Json::parse(R"({"name": "0/0-VOA-BST2", "before-db": 12.5, "after-db": 12.3})"));
    EXPECT_EQ(agent_.json({"show"}).at(1).at("configured-db"), 12.3);
}

TEST_F(AgentCommands, SetPrintsARefusalAsAClientSeesIt)
{
    const Outcome outcome = agent_.zpf({"set", "0/0-VOA-BST2", "25"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, R"(refused
  error-type    application
  error-tag     invalid-value
  error-app-tag ZPF_RC_INVALID_VALUE
  error-path    /optical-attenuator/attenuators/attenuator[name='0/0-VOA-BST2']/config/attenuation
  error-message Invalid argument:VN support range from 0 to 200
  bad-element   attenuation
)");
    EXPECT_EQ(agent_.zpf({"set", "0/0-VOA-BST2", "-1"}).status, 1);
    EXPECT_EQ(agent_.zpf({"set", "0/0-VOA-BST2", "much"}).status, 1);
    EXPECT_EQ(agent_.json({"show"}).at(1).at("configured-db"), 9.5);
}

TEST_F(AgentCommands, RefusalsAreJsonForPrograms)
{
    const Outcome outcome = agent_.zpf({"set", "0/0-VOA-BST7<", "3", "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    const Json error = Json::parse(outcome.err).at("errors").at(0);
    EXPECT_EQ(error.at("error-tag"), "invalid-value");
    EXPECT_THAT(error.at("error-path").get<std::string>(), HasSubstr("0/0-VOA-BST7<"));
}

TEST_F(AgentCommands, GetPrintsWhatAPathSelects)
{
    const std::string leaf = "optical-attenuator/attenuators/attenuator[name='0/0-VOA-BST2']/config/attenuation";
    const std::string tree = "optical-attenuator\n  attenuators\n    attenuator\n      name = \"0/0-VOA-BST2\"\n"
                             "      config\n        attenuation = \"9.5\"\n";
    EXPECT_EQ(agent_.zpf({"get", leaf}).out, tree);
    EXPECT_EQ(agent_.zpf({"get", "/openconfig-optical-attenuator:" + leaf}).out, tree);
    const std::string xml = agent_.zpf({"get", "--format", "xml", "optical-attenuator"}).out;
    EXPECT_THAT(xml, AllOf(HasSubstr("<optical-attenuator xmlns=\"http://openconfig.net/yang/optical-attenuator\">"),
                           HasSubstr("<instant>3.1</instant>")));
    const std::string config = agent_.zpf({"get", "--config", "optical-attenuator"}).out;
    EXPECT_THAT(config, AllOf(HasSubstr("attenuation = \"3.0\""), Not(HasSubstr("state"))));
}

TEST_F(AgentCommands, GetPrintsJsonByTheRulesOfTheModels)
{
    const Json ports = agent_.json({"get", "ots-oper/ots-ports/ots-port[name='Ots0/0/0/1']"});
    EXPECT_EQ(ports, Json::parse(R"({"Quarn-KMT-VN-controller-ots-oper:ots-oper": {"ots-ports": {"ots-port":
                                     [{"name": "Ots0/0/0/1", "ots-info": {"tx-voa-attenuation": 77}}]}}})"));
    const Json everything = agent_.json({"get"});
    EXPECT_TRUE(everything.contains("openconfig-optical-attenuator:optical-attenuator"));
    EXPECT_TRUE(everything.contains("ietf-netconf-monitoring:netconf-state"));
    EXPECT_TRUE(everything.at("zpf-agent:agent").at("sessions").at("opened").is_string()); // a 64-bit counter
}

TEST_F(AgentCommands, GetSaysWhereNothingIs)
{
    const Outcome outcome = agent_.zpf({"get", "nothing/here"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("there is nothing at nothing/here"));
    EXPECT_EQ(agent_.zpf({"get", "nothing/here", "--json"}).out, "{}\n");
}

TEST_F(AgentCommands, GetSaysWhatIsWrongWithAPath)
{
    const Outcome module = agent_.zpf({"get", "/no-module:top"});
    EXPECT_EQ(module.status, 3);
    EXPECT_THAT(module.err, HasSubstr("the agent has no module \"no-module\""));
    const Outcome syntax = agent_.zpf({"get", "//["});
    EXPECT_EQ(syntax.status, 1);
    EXPECT_THAT(syntax.err, AllOf(HasSubstr("error-tag     invalid-value"), HasSubstr("bad-element   filter")));
}

TEST_F(AgentCommands, EditChangesWhatTheFileSays)
{
    const std::string file = agent_.folder().write("edit.xml", kEdit);
    EXPECT_EQ(agent_.zpf({"edit", file}).out, "running: done\n");
    EXPECT_EQ(agent_.json({"show"}).at(1).at("configured-db"), 12.5);
    EXPECT_EQ(agent_.zpf({"edit", "-", "--target", "candidate"}, kEdit).status, 0);
    EXPECT_EQ(agent_.json({"edit", file}), Json::parse(R"({"target": "running", "done": true})"));
}

TEST_F(AgentCommands, EditTellsInADryRunWhatItWouldChangeNatively)
{
    const std::string file = agent_.folder().write("edit.xml", kEdit);
    const std::string path = kNativePath;
    EXPECT_EQ(agent_.zpf({"edit", "--dry-run", file}).out, "-" + path + " = \"95\"\n+" + path + " = \"125\"\n");
    EXPECT_EQ(agent_.json({"edit", "--dry-run", file}),
              (Json::array({{{"path", path}, {"before", "95"}, {"after", "125"}}})));
    EXPECT_EQ(agent_.json({"show"}).at(1).at("configured-db"), 9.5);
    ASSERT_EQ(agent_.zpf({"edit", file}).status, 0);
    EXPECT_EQ(agent_.zpf({"edit", "--dry-run", file}).out, "nothing would change\n");
    EXPECT_EQ(agent_.zpf({"edit", "--dry-run", "--target", "candidate", file}).status, 3);
}

TEST_F(AgentCommands, EditSaysWhatIsWrongWithAFile)
{
    const Outcome absent = agent_.zpf({"edit", "/nowhere.xml"});
    EXPECT_EQ(absent.status, 3);
    EXPECT_THAT(absent.err, HasSubstr("/nowhere.xml: cannot be read"));
    const std::string bad = agent_.folder().write("bad.xml", "<a>\n<b></a>");
    const Outcome broken = agent_.zpf({"edit", bad});
    EXPECT_EQ(broken.status, 3);
    EXPECT_THAT(broken.err, HasSubstr("bad.xml: line 2:"));
    EXPECT_EQ(agent_.zpf({"edit", "-"}, "<top xmlns='urn:none'/>").status, 1);
    EXPECT_EQ(agent_.zpf({"edit", "-", "--default-operation", "delete"}, kEdit).status, 2);
}

TEST_F(AgentCommands, SessionsShowsAndEndsThem)
{
    Program other(agent_.command({"watch"}));
    ASSERT_TRUE(other.wait_for_errors("watching"));
    const Json list = agent_.json({"sessions"});
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list.at(0).at("own"), false);
    EXPECT_EQ(list.at(1).at("own"), true);
    const std::string id = std::to_string(list.at(0).at("session-id").get<int>());
    EXPECT_THAT(agent_.zpf({"sessions"}).out, AllOf(HasSubstr("ID  USER"), HasSubstr("\n " + id + "  ")));
    EXPECT_EQ(agent_.zpf({"sessions", "kill", id}).out, "session " + id + " has been ended\n");
    const Outcome ended = other.end();
    EXPECT_EQ(ended.status, 3);
    EXPECT_THAT(ended.err, HasSubstr(agent_.socket() + ": the agent has closed the session"));
    const Outcome again = agent_.zpf({"sessions", "kill", id});
    EXPECT_EQ(again.status, 1);
    EXPECT_THAT(again.err, HasSubstr("bad-element   session-id"));
}

TEST_F(AgentCommands, StatsCountsRequestsAndTheirTimes)
{
    const Json before = agent_.json({"stats"});
    ASSERT_EQ(agent_.zpf({"set", "0/0-VOA-BST2", "5"}).status, 0);
    ASSERT_EQ(agent_.zpf({"set", "0/0-VOA-BST2", "50"}).status, 1);
    const Json after = agent_.json({"stats"});
    EXPECT_EQ(before.at("requests").contains("edit-config"), false);
    EXPECT_EQ(after.at("requests").at("edit-config"), Json::parse(R"({"done": 1, "refused": 1})"));
    EXPECT_EQ(after.at("refusals").at("invalid-value"), 1);
    EXPECT_EQ(after.at("store").at("edits"), 1);
    const Json& store = after.at("store");
    EXPECT_DOUBLE_EQ(store.at("mean-time-us").get<double>(),
                     store.at("total-time-ns").get<double>() / store.at("count").get<double>() / 1000);
    EXPECT_EQ(before.at("store").at("mean-time-us"), nullptr);
    EXPECT_THAT(agent_.zpf({"stats"}).out,
                AllOf(HasSubstr("commits   1, "), HasSubstr("us each; 1 edits in them"), HasSubstr("edit-config")));
}

TEST_F(AgentCommands, LogSetsAndShowsTheLevel)
{
    EXPECT_EQ(agent_.zpf({"log"}).out, "debug log: off\n");
    EXPECT_EQ(agent_.zpf({"log", "trace"}).out, "debug log: trace\n");
    EXPECT_EQ(agent_.json({"log"}), Json::parse(R"({"log": "trace"})"));
    EXPECT_EQ(agent_.zpf({"log", "off"}).out, "debug log: off\n");
    EXPECT_EQ(agent_.zpf({"log", "loud"}).status, 2);
}

TEST_F(AgentCommands, FaultMakesTheDeviceFail)
{
    EXPECT_EQ(agent_.zpf({"fault"}).out, "no faults\n");
    EXPECT_EQ(agent_.zpf({"fault", "0/0-VOA-BST2", "refuse-value", "--value", "12.5"}).out,
              "PORT        FAULT\nOts0/0/0/2  refuse-value\n");
    EXPECT_EQ(agent_.zpf({"set", "0/0-VOA-BST2", "12.5"}).status, 1);
    EXPECT_EQ(agent_.zpf({"set", "0/0-VOA-BST2", "12.6"}).status, 0);
    EXPECT_EQ(agent_.zpf({"fault", "Ots0/0/0/2", "--clear"}).out, "no faults\n");
    EXPECT_EQ(agent_.zpf({"set", "0/0-VOA-BST2", "12.5"}).status, 0);
}

TEST_F(AgentCommands, FaultTakesOnlyWhatGoesTogether)
{
    const std::vector<std::vector<std::string>> usages{{"fault", "x"},
                                                       {"fault", "--clear"},
                                                       {"fault", "x", "explode"},
                                                       {"fault", "x", "no-answer", "--clear"},
                                                       {"fault", "x", "no-answer", "--value", "1"},
                                                       {"fault", "x", "refuse-value", "--delay", "1"}};
    for (const auto& usage : usages) {
        EXPECT_EQ(agent_.zpf(usage).status, 2) << ::testing::PrintToString(usage);
    }
}

TEST_F(AgentCommands, StoreIsLookedAtBesideTheAgent)
{
    const Outcome dump = run({ZPF_PROGRAM, "store", "dump", "--store", agent_.folder().file("store")});
    EXPECT_EQ(dump.status, 0) << dump.err;
    EXPECT_THAT(dump.out, HasSubstr("ots-tx-voa-attenuation\t95\n"));
}

TEST_F(AgentCommands, FindTheSocketInTheEnvironment)
{
    ASSERT_EQ(::setenv("ZPF_SOCKET", agent_.socket().c_str(), 1), 0);
    const Outcome outcome = run({ZPF_PROGRAM, "show", "--names"});
    ::unsetenv("ZPF_SOCKET");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
}

TEST_F(AgentCommands, SayThatTheAgentDoesNotRun)
{
    agent_.stop();
    const std::vector<std::vector<std::string>> commands{{"show"},
                                                         {"set", "0/0-VOA-BST2", "1"},
                                                         {"get", "a"},
                                                         {"watch"},
                                                         {"sessions"},
                                                         {"sessions", "kill", "1"},
                                                         {"stats"},
                                                         {"log"},
                                                         {"fault"},
                                                         {"trace", "--follow"},
                                                         {"edit", agent_.folder().write("e.xml", kEdit)}};
    for (const auto& command : commands) {
        const Outcome outcome = agent_.zpf(command);
        EXPECT_EQ(outcome.status, 3) << ::testing::PrintToString(command);
        EXPECT_EQ(outcome.out, "") << ::testing::PrintToString(command);
        EXPECT_THAT(outcome.err, AllOf(HasSubstr(agent_.socket()), HasSubstr("is zpfd running")));
    }
}

TEST(Usage, IsCheckedBeforeTheAgentIsAsked)
{
    const std::vector<std::vector<std::string>> usages{{"set"},
                                                       {"set", "0/0-VOA-BST2"},
                                                       {"set", "0/0-VOA-BST2", "1", "2"},
                                                       {"edit"},
                                                       {"get", "--format", "yaml", "a"},
                                                       {"sessions", "kill"},
                                                       {"sessions", "kill", "me"},
                                                       {"watch", "--count", "few"},
                                                       {"watch", "--count", "-1"},
                                                       {"completion"},
                                                       {"completion", "fish"},
                                                       {"store"}};
    for (const auto& usage : usages) {
        std::vector<std::string> words{ZPF_PROGRAM};
        words.insert(words.end(), usage.begin(), usage.end());
        const Outcome outcome = run(words);
        EXPECT_EQ(outcome.status, 2) << ::testing::PrintToString(usage);
        EXPECT_NE(outcome.err, "") << ::testing::PrintToString(usage);
    }
}

TEST(Usage, NamesWhatIsWrong)
{
    EXPECT_THAT(run({ZPF_PROGRAM, "bogus"}).err, HasSubstr("\"bogus\" is no command"));
    EXPECT_THAT(run({ZPF_PROGRAM}).err, HasSubstr("A subcommand is required"));
    EXPECT_THAT(run({ZPF_PROGRAM, "watch", "--count", "-1"}).err, AllOf(HasSubstr("--count"), HasSubstr("\"-1\"")));
}

} // namespace
} // namespace zpf::cli::test
