// SPDX-License-Identifier: Apache-2.0
//
// Access rules, for both trees.
#include "agent_testing.hpp"

namespace {

using namespace test;
using testing::HasSubstr;
using testing::Not;

class Access : public testing::Test {
protected:
    void allow(const std::string& rule)
    {
        ASSERT_EQ(agent.edit(R"(<nacm xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-acm"><groups><group>)"
                             "<name>ops</name><user-name>ann</user-name></group></groups><rule-list><name>l</name>"
                             "<group>ops</group><rule><name>r</name>" +
                             rule + "</rule></rule-list></nacm>"),
                  kOk);
    }
    std::string edit_as_ann(const std::string& config)
    {
        return agent.ask(ann, "<edit-config><target><running/></target><config>" + config + "</config></edit-config>");
    }
    AgentDouble agent;
    std::shared_ptr<zpf::agent::SessionInfo> ann = session_of("ann");
};

constexpr const char* kOcPath = R"(<path xmlns:oc="http://openconfig.net/yang/optical-attenuator">)"
                                "/oc:optical-attenuator/oc:attenuators/oc:attenuator[oc:name='0/0-VOA-BST2']</path>";
constexpr const char* kNativePath = R"(<path xmlns:if="http://quarn.example/ns/yang/Quarn-KMT-VN-ifmgr-cfg">)"
                                    "/if:interface-configurations</path>";

TEST_F(Access, WithoutRulesReadsAndDoesNotWrite)
{
    EXPECT_THAT(agent.ask(ann, "<get-config><source><running/></source></get-config>"), HasSubstr("0/0-VOA-BST2"));
    EXPECT_THAT(edit_as_ann(attenuator("0/0-VOA-BST2", "1.0")), HasSubstr("access-denied"));
    EXPECT_THAT(edit_as_ann(interface("x", "<shutdown/>")), HasSubstr("access-denied"));
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST2"), "9.5");
    EXPECT_EQ(agent.nacm_counters.denied_data_writes, 2u);
    EXPECT_THAT(agent.ask(ann, "<kill-session><session-id>1</session-id></kill-session>"), HasSubstr("access-denied"));
    EXPECT_EQ(agent.nacm_counters.denied_operations, 1u);
}

TEST_F(Access, ARuleForTheClientTreeLetsThroughThatTreeOnly)
{
    allow(std::string{kOcPath} + "<access-operations>*</access-operations><action>permit</action>");
    EXPECT_EQ(edit_as_ann(attenuator("0/0-VOA-BST2", "1.0")), kOk);
    EXPECT_THAT(edit_as_ann(attenuator("0/0-VOA-BST0", "1.0")), HasSubstr("access-denied"));
    EXPECT_THAT(edit_as_ann(interface("Ots0/0/0/2", "<shutdown/>")), HasSubstr("access-denied"));
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST2"), "1.0");
}

TEST_F(Access, ARuleForTheNativeTreeLetsThroughThatTreeOnly)
{
    allow(std::string{kNativePath} + "<access-operations>*</access-operations><action>permit</action>");
    EXPECT_EQ(edit_as_ann(interface("Ots0/0/0/2", "<shutdown/>")), kOk);
    EXPECT_THAT(edit_as_ann(attenuator("0/0-VOA-BST2", "1.0")), HasSubstr("access-denied"));
}

TEST_F(Access, HidesWhatMayNotBeRead)
{
    allow(std::string{kOcPath} + "<access-operations>read</access-operations><action>deny</action>");
    const std::string get =
        "<get-config><source><running/></source><filter>" + std::string{kOcFilter} + "</filter></get-config>";
    EXPECT_THAT(agent.ask(ann, get), Not(HasSubstr("BST2")));
    EXPECT_THAT(agent.ask(ann, get), HasSubstr("BST0"));
    EXPECT_THAT(agent.ask(get), HasSubstr("BST2")); // the same text, asked by somebody else
    EXPECT_THAT(agent.ask(ann, get), Not(HasSubstr("BST2")));
    const std::string native = agent.ask(ann, "<get-config><source><running/></source></get-config>");
    EXPECT_THAT(native, HasSubstr("Ots0/0/0/2")); // a rule protects the tree that it names
}

TEST_F(Access, DoesNotTellOfHiddenDataByConditions)
{
    allow(std::string{kOcPath} + "<access-operations>read</access-operations><action>deny</action>");
    EXPECT_THAT(agent.ask(ann, R"(<get-config xmlns:oc="http://openconfig.net/yang/optical-attenuator"><source>)"
                               R"(<running/></source><filter type="xpath" select="/oc:optical-attenuator[.//oc:)"
                               R"(attenuation='9.5']"/></get-config>)"),
                Not(HasSubstr("attenuator")));
}

TEST_F(Access, LeavesOutOfAPreviewWhatMayNotBeRead)
{
    allow(std::string{kOcPath} +
          "<access-operations>*</access-operations><action>permit</action></rule><rule>"
          "<name>s</name>" +
          kNativePath + "<access-operations>read</access-operations><action>deny</action>");
    const std::string preview = R"(<preview-edit xmlns="urn:zpf:yang:zpf-agent"><config>)" +
                                attenuator("0/0-VOA-BST2", "1.5") + "</config></preview-edit>";
    EXPECT_EQ(agent.ask(ann, preview), kOk);
    EXPECT_THAT(agent.ask(preview), HasSubstr("<before>95</before><after>15</after>"));
    ASSERT_EQ(agent.edit(R"(<nacm xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-acm"><rule-list><name>l</name>)"
                         R"(<rule nc:operation="delete"><name>s</name></rule></rule-list></nacm>)"),
              kOk);
    EXPECT_THAT(agent.ask(ann, preview), HasSubstr("<before>95</before><after>15</after>"));
}

std::string rule_with(const std::string& path)
{
    return R"(<nacm xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-acm"><rule-list><name>l</name><rule><name>r</name>)"
           R"(<path xmlns:oc="http://openconfig.net/yang/optical-attenuator">)" +
           path + "</path><action>deny</action></rule></rule-list></nacm>";
}

std::string copy_of(const std::string& config)
{
    return "<copy-config><target><running/></target><source><config>" + config + "</config></source></copy-config>";
}

class BadRulePath : public testing::TestWithParam<const char*> {};

TEST_P(BadRulePath, IsRefusedWhereverItComesFrom)
{
    AgentDouble agent;
    const std::string config = rule_with(GetParam());
    const auto is_refused =
        testing::AllOf(HasSubstr("<error-tag>invalid-value</error-tag>"), HasSubstr("<bad-element>path</bad-element>"));
    EXPECT_THAT(agent.edit(config), is_refused);
    EXPECT_THAT(agent.ask("<validate><source><config>" + config + "</config></source></validate>"), is_refused);
    EXPECT_THAT(agent.ask(copy_of(config)), is_refused);
    EXPECT_THAT(agent.ask(R"(<edit-data xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-nmda" xmlns:ds="urn:ietf:)"
                          R"(params:xml:ns:yang:ietf-datastores"><datastore>ds:running</datastore><config>)" +
                          config + "</config></edit-data>"),
                is_refused);
    ASSERT_EQ(agent.edit(config, "", "candidate"), kOk); // judged when it is committed
    EXPECT_THAT(agent.ask("<validate><source><candidate/></source></validate>"), is_refused);
    EXPECT_THAT(agent.ask("<commit/>"), is_refused);
    EXPECT_THAT(agent.get_config(R"(<nacm xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-acm"/>)"),
                Not(HasSubstr("<rule-list>")));
}

INSTANTIATE_TEST_SUITE_P(All, BadRulePath,
                         testing::Values("//oc:attenuation", "oc:optical-attenuator", "/oc:bogus",
                                         "/oc:optical-attenuator/oc:attenuators/oc:attenuator[1]",
                                         "/oc:optical-attenuator/oc:attenuators/oc:attenuator"
                                         "[oc:config/oc:attenuation>5]"));

TEST_F(Access, TakesPathsThatLeaveOutKeysOrNameTheUser)
{
    for (const char* path : {"/", "/oc:optical-attenuator/oc:attenuators/oc:attenuator/oc:config",
                             "/oc:optical-attenuator/oc:attenuators/oc:attenuator[oc:name=$USER]"}) {
        EXPECT_EQ(agent.edit(rule_with(path)), kOk) << path;
    }
    EXPECT_THAT(agent.edit(rule_with("/oc:bogus")),
                HasSubstr("<error-path>/nacm/rule-list[name='l']/rule[name='r']/path</error-path>"));
}

TEST_F(Access, RulesSurviveARestart)
{
    allow(std::string{kOcPath} + "<access-operations>*</access-operations><action>permit</action>");
    agent.restart();
    EXPECT_EQ(edit_as_ann(attenuator("0/0-VOA-BST2", "1.0")), kOk);
    EXPECT_THAT(agent.ask(ann, R"(<get><filter><nacm xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-acm"/>)"
                               "</filter></get>"),
                Not(HasSubstr("rule-list"))); // rules are for those who manage them
}

TEST_F(Access, IsAskedAgainWhenACandidateIsCommitted)
{
    allow(std::string{kOcPath} + "<access-operations>*</access-operations><action>permit</action>");
    agent.edit(attenuator("0/0-VOA-BST0", "1.0"), "", "candidate");
    EXPECT_THAT(agent.ask(ann, "<commit/>"), HasSubstr("access-denied"));
    agent.ask("<discard-changes/>");
    agent.ask(ann, "<edit-config><target><candidate/></target><config>" + attenuator("0/0-VOA-BST2", "1.0") +
                       "</config></edit-config>");
    EXPECT_EQ(agent.ask(ann, "<commit/>"), kOk);
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST2"), "1.0");
}

} // namespace
