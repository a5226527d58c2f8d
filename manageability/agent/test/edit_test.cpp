// SPDX-License-Identifier: Apache-2.0
//
// Edits of running, through either tree.
#include "agent_testing.hpp"

namespace {

using namespace test;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class Edit : public testing::Test {
protected:
    std::string native(const std::string& name) { return agent.get_config(interface(name)); }
    AgentDouble agent;
};

TEST_F(Edit, OfOneTreeIsSeenInTheOther)
{
    ASSERT_EQ(agent.edit(attenuator("0/0-VOA-BST2", "12.5")), kOk);
    EXPECT_THAT(native("Ots0/0/0/2"), HasSubstr("<ots-tx-voa-attenuation>125</ots-tx-voa-attenuation>"));
    const std::string ots = R"(<ots xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-controller-ots-cfg">)"
                            "<ots-tx-voa-attenuation>42</ots-tx-voa-attenuation></ots>";
    ASSERT_EQ(agent.edit(interface("Ots0/0/0/2", ots)), kOk);
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST2"), "4.2");
}

/// The native setting behind an attenuator, in tenths of a dB.
std::string ots(const std::string& tenths)
{
    return R"(<ots xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-controller-ots-cfg"><ots-tx-voa-attenuation>)" +
           tenths + "</ots-tx-voa-attenuation></ots>";
}

TEST_F(Edit, OfBothTreesAtOnceMustNotContradictItself)
{
    const std::string client = attenuator("0/0-VOA-BST2", "1.0");
    const std::string other = interface("Ots0/0/0/2", ots("42"));
    const std::string gone = interface("Ots0/0/0/2", "", "delete");
    for (const std::string& config : {client + other, other + client, client + gone, gone + client}) {
        EXPECT_THAT(agent.edit(config),
                    AllOf(HasSubstr("<error-tag>operation-failed</error-tag>"),
                          HasSubstr("<error-path>/interface-configurations/interface-configuration[active='act']"
                                    "[interface-name='Ots0/0/0/2']")));
        EXPECT_EQ(agent.configured_db("0/0-VOA-BST2"), "9.5");
    }
    EXPECT_EQ(agent.edit(client + interface("Ots0/0/0/2", ots("10"))), kOk); // both say the same
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST2"), "1.0");
}

TEST_F(Edit, OfBothTreesAtOnceAddsUpInEitherOrder)
{
    const std::string client = attenuator("0/0-VOA-BST0", "7.0");
    const std::string other = interface("GigabitEthernet0/0/0/0", "<description>new</description>");
    for (const std::string& config : {client + other, other + client}) {
        AgentDouble fresh;
        ASSERT_EQ(fresh.edit(config), kOk);
        EXPECT_EQ(fresh.configured_db("0/0-VOA-BST0"), "7.0");
        EXPECT_THAT(fresh.get_config(interface("GigabitEthernet0/0/0/0")), HasSubstr("<description>new</description>"));
    }
}

TEST_F(Edit, OfOneOfBothTreesIsNotUndoneByTheOtherAsItWas)
{
    const std::string whole = agent.ask("<get-config><source><running/></source></get-config>");
    const std::string config = whole.substr(whole.find('>') + 1, whole.rfind('<') - whole.find('>') - 1);
    const auto with = [&](const std::string& before, const std::string& after) {
        std::string changed = config;
        EXPECT_THAT(changed, HasSubstr(before));
        return changed.replace(changed.find(before), before.size(), after);
    };
    const std::string native_value = with("<ots-tx-voa-attenuation>95<", "<ots-tx-voa-attenuation>12<");
    const std::string client_value = with("<attenuation>9.5<", "<attenuation>1.2<");
    const auto copied = [](AgentDouble& fresh, const std::string& changed) {
        return fresh.ask("<copy-config><target><running/></target><source><config>" + changed +
                         "</config></source></copy-config>");
    };
    for (const std::string& changed : {native_value, client_value}) {
        AgentDouble merged;
        EXPECT_EQ(merged.edit(changed), kOk);
        EXPECT_EQ(merged.configured_db("0/0-VOA-BST2"), "1.2");
        AgentDouble replaced;
        EXPECT_EQ(replaced.edit(changed, "<default-operation>replace</default-operation>"), kOk);
        EXPECT_EQ(replaced.configured_db("0/0-VOA-BST2"), "1.2");
        AgentDouble fresh;
        EXPECT_EQ(copied(fresh, changed), kOk);
        EXPECT_EQ(fresh.configured_db("0/0-VOA-BST2"), "1.2");
        EXPECT_EQ(fresh.configured_db("0/0-VOA-BST0"), "3.0");
    }
}

TEST_F(Edit, WithAnAttributeAroundAllOfItIsRefused)
{
    const std::string reply =
        agent.ask(R"(<edit-config xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0"><target><running/></target>)"
                  R"(<config nc:operation="delete">)" +
                  attenuator("0/0-VOA-BST2", "1.0") + "</config></edit-config>");
    EXPECT_THAT(reply, HasSubstr("<error-tag>unknown-attribute</error-tag>"));
    EXPECT_THAT(reply, HasSubstr("<bad-attribute>operation</bad-attribute><bad-element>config</bad-element>"));
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST2"), "9.5");
}

TEST_F(Edit, WithAValueTaggedAsTheDefaultGoesBackToIt)
{
    const auto nacm = [](const std::string& leaf) {
        return R"(<nacm xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-acm" )"
               R"(xmlns:wd="urn:ietf:params:xml:ns:netconf:default:1.0">)" +
               leaf + "</nacm>";
    };
    ASSERT_EQ(agent.edit(nacm("<write-default>permit</write-default><read-default>deny</read-default>")), kOk);
    const std::string tagged = nacm(R"(<write-default wd:default="true">deny</write-default>)");
    ASSERT_EQ(agent.edit(tagged, "<default-operation>none</default-operation>"), kOk);
    EXPECT_THAT(agent.get_config(nacm("")), HasSubstr("<write-default>permit</write-default>"));
    ASSERT_EQ(agent.edit(tagged), kOk);
    EXPECT_THAT(agent.get_config(nacm("")), AllOf(HasSubstr("read-default"), Not(HasSubstr("write-default"))));
    EXPECT_THAT(agent.edit(nacm(R"(<read-default wd:default="true">deny</read-default>)")),
                HasSubstr("<error-tag>invalid-value</error-tag>"));
}

TEST_F(Edit, ThatIsRefusedInPartChangesNothing)
{
    const std::string before = agent.ask("<get-config><source><running/></source></get-config>");
    const std::string reply = agent.edit(attenuator("0/0-VOA-BST0", "1.0") + attenuator("0/0-VOA-BST2", "20.1"));
    EXPECT_THAT(reply, HasSubstr("<error-tag>invalid-value</error-tag>"));
    EXPECT_THAT(reply, HasSubstr("attenuator[name='0/0-VOA-BST2']/config/attenuation</error-path>"));
    EXPECT_THAT(agent.edit(attenuator("0/0-VOA-BST0", "1.0") + interface("x", "<bandwidth>-1</bandwidth>")),
                HasSubstr("/interface-configurations/interface-configuration[active='act'][interface-name='x']/"
                          "bandwidth</error-path>"));
    EXPECT_EQ(agent.ask("<get-config><source><running/></source></get-config>"), before);
}

TEST_F(Edit, OfAnAttenuatorThatThereIsNotIsRefused)
{
    EXPECT_THAT(agent.edit(attenuator("0/0-VOA-BST9", "1.0")), HasSubstr("is no attenuator of this device"));
}

TEST_F(Edit, ThatChangesNothingWritesNothing)
{
    const auto generation = agent.store.generation();
    EXPECT_EQ(agent.edit(attenuator("0/0-VOA-BST2", "9.5")), kOk);
    EXPECT_EQ(agent.store.generation(), generation);
}

struct OperationCase {
    const char* name;
    const char* operation;
    const char* interface; ///< name of the entry
    const char* outcome;   ///< "ok" or an error-tag
    const char* after;     ///< description that the entry has then; empty: none, null: no entry
};

void PrintTo(const OperationCase& sample, std::ostream* out)
{
    *out << sample.name;
}

class NativeOperation : public testing::TestWithParam<OperationCase> {};

TEST_P(NativeOperation, OnAListEntry)
{
    AgentDouble agent;
    const auto& sample = GetParam();
    const std::string reply =
        agent.edit(interface(sample.interface, "<description>new</description>", sample.operation));
    EXPECT_THAT(reply, HasSubstr(std::string{sample.outcome} == "ok"
                                     ? "<ok/>"
                                     : "<error-tag>" + std::string{sample.outcome} + "</error-tag>"));
    const std::string after = agent.get_config(interface(sample.interface));
    if (sample.after == nullptr) {
        EXPECT_THAT(after, Not(HasSubstr("<interface-name>")));
    } else {
        EXPECT_THAT(after, HasSubstr(std::string{"<description>"} + sample.after + "</description>"));
    }
}

constexpr const char* kThere = "GigabitEthernet0/0/0/0";
constexpr const char* kAbsent = "GigabitEthernet0/0/0/9";
INSTANTIATE_TEST_SUITE_P(All, NativeOperation,
                         testing::Values(OperationCase{"MergeThere", "merge", kThere, "ok", "new"},
                                         OperationCase{"MergeAbsent", "merge", kAbsent, "ok", "new"},
                                         OperationCase{"ReplaceThere", "replace", kThere, "ok", "new"},
                                         OperationCase{"ReplaceAbsent", "replace", kAbsent, "ok", "new"},
                                         OperationCase{"CreateThere", "create", kThere, "data-exists", "uplink"},
                                         OperationCase{"CreateAbsent", "create", kAbsent, "ok", "new"},
                                         OperationCase{"DeleteThere", "delete", kThere, "ok", nullptr},
                                         OperationCase{"DeleteAbsent", "delete", kAbsent, "data-missing", nullptr},
                                         OperationCase{"RemoveThere", "remove", kThere, "ok", nullptr},
                                         OperationCase{"RemoveAbsent", "remove", kAbsent, "ok", nullptr},
                                         OperationCase{"Misspelt", "murge", kThere, "bad-attribute", "uplink"}),
                         [](const auto& made) { return made.param.name; });

TEST_F(Edit, ByDefaultOperationNoneNeedsWhatItPasses)
{
    const std::string none = "<default-operation>none</default-operation>";
    const std::string gone = "<description nc:operation=\"delete\"/>";
    EXPECT_EQ(agent.edit(interface("GigabitEthernet0/0/0/0", gone), none), kOk);
    EXPECT_THAT(native("GigabitEthernet0/0/0/0"), Not(HasSubstr("description")));
    EXPECT_THAT(agent.edit(interface("Absent", gone), none), HasSubstr("data-missing"));
    EXPECT_THAT(agent.edit(interface("GigabitEthernet0/0/0/0", "<shutdown/>"), none), HasSubstr("data-missing"));
    EXPECT_THAT(native("GigabitEthernet0/0/0/0"), Not(HasSubstr("shutdown")));
}

TEST_F(Edit, OfAKeyAloneOrWithoutItIsRefused)
{
    EXPECT_THAT(agent.edit(R"(<interface-configurations xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-ifmgr-cfg">)"
                           "<interface-configuration><active>act</active></interface-configuration>"
                           "</interface-configurations>"),
                HasSubstr("<bad-element>interface-name</bad-element>"));
}

TEST_F(Edit, OfStateOrUnknownNamesIsRefused)
{
    EXPECT_THAT(agent.edit(R"(<ots-oper xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-controller-ots-oper"/>)"),
                HasSubstr("State data cannot be configured"));
    EXPECT_THAT(agent.edit(interface("x", "<colour>red</colour>")), HasSubstr("<bad-element>colour</bad-element>"));
    EXPECT_THAT(agent.edit("<a xmlns=\"urn:x\"/>"), HasSubstr("<bad-namespace>urn:x</bad-namespace>"));
}

TEST_F(Edit, TestOnlyJudgesAndChangesNothing)
{
    const std::string test = "<test-option>test-only</test-option>";
    EXPECT_EQ(agent.edit(attenuator("0/0-VOA-BST2", "1.0"), test), kOk);
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST2"), "9.5");
    EXPECT_THAT(agent.edit(attenuator("0/0-VOA-BST2", "21.0"), test), HasSubstr("invalid-value"));
}

TEST_F(Edit, KeepsTheOrderThatUsersGive)
{
    const auto list = [](const std::string& name, const std::string& attributes) {
        return R"(<nacm xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-acm"><rule-list )"
               R"(xmlns:yang="urn:ietf:params:xml:ns:yang:1" )" +
               attributes + "><name>" + name + "</name></rule-list></nacm>";
    };
    const auto order = [&] {
        const std::string reply = agent.get_config(R"(<nacm xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-acm"/>)");
        std::string names;
        for (auto at = reply.find("<name>"); at != std::string::npos; at = reply.find("<name>", at + 1)) {
            names += reply.substr(at + 6, reply.find('<', at + 1) - at - 6);
        }
        return names;
    };
    for (const char* name : {"c", "a", "b"}) {
        ASSERT_EQ(agent.edit(list(name, "")), kOk);
    }
    EXPECT_EQ(order(), "cab");
    ASSERT_EQ(agent.edit(list("d", "yang:insert=\"first\"")), kOk);
    EXPECT_EQ(order(), "dcab");
    ASSERT_EQ(agent.edit(list("d", "yang:insert=\"after\" yang:key=\"[name='a']\"")), kOk);
    EXPECT_EQ(order(), "cadb");
    ASSERT_EQ(agent.edit(list("c", "yang:insert=\"last\"")), kOk);
    EXPECT_EQ(order(), "adbc");
    EXPECT_THAT(agent.edit(list("c", "yang:insert=\"before\" yang:key=\"[name='x']\"")), HasSubstr("missing-instance"));
    agent.restart();
    EXPECT_EQ(order(), "adbc");
}

TEST_F(Edit, ThatNamesOneCaseOfAChoiceRemovesTheOthers)
{
    const auto rule = [](const std::string& subject) {
        return R"(<nacm xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-acm"><rule-list><name>l</name><rule>)"
               "<name>r</name>" +
               subject + "<action>deny</action></rule></rule-list></nacm>";
    };
    const std::string path = R"(<path xmlns:oc="http://openconfig.net/yang/optical-attenuator">/oc:optical-attenuator)"
                             "</path>";
    const auto rules = [&] {
        return agent.get_config(R"(<nacm xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-acm"/>)");
    };
    ASSERT_EQ(agent.edit(rule("<rpc-name>commit</rpc-name>")), kOk);
    EXPECT_THAT(rules(), HasSubstr("<rpc-name>commit</rpc-name>"));
    ASSERT_EQ(agent.edit(rule(path)), kOk);
    EXPECT_THAT(rules(), HasSubstr("</path>"));
    EXPECT_THAT(rules(), Not(HasSubstr("rpc-name")));
    ASSERT_EQ(agent.edit(rule("<rpc-name>lock</rpc-name><path nc:operation=\"delete\"/>")), kOk); // said twice over
    EXPECT_THAT(rules(), HasSubstr("<rpc-name>lock</rpc-name>"));
    EXPECT_THAT(rules(), Not(HasSubstr("</path>")));
    EXPECT_THAT(agent.edit(rule("<rpc-name>lock</rpc-name>" + path)), HasSubstr("<error-tag>bad-element</error-tag>"));
    EXPECT_THAT(agent.edit(rule("<path nc:operation=\"delete\"/>")), HasSubstr("data-missing"));
}

TEST_F(Edit, WithAParameterThatStandsTwiceIsRefused)
{
    const std::string target = "<target><running/></target>";
    const std::string config = "<config>" + attenuator("0/0-VOA-BST2", "1.0") + "</config>";
    const std::string merge = "<default-operation>merge</default-operation>";
    const auto edit = [&](const std::string& inner) { return agent.ask("<edit-config>" + inner + "</edit-config>"); };
    const auto copy = [&](const std::string& inner) { return agent.ask("<copy-config>" + inner + "</copy-config>"); };
    const auto refuses = [](const std::string& name) {
        return testing::AllOf(HasSubstr("<error-type>protocol</error-type><error-tag>bad-element</error-tag>"),
                              HasSubstr("<bad-element>" + name + "</bad-element>"));
    };
    EXPECT_THAT(edit(target + config + config), refuses("config"));
    EXPECT_THAT(edit(target + target + config), refuses("target"));
    EXPECT_THAT(edit("<target><running/><candidate/></target>" + config), refuses("candidate"));
    EXPECT_THAT(edit(target + merge + merge + config), refuses("default-operation"));
    EXPECT_THAT(copy(target + "<source>" + config + config + "</source>"), refuses("config"));
    EXPECT_THAT(copy(target + "<source><candidate/>" + config + "</source>"), refuses("config"));
    EXPECT_THAT(edit(target + config + "<url>file:///x</url>"), HasSubstr("operation-not-supported"));
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST2"), "9.5");
    EXPECT_EQ(edit(target + merge + config), kOk);
}

TEST_F(Edit, WithAnAttributeThatMeansNothingIsRefused)
{
    for (const char* attribute : {"operation=\"delete\"", "nc:insert=\"first\"", "xmlns:x=\"urn:x\" x:y=\"z\""}) {
        const std::string name = "GigabitEthernet0/0/0/0";
        const std::string reply =
            agent.edit(interface(name, "<description " + std::string{attribute} + ">x</description>"));
        EXPECT_THAT(reply, HasSubstr("<error-tag>unknown-attribute</error-tag>"));
        EXPECT_THAT(reply, HasSubstr("<bad-element>description</bad-element>"));
        EXPECT_THAT(reply, HasSubstr("/interface-configuration/description</error-path>"));
        EXPECT_THAT(native(name), HasSubstr("<description>uplink</description>"));
    }
    EXPECT_THAT(agent.edit(R"(<optical-attenuator xmlns="http://openconfig.net/yang/optical-attenuator" operation=)"
                           R"("remove"/>)"),
                HasSubstr("<bad-attribute>operation</bad-attribute>"));
    EXPECT_EQ(agent.edit(interface("GigabitEthernet0/0/0/0",
                                   R"(<description xmlns:wd="urn:ietf:params:xml:ns:netconf:default:1.0" )"
                                   R"(wd:default="false" nc:operation="merge">new</description>)")),
              kOk);
    EXPECT_THAT(native("GigabitEthernet0/0/0/0"), HasSubstr("<description>new</description>"));
}

TEST_F(Edit, IsShownBeforeItIsMade)
{
    const std::string reply = agent.ask(R"(<preview-edit xmlns="urn:zpf:yang:zpf-agent"><config>)" +
                                        attenuator("0/0-VOA-BST2", "1.5") + "</config></preview-edit>");
    EXPECT_THAT(reply, HasSubstr("<before>95</before><after>15</after>"));
    EXPECT_THAT(reply,
                HasSubstr("/Quarn-KMT-VN-ifmgr-cfg:interface-configurations/interface-configuration[active='act']"
                          "[interface-name='Ots0/0/0/2']/Quarn-KMT-VN-controller-ots-cfg:ots/"));
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST2"), "9.5");
}

TEST_F(Edit, CopiesAWholeConfiguration)
{
    EXPECT_EQ(agent.ask("<copy-config><target><running/></target><source><config>" + attenuator("0/0-VOA-BST0", "7.0") +
                        "</config></source></copy-config>"),
              kOk);
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST0"), "7.0");
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST2"), "none");
    EXPECT_THAT(native("GigabitEthernet0/0/0/0"), Not(HasSubstr("interface-name")));
    EXPECT_THAT(agent.ask("<copy-config><target><running/></target><source><running/></source></copy-config>"),
                HasSubstr("invalid-value"));
    EXPECT_THAT(agent.ask("<delete-config><target><startup/></target></delete-config>"),
                HasSubstr("operation-not-supported"));
}

TEST_F(Edit, TellsSubscribersOfChanges)
{
    agent.edit(attenuator("0/0-VOA-BST0", "7.0"));
    agent.edit(attenuator("0/0-VOA-BST0", "7.0"));
    EXPECT_THAT(agent.events, testing::ElementsAre("netconf-config-change"));
}

TEST_F(Edit, RefusesNamesThatAreTooLongToKeep)
{
    EXPECT_THAT(agent.edit(interface(std::string(600, 'n'), "<shutdown/>")), HasSubstr("too-big"));
    EXPECT_EQ(agent.edit(attenuator("0/0-VOA-BST0", "7.0")), kOk);
}

} // namespace
