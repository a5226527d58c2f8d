// SPDX-License-Identifier: Apache-2.0
//
// zpf as its users meet it: statuses, help, formats that can be read back, the story of a request, and what a plug-in
// exports.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "leaves.hpp"
#include "program.hpp"
#include "scenario.hpp"
#include "system.hpp"

namespace zpf::scenarios {

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using Json = nlohmann::ordered_json;

std::string golden(const std::string& file)
{
    return std::string(ZPF_SCENARIOS_DIR) + "/" + file;
}

std::vector<std::string> map_of(const std::string& scenario, std::vector<std::string> more = {})
{
    std::vector<std::string> arguments{"map", "--native", golden("native.xml"), golden(scenario + "/request.xml")};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

TEST(Statuses, AreZeroForWhatIsDone)
{
    for (const char* const scenario : {"merge_attenuation", "get_everything", "get_config_unknown_name"}) {
        const Outcome outcome = Workbench().zpf(map_of(scenario));
        EXPECT_EQ(outcome.status, 0) << scenario << ": " << ::testing::PrintToString(outcome);
        EXPECT_EQ(outcome.err, "") << scenario;
    }
}

TEST(Statuses, AreOneForWhatIsRefusedWithAllThatAClientSees)
{
    const Outcome outcome = Workbench().zpf(map_of("value_just_above"));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, R"(refused
  code          0xAAF2F400 ZPF_RC_INVALID_VALUE
  error-type    application
  error-tag     invalid-value
  error-app-tag ZPF_RC_INVALID_VALUE
  error-path    /optical-attenuator/attenuators/attenuator[name='0/0-VOA-BST2']/config/attenuation
  error-message Invalid argument:VN support range from 0 to 200
  bad-element   attenuation
)");
}

TEST(Statuses, AreTwoForWrongUsage)
{
    const std::vector<std::vector<std::string>> usages{{},
                                                       {"nonsense"},
                                                       {"map"},
                                                       {"map", "a", "b"},
                                                       {"map", "--kind", "copy-config", "x"},
                                                       {"map", "--format", "yaml", "x"},
                                                       {"map", "--no-such-option", "x"},
                                                       {"map", "--native"},
                                                       {"symbols", "x"},
                                                       {"trace"},
                                                       {"--colour", "blue", "symbols"},
                                                       {"map", "--default-operation", "delete", "x"}};
    for (const auto& usage : usages) {
        const Outcome outcome = Workbench().zpf(usage);
        EXPECT_EQ(outcome.status, 2) << ::testing::PrintToString(usage) << ::testing::PrintToString(outcome);
        EXPECT_EQ(outcome.out, "") << ::testing::PrintToString(usage);
        EXPECT_NE(outcome.err, "") << ::testing::PrintToString(usage);
    }
}

TEST(Help, NamesEveryOptionAndStatusOfACommand)
{
    const std::map<std::string, std::vector<std::string>> options{
        {"map",
         {"REQUEST", "--kind", "--native", "--default-operation", "--plugin", "--yang-dir", "--format", "--explain",
          "--log", "--log-file", "--trace-file", "edit-config", "get-config", "tree", "xml", "json", "standard input"}},
        {"symbols", {"--plugin", "--yang-dir", "--json", "mapped", "accepted", "refused"}},
        {"trace", {"FILE", "--follow", "--last", "--grep", "--json"}}};
    for (const auto& [command, words] : options) {
        const Outcome outcome = Workbench().zpf({command, "--help"});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, "");
        for (const std::string& word : words) {
            EXPECT_THAT(outcome.out, HasSubstr(word)) << command;
        }
        EXPECT_THAT(outcome.out,
                    HasSubstr("Exit status: 0 done, 1 the request was refused, 2 usage, 3 bad input file"));
    }
    const Outcome top = Workbench().zpf({"--help"});
    EXPECT_EQ(top.status, 0);
    EXPECT_THAT(top.out, AllOf(HasSubstr("map"), HasSubstr("symbols"), HasSubstr("trace")));
}

TEST(Input, ComesFromStandardInputForADash)
{
    const Outcome from_file = Workbench().zpf(map_of("merge_attenuation"));
    const Outcome request = Workbench().zpf({"map", "--native", golden("native.xml"), "-"},
                                            text_of_file(golden("merge_attenuation/request.xml")));
    EXPECT_EQ(request.status, 0) << request.err;
    EXPECT_EQ(request.out, from_file.out);
    const Outcome native = Workbench().zpf({"map", "--native", "-", golden("merge_attenuation/request.xml")},
                                           text_of_file(golden("native.xml")));
    EXPECT_EQ(native.out, from_file.out);
    const Outcome bad = Workbench().zpf({"map", "-"}, "hello");
    EXPECT_EQ(bad.status, 3);
    EXPECT_THAT(bad.err, HasSubstr("(standard input):1: "));
}

TEST(Input, IsNeverWrittenTo)
{
    const Workbench bench;
    const std::string native = bench.file("native.xml", text_of_file(golden("native.xml")));
    const Outcome outcome = bench.zpf({"map", "--native", native, golden("delete_root/request.xml")});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(text_of_file(native), text_of_file(golden("native.xml")));
}

/// The part of a result in XML that stands between the tags of this name.
std::string part(const std::string& xml, const std::string& name)
{
    const auto begin = xml.find("<" + name + ">\n");
    const auto end = xml.find("</" + name + ">");
    return begin == std::string::npos || end == std::string::npos
               ? ""
               : xml.substr(begin + name.size() + 3, end - begin - name.size() - 3);
}

/// In a wrapper, as data with several top elements have to be.
std::string as_data(const std::string& xml)
{
    return "<data xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\">\n" + xml + "</data>";
}

TEST(Formats, GiveNativeDataThatCanBeReadBack)
{
    const System& system = System::shared();
    const Outcome xml = Workbench().zpf(map_of("merge_attenuation", {"--format", "xml"}));
    const Outcome json = Workbench().zpf(map_of("merge_attenuation", {"--format", "json"}));
    ASSERT_EQ(xml.status, 0) << xml.err;
    ASSERT_EQ(json.status, 0) << json.err;
    const Tree from_xml = bridge::parse_native(system.models(), as_data(part(xml.out, "native-data")), "xml");
    const Tree from_json =
        bridge::parse_native(system.models(), Json::parse(json.out).at("native-data").dump(), "json");
    const auto leaves = leaves_of(system.schema(), from_xml.root());
    EXPECT_EQ(leaves.size(), 22u);
    EXPECT_EQ(leaves, leaves_of(system.schema(), from_json.root()));
    EXPECT_THAT(leaves, ::testing::Contains(HasSubstr("ots-tx-voa-attenuation = \"125\"")));
}

TEST(Formats, GiveAnEditThatCanBeReadBackAsNativeData)
{
    const System& system = System::shared();
    const std::string request = golden("merge_attenuation/request.xml");
    const Outcome xml = Workbench().zpf({"map", "--format", "xml", request});
    const Outcome json = Workbench().zpf({"map", "--format", "json", request});
    ASSERT_EQ(xml.status, 0) << xml.err;
    ASSERT_EQ(json.status, 0) << json.err;
    const auto leaves = leaves_of(system.schema(), bridge::parse_native(system.models(), xml.out, "xml").root());
    EXPECT_EQ(leaves.size(), 3u);
    EXPECT_EQ(leaves, leaves_of(system.schema(), bridge::parse_native(system.models(), json.out, "json").root()));
}

TEST(Formats, SayOperationsAsAttributes)
{
    const std::string request = golden("delete_entry/request.xml");
    EXPECT_THAT(Workbench().zpf({"map", "--format", "xml", request}).out, HasSubstr("nc:operation=\"delete\""));
    EXPECT_THAT(Workbench().zpf({"map", "--format", "json", request}).out,
                HasSubstr("\"ietf-netconf:operation\": \"delete\""));
}

TEST(Formats, GiveAReplyThatCanBeReadBack)
{
    const System& system = System::shared();
    const Outcome xml = Workbench().zpf(map_of("get_everything", {"--format", "xml"}));
    const Outcome json = Workbench().zpf(map_of("get_everything", {"--format", "json"}));
    ASSERT_EQ(xml.status, 0) << xml.err;
    ASSERT_EQ(json.status, 0) << json.err;
    const auto read = [&](const std::string& text) {
        const auto reply = bridge::parse_request(system.models(), text, "reply", ZPF_REQUEST_EDIT_CONFIG);
        return leaves_of(system.schema(), reply.tree.root());
    };
    const auto leaves = read(part(xml.out, "reply"));
    EXPECT_EQ(leaves.size(), 14u);
    EXPECT_EQ(leaves, read(Json::parse(json.out).at("reply").dump()));
}

/// Width of a line's indent.
std::size_t indent(const std::string& line)
{
    return line.find_first_not_of(' ');
}

TEST(Explain, TellsWalkersCallbacksAndTranslationsOneInsideTheOther)
{
    const Outcome outcome = Workbench().zpf(map_of("merge_attenuation", {"--explain"}));
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    std::istringstream text(outcome.out);
    std::vector<std::string> chain;
    for (std::string line; std::getline(text, line);) {
        if (line.find("config_attenuation") != std::string::npos ||
            line.find("cfg_attenuation_to_low") != std::string::npos ||
            line.find("ots-tx-voa-attenuation = \"125\"  merge") != std::string::npos) {
            chain.push_back(line);
        }
    }
    ASSERT_EQ(chain.size(), 4u) << outcome.out;
    EXPECT_THAT(chain[0], HasSubstr("walker "));
    EXPECT_THAT(chain[1], HasSubstr("callback "));
    EXPECT_THAT(chain[2], HasSubstr("translation "));
    EXPECT_THAT(chain[3], HasSubstr("+ /interface-configurations/interface-configuration/ots/ots-tx-voa-attenuation"));
    EXPECT_EQ(indent(chain[1]), indent(chain[0]) + 2);
    EXPECT_EQ(indent(chain[2]), indent(chain[1]) + 2);
    EXPECT_EQ(indent(chain[3]), indent(chain[2]) + 2);
}

TEST(Explain, TellsWhoRefused)
{
    const Outcome outcome = Workbench().zpf(map_of("value_just_above", {"--explain"}));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("! refused by oc_opt_att_cfg_attenuation_to_low"),
                                   HasSubstr("ended with 0xAAF2F400 ZPF_RC_INVALID_VALUE")));
    const Outcome loose = Workbench().zpf(map_of("loose_name_remove", {"--explain"}));
    EXPECT_EQ(loose.status, 0);
    EXPECT_THAT(loose.out, HasSubstr("! /optical-attenuator/attenuators/attenuator[name='0/0-VOA-BST01']"));
}

TEST(Explain, KeepsOutOfResultsThatProgramsRead)
{
    const Outcome plain = Workbench().zpf(map_of("merge_attenuation", {"--format", "json"}));
    const Outcome explained = Workbench().zpf(map_of("merge_attenuation", {"--format", "json", "--explain"}));
    EXPECT_EQ(explained.out, plain.out);
    EXPECT_THAT(explained.err, HasSubstr("oc_opt_att_cfg_attenuation_to_low"));
}

TEST(Colour, IsForTerminalsUnlessAskedFor)
{
    EXPECT_THAT(Workbench().zpf({"symbols"}).out, Not(HasSubstr("\033[")));
    EXPECT_THAT(Workbench().zpf({"--colour", "always", "symbols"}).out, HasSubstr("\033["));
}

Json symbols(const std::vector<std::string>& more = {})
{
    std::vector<std::string> arguments{"symbols", "--json"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const Outcome outcome = Workbench().zpf(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return Json::parse(outcome.out);
}

constexpr const char* kOpenConfig = "ymap_ox_ocopticalattenuator_openconfigopticalattenuator_";

TEST(Symbols, CountWhatThePluginDoesWithTheClientsModel)
{
    const Json report = symbols();
    std::map<std::string, std::size_t> treatments;
    std::size_t callbacks = 0;
    std::size_t aliases = 0;
    std::vector<std::string> mapped;
    for (const Json& row : report.at("callbacks")) {
        if (!row.at("symbol").get<std::string>().starts_with(kOpenConfig) && !row.at("to-low").get<bool>()) {
            continue;
        }
        const auto treatment = row.at("treatment").get<std::string>();
        ++treatments[treatment];
        callbacks += row.at("symbol").get<std::string>().empty() ? 0u : 1u;
        aliases += row.at("alias-of").get<std::string>().empty() ? 0u : 1u;
        if (treatment == "mapped") {
            mapped.push_back(row.at("path").get<std::string>().substr(
                std::string("/optical-attenuator/attenuators/attenuator").size()));
        }
    }
    std::size_t defaults = 0;
    for (const Json& name : report.at("defaults")) {
        defaults += name.get<std::string>().starts_with(kOpenConfig) ? 1u : 0u;
    }
    EXPECT_EQ(callbacks + defaults, 46u);
    EXPECT_EQ(defaults, 3u);
    EXPECT_EQ(aliases, 28u);
    EXPECT_EQ(treatments["mapped"], 9u);
    EXPECT_EQ(treatments["refused"], 27u);
    EXPECT_EQ(treatments["accepted"], 7u);
    EXPECT_EQ(treatments["failed"], 0u);
    EXPECT_THAT(mapped, ::testing::UnorderedElementsAre("", "/name", "/config/name", "/config/attenuation",
                                                        "/state/name", "/state/attenuation", "/state/enabled",
                                                        "/state/egress-port", "/state/actual-attenuation/instant"));
    EXPECT_EQ(report.at("entry-walkers").size(), 4u);
    EXPECT_TRUE(report.at("strays").empty()) << report.at("strays");
}

TEST(Symbols, NameWhatTheModelHasAndThePluginDoesNotKnow)
{
    std::vector<std::string> unknown;
    const Json report = symbols();
    for (const Json& row : report.at("callbacks")) {
        if (row.at("treatment").get<std::string>() == "no callback" && row.at("to-low").get<bool>()) {
            unknown.push_back(row.at("path").get<std::string>());
        }
    }
    EXPECT_THAT(unknown, ::testing::Contains("/optical-attenuator/attenuators/attenuator/config/max-output-power"));
}

TEST(Symbols, ReadTheSameAsText)
{
    const Outcome outcome = Workbench().zpf({"symbols"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("openconfig-optical-attenuator, OpenConfig to native"),
                                   HasSubstr("9 mapped"), HasSubstr("27 refused"), HasSubstr("7 accepted"),
                                   HasSubstr("oc_opt_att_cfg_attenuation_to_low")));
}

TEST(Symbols, WorkForAPluginOfOtherModels)
{
    const Json report = symbols({"--plugin", ACME_PLUGIN, "--yang-dir", ACME_YANG_DIR});
    EXPECT_EQ(report.at("id"), "acmelamps");
    std::vector<std::string> walkers;
    for (const Json& walker : report.at("entry-walkers")) {
        walkers.push_back(walker.at("path"));
    }
    EXPECT_THAT(walkers, ElementsAre("/lamps", "/cells", "/rack", "/gauges"));
}

TEST(Mapping, WorksForAPluginOfOtherModels)
{
    const Outcome outcome = Workbench().zpf(
        {"map", "--plugin", ACME_PLUGIN, "--yang-dir", ACME_YANG_DIR, "--format", "xml", "-"},
        "<lamps xmlns=\"urn:acme:lamp\"><lamp><name>L7</name><config><level>12.5</level></config></lamp></lamps>");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("<id>c7</id>"), HasSubstr("<lum>125</lum>")));
}

TEST(Trace, OfARequestCanBeReadAfterwards)
{
    const Workbench bench;
    const std::string ring = bench.folder() / "ring";
    ASSERT_EQ(bench.zpf(map_of("merge_attenuation", {"--trace-file", ring})).status, 0);
    const Outcome outcome = bench.zpf({"trace", ring, "--grep", "attenuation-native"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("attenuation-native = 125"));
}

} // namespace

} // namespace zpf::scenarios
