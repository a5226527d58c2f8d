// SPDX-License-Identifier: Apache-2.0
//
// What zpf says to what it cannot use: one message that names what and where, nothing on standard output, status 3,
// and every file as it was.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "program.hpp"
#include "scenario.hpp"

namespace zpf::scenarios {

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

constexpr std::size_t kTenMegabytes = 10'000'000;
constexpr const char* kTop = "<optical-attenuator xmlns=\"http://openconfig.net/yang/optical-attenuator\">";
constexpr const char* kNativeTop =
    "<interface-configurations xmlns=\"http://quarn.example/ns/yang/Quarn-KMT-VN-ifmgr-cfg\">\n";
constexpr const char* kEntry = "<interface-configuration><active>act</active><interface-name>Ots0/0/0/0</"
                               "interface-name></interface-configuration>\n";

std::string golden(const std::string& file)
{
    return std::string(ZPF_SCENARIOS_DIR) + "/" + file;
}

std::string repeated(const std::string& text, std::size_t bytes)
{
    std::string all;
    all.reserve(bytes + text.size());
    while (all.size() < bytes) {
        all += text;
    }
    return all;
}

struct BadText {
    std::string name;
    std::string text;
    std::vector<std::string> said; ///< what the message must have in it, besides the file's name
};

void PrintTo(const BadText& bad, std::ostream* os)
{
    *os << bad.name;
}

std::vector<BadText> bad_requests()
{
    const std::string top = kTop;
    const std::string entry = top + "\n<attenuators><attenuator><name>0/0-VOA-BST2</name>\n";
    return {
        {"Empty", "", {"empty"}},
        {"OnlyBlanks", " \n\t\n", {"empty"}},
        {"Words", "hello", {":1: ", "neither XML"}},
        {"Binary",
         std::string("\x7f"
                     "ELF\x02\x01\x01\0\0\0\0",
                     11),
         {":1: "}},
        {"NulInXml", top + std::string("\n\0</optical-attenuator>", 23), {":2: ", "NUL"}},
        {"NotClosed", top + "\n<attenuators>\n", {": "}},
        {"WrongEndTag", top + "\n</attenuators>", {":2: "}},
        {"JsonNotClosed", "{\n\"openconfig-optical-attenuator:optical-attenuator\": {", {":2: "}},
        {"JsonWithoutComma", "{\n\"a\": 1\n\"b\": 2}", {": "}},
        {"Doctype", "<!DOCTYPE x [<!ENTITY a \"b\">]>\n" + top + "</optical-attenuator>", {":1: ", "type declaration"}},
        {"UnknownModule", "<thing xmlns=\"http://example.com/thing\"/>", {":1: ", "/thing", "no model"}},
        {"UnknownModuleInJson", "{\n\"example-thing:thing\": {}}", {":2: ", "/thing", "no model"}},
        {"UnknownElement",
         entry + "<config><colour>red</colour></config></attenuator></attenuators></optical-attenuator>",
         {":3: ", "/colour"}},
        {"BelowTheModelsRange",
         entry + "<config>\n<attenuation>-1</attenuation></config></attenuator></attenuators></optical-attenuator>",
         {":4: ", "/attenuation", "-1"}},
        {"NoNumber",
         entry + "<config>\n<attenuation>much</attenuation></config></attenuator></attenuators></optical-attenuator>",
         {":4: ", "/attenuation", "much"}},
        {"NoIdentity",
         entry + "<config>\n<attenuation-mode>LOUD</attenuation-mode></config></attenuator></attenuators>"
                 "</optical-attenuator>",
         {":4: ", "/attenuation-mode", "LOUD"}},
        {"TwoKinds",
         "<get xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\">\n<get-config/></get>",
         {":2: ", "get-config"}},
        {"NothingInTheEdit",
         "<edit-config xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\"><config/></edit-config>",
         {"no configuration"}},
        {"DeepXml", repeated("<a>", kTenMegabytes), {":1: ", "deep"}},
        {"DeepXmlThatEnds", top + repeated("<a>", kTenMegabytes) + repeated("</a>", kTenMegabytes), {":1: ", "deep"}},
        {"DeepJson", repeated("{\"a\":", kTenMegabytes), {":1: ", "deep"}},
        {"DeepJsonArrays", "{\"a\":" + repeated("[", kTenMegabytes), {":1: ", "deep"}},
    };
}

class BadRequest : public ::testing::TestWithParam<BadText> {};

TEST_P(BadRequest, GetsOneMessageAndChangesNothing)
{
    const Workbench bench;
    const std::string request = bench.file("request", GetParam().text);
    const std::string native = bench.file("native.xml", text_of_file(golden("native.xml")));
    const Outcome outcome = bench.zpf({"map", "--native", native, request});
    EXPECT_EQ(outcome.status, 3) << ::testing::PrintToString(outcome);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr(request));
    for (const std::string& said : GetParam().said) {
        EXPECT_THAT(outcome.err, HasSubstr(said));
    }
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_EQ(text_of_file(request), GetParam().text);
    EXPECT_EQ(text_of_file(native), text_of_file(golden("native.xml")));
}

INSTANTIATE_TEST_SUITE_P(Cli, BadRequest, ::testing::ValuesIn(bad_requests()),
                         [](const auto& bad) { return bad.param.name; });

std::vector<BadText> bad_native_data()
{
    const std::string top = kNativeTop;
    return {
        {"Empty", "", {"empty"}},
        {"NotClosed", top + kEntry, {":"}},
        {"SameEntryTwice", top + kEntry + kEntry + "</interface-configurations>", {":3: ", "twice", "line 2"}},
        {"SameLeafTwice",
         top + "<interface-configuration><active>act</active><interface-name>a</interface-name>\n"
               "<description>x</description>\n<description>y</description></interface-configuration>"
               "</interface-configurations>",
         {":4: ", "description"}},
        {"SameEntryTwiceInJson",
         "{ \"Quarn-KMT-VN-ifmgr-cfg:interface-configurations\": { \"interface-configuration\": [\n"
         "{ \"active\": \"act\", \"interface-name\": \"x\" },\n{ \"active\": \"act\", \"interface-name\": \"x\" } ] } "
         "}",
         {":3: ", "twice"}},
        {"WithoutKey",
         top + "<interface-configuration><active>act</active></interface-configuration></interface-configurations>",
         {"interface-name"}},
        {"OutOfRange",
         top + "<interface-configuration><active>act</active><interface-name>Ots0/0/0/0</interface-name>\n"
               "<ots xmlns=\"http://quarn.example/ns/yang/Quarn-KMT-VN-controller-ots-cfg\">\n"
               "<ots-tx-voa-attenuation>201</ots-tx-voa-attenuation></ots></interface-configuration>"
               "</interface-configurations>",
         {":4: ", "ots-tx-voa-attenuation", "201"}},
        {"UnknownElement", top + "<colour/></interface-configurations>", {":2: ", "colour"}},
        {"UnknownModule", "<thing xmlns=\"http://example.com/thing\"/>", {":1: ", "thing"}},
        {"DeepXml", repeated("<a>", kTenMegabytes), {":1: ", "deep"}},
        {"DeepJson", repeated("{\"a\":", kTenMegabytes), {":1: ", "deep"}},
    };
}

class BadNativeData : public ::testing::TestWithParam<BadText> {};

TEST_P(BadNativeData, GetOneMessageAndChangeNothing)
{
    const Workbench bench;
    const std::string native = bench.file("native", GetParam().text);
    const Outcome outcome = bench.zpf({"map", "--native", native, golden("merge_attenuation/request.xml")});
    EXPECT_EQ(outcome.status, 3) << ::testing::PrintToString(outcome);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr(native));
    for (const std::string& said : GetParam().said) {
        EXPECT_THAT(outcome.err, HasSubstr(said));
    }
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_EQ(text_of_file(native), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Cli, BadNativeData, ::testing::ValuesIn(bad_native_data()),
                         [](const auto& bad) { return bad.param.name; });

struct BadSetUp {
    std::string name;
    std::vector<std::string> arguments;
    std::vector<std::string> said;
};

void PrintTo(const BadSetUp& bad, std::ostream* os)
{
    *os << bad.name;
}

std::vector<BadSetUp> bad_set_ups()
{
    const std::string request = golden("merge_attenuation/request.xml");
    return {
        {"NoRequestFile", {"map", "/no/such/file"}, {"/no/such/file", "No such file"}},
        {"NoNativeFile", {"map", "--native", "/no/such/file", request}, {"/no/such/file", "No such file"}},
        {"AFolderForARequest", {"map", ZPF_SCENARIOS_DIR}, {ZPF_SCENARIOS_DIR, "folder"}},
        {"AFolderForNativeData", {"map", "--native", ZPF_SCENARIOS_DIR, request}, {ZPF_SCENARIOS_DIR, "folder"}},
        {"NoPlugin", {"map", "--plugin", "/no/such.so", request}, {"/no/such.so"}},
        {"APluginThatIsText", {"map", "--plugin", request, request}, {request, "not a"}},
        {"APluginThatIsAFolder", {"symbols", "--plugin", ZPF_SCENARIOS_DIR}, {ZPF_SCENARIOS_DIR}},
        {"APluginThatIsAnotherLibrary", {"symbols", "--plugin", ZPF_BASE_LIBRARY}, {ZPF_BASE_LIBRARY, "plug-in"}},
        {"APluginThatIsAProgram", {"symbols", "--plugin", ZPF_PROGRAM}, {ZPF_PROGRAM}},
        {"APluginWithoutEntryWalker",
         {"symbols", "--plugin", ACME_PLUGIN_WITHOUT_RACK, "--yang-dir", ACME_YANG_DIR},
         {ACME_PLUGIN_WITHOUT_RACK, "entry walker", "ymap_xo_acmelamps_acmenative_lvla_rack", "acme-native:rack"}},
        {"APluginForOtherModels", {"symbols", "--plugin", ACME_PLUGIN}, {ACME_PLUGIN, "models"}},
        {"NoModels", {"symbols", "--yang-dir", "/no/such/folder"}, {"/no/such/folder"}},
        {"AFolderWithoutModels", {"symbols", "--yang-dir", ZPF_SCENARIOS_DIR}, {ZPF_SCENARIOS_DIR, "YANG"}},
        {"ALogNowhere",
         {"map", "--log", "trace", "--log-file", "/no/such/folder/log", request},
         {"/no/such/folder/log"}},
        {"ATraceNowhere", {"map", "--trace-file", "/no/such/folder/ring", request}, {"/no/such/folder/ring"}},
        {"NoTrace", {"trace", "/no/such/ring"}, {"/no/such/ring"}},
        {"ATraceThatIsText", {"trace", request}, {request}},
    };
}

class BadSetUps : public ::testing::TestWithParam<BadSetUp> {};

TEST_P(BadSetUps, GetOneMessage)
{
    const Outcome outcome = Workbench().zpf(GetParam().arguments);
    EXPECT_EQ(outcome.status, 3) << ::testing::PrintToString(outcome);
    EXPECT_EQ(outcome.out, "");
    for (const std::string& said : GetParam().said) {
        EXPECT_THAT(outcome.err, HasSubstr(said));
    }
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
}

INSTANTIATE_TEST_SUITE_P(Cli, BadSetUps, ::testing::ValuesIn(bad_set_ups()),
                         [](const auto& bad) { return bad.param.name; });

TEST(BadModels, GetAMessageThatNamesTheModule)
{
    const Workbench bench;
    const std::string module =
        bench.file("broken.yang", "module broken {\n  namespace \"urn:b\";\n  prefix b;\n  leaf x {\n}\n");
    const Outcome outcome = bench.zpf({"symbols", "--yang-dir", bench.folder()});
    EXPECT_EQ(outcome.status, 3) << ::testing::PrintToString(outcome);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("broken"));
}

} // namespace

} // namespace zpf::scenarios
