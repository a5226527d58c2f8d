// SPDX-License-Identifier: Apache-2.0
//
// get, get-config and get-data.
#include <algorithm>

#include "agent_testing.hpp"

namespace {

using namespace test;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

std::string data(const std::string& content)
{
    return R"(<data xmlns="urn:ietf:params:xml:ns:netconf:base:1.0">)" + content + "</data>";
}

constexpr const char* kBst0 = R"(<optical-attenuator xmlns="http://openconfig.net/yang/optical-attenuator">)"
                              "<attenuators><attenuator><name>0/0-VOA-BST0</name><config><name>0/0-VOA-BST0</name>"
                              "<attenuation>3.0</attenuation></config></attenuator></attenuators></optical-attenuator>";

class Read : public testing::Test {
protected:
    std::string xpath(const std::string& expression)
    {
        return agent.ask(R"(<get-config xmlns:oc="http://openconfig.net/yang/optical-attenuator" xmlns:if=)"
                         R"("http://quarn.example/ns/yang/Quarn-KMT-VN-ifmgr-cfg"><source><running/></source>)"
                         "<filter type=\"xpath\" select=\"" +
                         expression + "\"/></get-config>");
    }
    AgentDouble agent;
};

TEST_F(Read, OfOneAttenuatorShowsThatOne)
{
    const std::string filter = R"(<optical-attenuator xmlns="http://openconfig.net/yang/optical-attenuator">)"
                               "<attenuators><attenuator><name>0/0-VOA-BST0</name></attenuator></attenuators>"
                               "</optical-attenuator>";
    EXPECT_EQ(agent.get_config(filter), data(kBst0));
    EXPECT_EQ(agent.get_config(filter), data(kBst0)); // known by now
    EXPECT_EQ(agent.counters.cached_plans, 1u);
}

TEST_F(Read, ThatIsRepeatedSeesEveryChange)
{
    for (const char* db : {"1.0", "2.5", "20.0"}) {
        ASSERT_EQ(agent.edit(attenuator("0/0-VOA-BST0", db)), kOk);
        EXPECT_EQ(agent.configured_db("0/0-VOA-BST0"), db);
        EXPECT_EQ(agent.configured_db("0/0-VOA-BST0"), db);
    }
}

TEST_F(Read, OfSomethingThatNoModelHasIsEmpty)
{
    EXPECT_EQ(agent.get_config(R"(<unheard-of xmlns="urn:x"/>)"), data(""));
    EXPECT_EQ(agent.get_config(""), data(""));
}

TEST_F(Read, ByXPathShowsWhatIsSelectedAndWhatLeadsThere)
{
    EXPECT_EQ(xpath("/oc:optical-attenuator/oc:attenuators/oc:attenuator[oc:name='0/0-VOA-BST0']"), data(kBst0));
    const std::string value = xpath("/if:interface-configurations/if:interface-configuration[if:active='act']"
                                    "[if:interface-name='GigabitEthernet0/0/0/0']/if:description");
    EXPECT_THAT(value, HasSubstr("<description>uplink</description>"));
    EXPECT_THAT(value, Not(HasSubstr("Ots0/0/0/0")));
    EXPECT_THAT(xpath("//oc:attenuation"), HasSubstr("<attenuation>9.5</attenuation>"));
    EXPECT_THAT(xpath("//oc:attenuation[. &gt; 5]"), Not(HasSubstr("<attenuation>3.0</attenuation>")));
    EXPECT_EQ(xpath("/oc:optical-attenuator/oc:nothing"), data(""));
    for (const char* test :
         {"oc:name and oc:config", "oc:name='x' or oc:config", "not(oc:config)", "contains(., '[')"}) {
        EXPECT_EQ(xpath(std::string{"/oc:optical-attenuator/oc:nothing["} + test + "]"), data("")) << test;
    }
}

/// Conditions are tested on every node or on none, so the expressions stand for what goes on after them.
TEST_F(Read, ByXPathGoesOnAfterConditions)
{
    const std::string entry = "/if:interface-configurations/if:interface-configuration";
    for (const char* test :
         {"[if:active='act' and if:interface-name='GigabitEthernet0/0/0/0']",
          "[if:interface-name='x' or if:description='uplink']", "[if:description and if:active]",
          "[(if:description or if:nothing) = true()]", "[if:description and if:active][position()=1]"}) {
        const std::string value = xpath(entry + test + "/if:description");
        EXPECT_THAT(value, HasSubstr("<description>uplink</description>")) << test;
        EXPECT_THAT(value, Not(HasSubstr("Ots0/0/0/0"))) << test;
    }
    EXPECT_THAT(xpath("//oc:attenuator[oc:name='0/0-VOA-BST0' and oc:config]/oc:config"), HasSubstr(">3.0<"));
    EXPECT_THAT(xpath("//oc:attenuator[oc:name][oc:config[1=1 and 1=1]/oc:attenuation = 3]"), HasSubstr(">3.0<"));
    // The other path of a union counts though the first ends at nothing.
    EXPECT_THAT(xpath("/oc:nothing[oc:a and oc:b]/oc:c | //oc:attenuation"), HasSubstr(">9.5<"));
    for (const char* none : {"/oc:optical-attenuator/oc:nothing[1=1 and 1=1]/oc:x", "//oc:x[oc:a or oc:b]/oc:y",
                             "/oc:optical-attenuator/oc:x[oc:a and oc:b][position()=4]", "//oc:x[oc:a and oc:b][oc:c]",
                             "//oc:x[oc:y[oc:a and oc:b]/oc:z]"}) {
        EXPECT_EQ(xpath(none), data("")) << none;
    }
}

TEST_F(Read, ByXPathThatIsWrongIsRefused)
{
    EXPECT_THAT(xpath("/no:such"), HasSubstr("the prefix &quot;no&quot;, which is not declared"));
    EXPECT_THAT(xpath("/oc:optical-attenuator["), HasSubstr("<error-tag>invalid-value</error-tag>"));
    EXPECT_THAT(xpath("/oc:a['"), HasSubstr("never closed"));
    for (const char* broken : {"/oc:unknown[", "oc:unknown)", "/oc:unknown/nothing()", "1 + 1", "/oc:unknown = 2",
                               "count(/oc:unknown[1 and 2])", "/oc:unknown[1 and]", "/oc:unknown[1 and 2]/oc:x = 1",
                               "/oc:unknown[oc:a and nothing(oc:b)]/oc:x", "true()/oc:x", "deref(//oc:name)",
                               "//oc:attenuator[deref(oc:config/oc:attenuation)]"}) {
        EXPECT_THAT(xpath(broken), HasSubstr("<error-tag>invalid-value</error-tag>")) << broken;
    }
    EXPECT_THAT(agent.ask(R"(<get><filter type="xpath"/></get>)"), HasSubstr("missing-attribute"));
    EXPECT_THAT(agent.ask(R"(<get><filter type="regex"/></get>)"), HasSubstr("bad-attribute"));
}

struct SubtreeCase {
    const char* name;
    const char* filter;
    const char* selected; ///< inside of the list's container; empty: nothing
};

void PrintTo(const SubtreeCase& sample, std::ostream* out)
{
    *out << sample.name;
}

class Subtree : public testing::TestWithParam<SubtreeCase> {};

TEST_P(Subtree, SelectsInNativeConfiguration)
{
    AgentDouble agent;
    const std::string ns = R"( xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-ifmgr-cfg")";
    const std::string filter =
        "<interface-configurations" + ns + ">" + GetParam().filter + "</interface-configurations>";
    const std::string selected = GetParam().selected;
    EXPECT_EQ(agent.get_config(filter), data(selected.empty() ? ""
                                                              : "<interface-configurations" + ns + ">" + selected +
                                                                    "</interface-configurations>"));
}

constexpr const char* kEthernet =
    "<interface-configuration><active>act</active><interface-name>GigabitEthernet0/0/0/0</interface-name>"
    "<description>uplink</description></interface-configuration>";
constexpr const char* kEthernetKeys =
    "<interface-configuration><active>act</active><interface-name>GigabitEthernet0/0/0/0</interface-name>"
    "</interface-configuration>";

INSTANTIATE_TEST_SUITE_P(
    All, Subtree,
    testing::Values(
        SubtreeCase{"ByBothKeys",
                    "<interface-configuration><active>act</active><interface-name>GigabitEthernet0/0/0/0"
                    "</interface-name></interface-configuration>",
                    kEthernet},
        SubtreeCase{"ByOneKey",
                    "<interface-configuration><interface-name> GigabitEthernet0/0/0/0 </interface-name>"
                    "</interface-configuration>",
                    kEthernet},
        SubtreeCase{"ByAValue", "<interface-configuration><description>uplink</description></interface-configuration>",
                    kEthernet},
        SubtreeCase{"ByAValueThatIsNotThere",
                    "<interface-configuration><description>down</description></interface-configuration>", ""},
        SubtreeCase{"ALeafOfOne",
                    "<interface-configuration><interface-name>GigabitEthernet0/0/0/0</interface-name><description/>"
                    "</interface-configuration>",
                    kEthernet},
        SubtreeCase{"AKeyOfOne",
                    "<interface-configuration><interface-name>GigabitEthernet0/0/0/0</interface-name><active/>"
                    "</interface-configuration>",
                    kEthernetKeys},
        SubtreeCase{"WithAttributesNoDataHave", "<interface-configuration x=\"1\"/>", ""},
        SubtreeCase{"OfAnotherNamespace", "<interface-configuration xmlns=\"urn:other\"/>", ""}),
    [](const auto& made) { return made.param.name; });

TEST_F(Read, OfOperationalDataShowsWhatTheDeviceReads)
{
    auto transaction = agent.store.write_volatile();
    transaction.put("/oper/optics/if/Ots0_0_0_2/name", "Ots0/0/0/2");
    transaction.put("/oper/optics/if/Ots0_0_0_2/tx-voa-attenuation", "93");
    transaction.commit();
    const std::string get = agent.ask("<get><filter>" + std::string{kOcFilter} + "</filter></get>");
    EXPECT_THAT(get, HasSubstr("<instant>9.3</instant>"));
    const std::string nmda = agent.ask(
        R"(<get-data xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-nmda" xmlns:ds="urn:ietf:params:xml:ns:yang:)"
        R"(ietf-datastores"><datastore>ds:operational</datastore><subtree-filter>)" +
        std::string{kOcFilter} + "</subtree-filter><config-filter>false</config-filter></get-data>");
    EXPECT_THAT(nmda, HasSubstr("<instant>9.3</instant>"));
    EXPECT_THAT(nmda, Not(HasSubstr("<config>")));
}

TEST_F(Read, LeavesOutAReadingThatItsModelDoesNotTake)
{
    auto transaction = agent.store.write_volatile();
    transaction.put("/oper/optics/if/Ots0_0_0_2/name", "Ots0/0/0/2");
    transaction.put("/oper/optics/if/Ots0_0_0_2/tx-voa-attenuation", "-5");
    transaction.commit();
    const std::string get = agent.ask("<get><filter>" + std::string{kOcFilter} + "</filter></get>");
    EXPECT_THAT(get, HasSubstr("<attenuation>9.5</attenuation>")); // configured
    EXPECT_THAT(get, Not(HasSubstr("<attenuation>-0.5")));         // from 0 on
    EXPECT_THAT(get, HasSubstr("<instant>-0.5"));                  // any loss
    EXPECT_GT(agent.counters.readings_left_out, 0u);
}

TEST_F(Read, ByDepthEndsThere)
{
    const std::string shallow = agent.ask(
        R"(<get-data xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-nmda" xmlns:ds="urn:ietf:params:xml:ns:yang:)"
        R"(ietf-datastores"><datastore>ds:running</datastore><subtree-filter>)" +
        std::string{kOcFilter} + "</subtree-filter><max-depth>3</max-depth></get-data>");
    EXPECT_THAT(shallow, HasSubstr("<name>0/0-VOA-BST0</name>"));
    EXPECT_THAT(shallow, Not(HasSubstr("<config>")));
}

TEST_F(Read, ByDepthCountsFromWhatIsSelected)
{
    const auto to_depth = [&](const std::string& filter, int depth) {
        return agent.ask(R"(<get-data xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-nmda" xmlns:ds="urn:ietf:params:)"
                         R"(xml:ns:yang:ietf-datastores" xmlns:oc="http://openconfig.net/yang/optical-attenuator">)"
                         "<datastore>ds:running</datastore>" +
                         filter + "<max-depth>" + std::to_string(depth) + "</max-depth></get-data>");
    };
    const auto by_xpath = [&](const std::string& xpath, int depth) {
        return to_depth("<xpath-filter>" + xpath + "</xpath-filter>", depth);
    };
    const std::string entry = "/oc:optical-attenuator/oc:attenuators/oc:attenuator[oc:name='0/0-VOA-BST0']";
    const std::string leaf = by_xpath(entry + "/oc:config/oc:attenuation", 1);
    EXPECT_THAT(leaf, HasSubstr("<name>0/0-VOA-BST0</name><config><attenuation>3.0</attenuation></config>"));
    const std::string alone = by_xpath(entry, 1);
    EXPECT_THAT(alone, HasSubstr("<attenuator><name>0/0-VOA-BST0</name></attenuator>"));
    const std::string second = by_xpath(entry, 2);
    EXPECT_THAT(second, HasSubstr("<attenuator><name>0/0-VOA-BST0</name><config/></attenuator>"));
    EXPECT_THAT(by_xpath(entry, 3), HasSubstr("<attenuation>3.0</attenuation>"));
    EXPECT_THAT(by_xpath("/oc:optical-attenuator | " + entry, 1),
                HasSubstr("<attenuators><attenuator><name>0/0-VOA-BST0</name></attenuator></attenuators>"));
    const std::string subtree = to_depth("<subtree-filter>" + std::string{kOcFilter} + "</subtree-filter>", 1);
    EXPECT_THAT(subtree, HasSubstr(kOcFilter));
    const std::string config = to_depth("<subtree-filter><optical-attenuator xmlns=\"http://openconfig.net/yang/"
                                        "optical-attenuator\"><attenuators><attenuator><config/></attenuator>"
                                        "</attenuators></optical-attenuator></subtree-filter>",
                                        1);
    EXPECT_THAT(config, HasSubstr("<name>0/0-VOA-BST0</name><config/>"));
}

TEST_F(Read, OfAttributesThatDataDoNotHaveIsEmpty)
{
    const auto oc = [](const std::string& inner, const std::string& attributes = "") {
        return "<optical-attenuator xmlns=\"http://openconfig.net/yang/optical-attenuator\"" + attributes + ">" +
               inner + "</optical-attenuator>";
    };
    const std::string entry = "<attenuator><name>0/0-VOA-BST0</name></attenuator>";
    for (const std::string& filter :
         {oc("", " foo=\"bar\""), oc("<attenuators foo=\"bar\"/>"), oc("<attenuators xmlns:x=\"urn:x\" x:y=\"z\"/>"),
          oc("<attenuators><attenuator foo=\"bar\"/></attenuators>"),
          oc("<attenuators foo=\"bar\">" + entry + "</attenuators>"),
          oc("<attenuators><attenuator><name foo=\"bar\">0/0-VOA-BST0</name></attenuator></attenuators>"),
          oc("<attenuators><attenuator xmlns=\"urn:x\"/></attenuators>")}) {
        EXPECT_EQ(agent.get_config(filter), data("")) << filter;
    }
    EXPECT_EQ(agent.get_config(oc("<attenuators><attenuator foo=\"bar\"/>" + entry + "</attenuators>")), data(kBst0));
    EXPECT_EQ(agent.get_config(oc("<attenuators xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\" "
                                  "nc:operation=\"merge\" xmlns:x=\"urn:x\">" +
                                  entry + "</attenuators>")),
              data(kBst0));
}

TEST_F(Read, OfDefaultsShowsThemWhenAsked)
{
    const std::string ask = R"(<get-config><source><running/></source><filter><nacm xmlns="urn:ietf:params:xml:ns:)"
                            R"(yang:ietf-netconf-acm"/></filter>)";
    ASSERT_EQ(agent.edit(R"(<nacm xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-acm"><write-default>deny)"
                         "</write-default></nacm>"),
              kOk);
    const std::string mode = R"(<with-defaults xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults">)";
    EXPECT_THAT(agent.ask(ask + "</get-config>"), HasSubstr("<write-default>deny"));
    const std::string all = agent.ask(ask + mode + "report-all</with-defaults></get-config>");
    EXPECT_THAT(all, HasSubstr("<read-default>permit</read-default>"));
    EXPECT_THAT(agent.ask(ask + mode + "trim</with-defaults></get-config>"), Not(HasSubstr("write-default")));
    EXPECT_THAT(agent.ask(ask + mode + "some</with-defaults></get-config>"), HasSubstr("invalid-value"));
}

TEST_F(Read, OfDefaultsShowsThemWhereNothingIsConfigured)
{
    const std::string filter = R"(<filter><nacm xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-acm"/></filter>)";
    const std::string all = R"(<with-defaults xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults">)"
                            "report-all</with-defaults>";
    const auto ask = [&](const std::string& more) {
        return agent.ask("<get-config><source><running/></source>" + filter + more + "</get-config>");
    };
    EXPECT_THAT(ask(all), HasSubstr("<write-default>deny</write-default>"));
    EXPECT_THAT(ask(""), Not(HasSubstr("nacm")));
}

TEST_F(Read, OfTaggedDefaultsTagsWhatNobodyHasSet)
{
    ASSERT_EQ(agent.edit(R"(<nacm xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-acm"><write-default>deny)"
                         "</write-default></nacm>"),
              kOk);
    const std::string tagged = agent.ask(
        R"(<get-config><source><running/></source><filter><nacm xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-acm"/>)"
        R"(</filter><with-defaults xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults">report-all-tagged)"
        "</with-defaults></get-config>");
    EXPECT_THAT(tagged, HasSubstr("<write-default>deny</write-default>"));
    EXPECT_THAT(tagged, HasSubstr(R"(ncwd:default="true">permit</read-default>)"));
}

TEST_F(Read, OfTheOperationalDatastoreShowsValuesInUse)
{
    const auto ask = [&](const std::string& more) {
        return agent.ask(
            R"(<get-data xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-nmda" xmlns:ds="urn:ietf:params:xml:ns:yang:)"
            R"(ietf-datastores"><datastore>ds:operational</datastore><subtree-filter><nacm xmlns="urn:ietf:params:xml:)"
            R"(ns:yang:ietf-netconf-acm"/></subtree-filter>)" +
            more + "</get-data>");
    };
    EXPECT_THAT(ask(""), AllOf(HasSubstr("<write-default>deny</write-default>"), HasSubstr("<denied-operations>")));
    EXPECT_THAT(ask("<with-defaults>report-all</with-defaults>"),
                AllOf(HasSubstr("invalid-value"), HasSubstr("<bad-element>with-defaults</bad-element>")));
    EXPECT_THAT(ask("<config-filter>maybe</config-filter>"),
                AllOf(HasSubstr("invalid-value"), HasSubstr("<bad-element>config-filter</bad-element>")));
}

TEST_F(Read, OfTheLibraryTellsNoFiles)
{
    const std::string reply =
        agent.ask(R"(<get><filter><modules-state xmlns="urn:ietf:params:xml:ns:yang:ietf-yang-library"/>)"
                  R"(<yang-library xmlns="urn:ietf:params:xml:ns:yang:ietf-yang-library"/></filter></get>)");
    EXPECT_THAT(reply, AllOf(HasSubstr("<module-set-id>"), HasSubstr("<module-set>")));
    EXPECT_THAT(reply, Not(HasSubstr("file:")));
}

TEST_F(Read, OfWhatNobodyKnowsIsCountedUnderOneName)
{
    for (const char* name : {"bogus-one", "bogus-two", "bogus-three"}) {
        EXPECT_THAT(agent.ask("<" + std::string{name} + "/>"), HasSubstr("operation-not-supported"));
    }
    const auto requests = agent.counters.requests();
    ASSERT_EQ(requests.count("unknown"), 1u);
    EXPECT_EQ(requests.at("unknown").refused, 3u);
    EXPECT_EQ(requests.count("bogus-one"), 0u);
}

std::string repeated(const std::string& text, int times)
{
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

TEST_F(Read, ThatIsRefusedIsToldInWellFormedCharacters)
{
    const std::string unknown = "\xEF\xBF\xBD";
    const std::string quoted = agent.ask("<get><filter type=\"xpath\" select=\"1 \xC3\xA9\xC3\xA9\"/></get>");
    EXPECT_THAT(quoted, HasSubstr("<error-tag>invalid-value</error-tag>"));
    EXPECT_THAT(quoted, AllOf(HasSubstr("'" + unknown + "'"), HasSubstr("'1 \xC3\xA9\xC3\xA9'")));
    std::string cut =
        agent.ask("<get><a xmlns=\"u\">&" + repeated("\xE2\x82\xAC", 13) + "</a></get>"); // quoted in part
    EXPECT_THAT(cut, AllOf(HasSubstr("<error-tag>malformed-message</error-tag>"), HasSubstr("\xE2\x82\xAC")));
    for (const std::string& character : {unknown, std::string{"\xE2\x82\xAC"}}) {
        for (std::size_t at = cut.find(character); at != std::string::npos; at = cut.find(character)) {
            cut.erase(at, character.size());
        }
    }
    EXPECT_TRUE(std::all_of(cut.begin(), cut.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
        << cut;
}

TEST_F(Read, ThatWouldNeverEndIsRefused)
{
    const auto select = [&](const std::string& xpath) {
        return agent.ask("<get><filter type=\"xpath\" select=\"" + xpath + "\"/></get>");
    };
    EXPECT_THAT(select("//*[not(//*[not(//*='zz')]='q')]"), AllOf(HasSubstr("<error-tag>resource-denied</error-tag>"),
                                                                  HasSubstr("<bad-element>filter</bad-element>")));
    EXPECT_THAT(select("//*[local-name()='interface-name'][.='Ots0/0/0/2']"), HasSubstr("Ots0/0/0/2</interface-name>"));
}

TEST_F(Read, WithAZeroByteIsMalformed)
{
    const std::string message = R"(<rpc xmlns="urn:ietf:params:xml:ns:netconf:base:1.0" message-id="1"><get/></rpc>)";
    EXPECT_THAT(agent.send(agent.owner, message + std::string(1, '\0') + "<"),
                HasSubstr("<error-tag>malformed-message</error-tag>"));
}

TEST_F(Read, OfEverySchemaGivesItsText)
{
    const auto schema = [&](const std::string& name) {
        return agent.ask(R"(<get-schema xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"><identifier>)" +
                         name + "</identifier></get-schema>");
    };
    uint32_t index = 0;
    std::size_t count = 0;
    while (const lys_module* module = ly_ctx_get_module_iter(&yang().ctx(), &index)) {
        EXPECT_THAT(schema(module->name), HasSubstr("module " + std::string{module->name}));
        ++count;
    }
    EXPECT_GT(count, 15u);
    EXPECT_THAT(schema("no-such"), HasSubstr("<error-tag>invalid-value</error-tag>"));
}

TEST_F(Read, RefusesWhatItDoesNotKnow)
{
    EXPECT_THAT(agent.ask("<get-config/>"), HasSubstr("missing-element"));
    EXPECT_THAT(agent.ask("<get-config><source><startup/></source></get-config>"), HasSubstr("invalid-value"));
    EXPECT_THAT(agent.ask("<get><fliter/></get>"), HasSubstr("<bad-element>fliter</bad-element>"));
    EXPECT_THAT(agent.ask("<fetch/>"), HasSubstr("operation-not-supported"));
    EXPECT_THAT(agent.ask(R"(<get xmlns="urn:x"/>)"), HasSubstr("unknown-namespace"));
}

TEST_F(Read, RefusesAParameterThatStandsTwice)
{
    const auto refused = [&](const std::string& operation, const std::string& element) {
        const std::string reply = agent.ask(operation);
        EXPECT_THAT(reply, HasSubstr("<error-tag>bad-element</error-tag>")) << operation;
        EXPECT_THAT(reply, HasSubstr("<bad-element>" + element + "</bad-element>")) << operation;
    };
    const std::string mode = R"(<with-defaults xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults">)"
                             "report-all</with-defaults>";
    refused("<get><filter/><filter/></get>", "filter");
    refused("<get>" + mode + mode + "</get>", "with-defaults");
    refused("<get-config><source><running/><candidate/></source></get-config>", "candidate");
    refused(R"(<get-data xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-nmda" xmlns:ds="urn:ietf:params:xml:ns:yang:)"
            R"(ietf-datastores"><datastore>ds:running</datastore><subtree-filter/><xpath-filter>/</xpath-filter>)"
            "</get-data>",
            "xpath-filter");
}

TEST_F(Read, OfEventsHasTheFiltersOfReads)
{
    const auto subscribe = [&](const std::string& filter) {
        return agent.ask(R"(<create-subscription xmlns="urn:ietf:params:xml:ns:netconf:notification:1.0">)" + filter +
                         "</create-subscription>");
    };
    EXPECT_THAT(subscribe(R"(<filter type="foo"/>)"), HasSubstr("<error-tag>bad-attribute</error-tag>"));
    EXPECT_THAT(subscribe(R"(<filter type="xpath"/>)"), HasSubstr("<error-tag>missing-attribute</error-tag>"));
    for (const char* select : {"[", "", "1 + 1", "/x:y", "nothing()"}) {
        EXPECT_THAT(subscribe("<filter type=\"xpath\" select=\"" + std::string{select} + "\"/>"),
                    HasSubstr("<error-tag>invalid-value</error-tag>"))
            << select;
    }
    EXPECT_THAT(subscribe("<filter/><filter/>"), HasSubstr("<error-tag>bad-element</error-tag>"));
    EXPECT_EQ(subscribe(R"(<filter type="xpath" select="/*[1=1 and 1=1]/*"/>)"), kOk); // no refused one counts
}

TEST_F(Read, RefusesMessagesThatAreNone)
{
    const auto malformed = agent.send(agent.owner, "<rpc><get></rpc>");
    EXPECT_THAT(malformed, HasSubstr("malformed-message"));
    EXPECT_THAT(agent.send(agent.owner, R"(<rpc xmlns="urn:ietf:params:xml:ns:netconf:base:1.0"><get/></rpc>)"),
                HasSubstr("<bad-attribute>message-id</bad-attribute>"));
    EXPECT_THAT(agent.send(agent.owner, "<hello/>"), HasSubstr("malformed-message"));
    EXPECT_THAT(agent.send(agent.owner, "<!DOCTYPE x []><rpc/>"), HasSubstr("document type"));
    std::string deep = R"(<rpc xmlns="urn:ietf:params:xml:ns:netconf:base:1.0" message-id="1">)";
    for (int i = 0; i < 200000; ++i) {
        deep += "<a>";
    }
    EXPECT_THAT(agent.send(agent.owner, deep), HasSubstr("levels deep"));
}

TEST_F(Read, CountsMessagesThatAreNoCorrectRpcByThemselves)
{
    agent.owner->in_rpcs = 10; // as if they had been taken
    const char* const base = "urn:ietf:params:xml:ns:netconf:base:1.0";
    agent.send(agent.owner, "<rpc><get></rpc>");
    agent.send(agent.owner, "<hello/>");
    agent.send(agent.owner, "<rpc xmlns=\"" + std::string{base} + "\"><get/></rpc>");
    EXPECT_EQ(agent.owner->in_bad_rpcs, 3U);
    EXPECT_EQ(agent.owner->in_rpcs, 7U);
    agent.ask("<fetch/>"); // a correct message
    EXPECT_EQ(agent.owner->in_bad_rpcs, 3U);
}

TEST_F(Read, TellsClientsOfBase10OfMalformedMessagesInTheirTerms)
{
    agent.owner->base_1_1 = false;
    const auto malformed = agent.send(agent.owner, "<rpc><get></rpc>");
    EXPECT_THAT(malformed, HasSubstr("<error-tag>operation-failed</error-tag>"));
    EXPECT_THAT(malformed, Not(HasSubstr("malformed-message")));
}

TEST_F(Read, EchoesNoAttributesThatAreNotWellFormed)
{
    const std::string operation = "<get-config><source><running/></source></get-config>";
    const auto send = [&](const std::string& attributes) {
        return agent.send(agent.owner, "<rpc xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\" " + attributes + ">" +
                                           operation + "</rpc>");
    };
    ASSERT_THAT(send("message-id=\"1\""), HasSubstr("<data"));
    // Known by now but for its message-id, so it is answered without being parsed.
    for (const char* attributes :
         {"message-id=\"&foo;\"", "message-id=\"a<b\"", "message-id=\"&#1;\"", "message-id=\"1\" message-id=\"1\"",
          "message-id=\"\xFF\"", "message-id=\"1\" x:y=\"z\""}) {
        const std::string reply = send(attributes);
        EXPECT_THAT(reply, HasSubstr("malformed-message")) << attributes;
        EXPECT_THAT(reply, HasSubstr("<rpc-reply xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\">")) << attributes;
    }
}

} // namespace
