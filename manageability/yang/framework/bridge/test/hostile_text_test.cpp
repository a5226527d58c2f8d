// SPDX-License-Identifier: Apache-2.0
//
// Texts that are broken, or made to break a parser: one clear message each, whichever door they come in by.
#include <gmock/gmock.h>

#include <random>

#include "bridge_testing.hpp"

namespace zpf::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Lt;
using ::testing::SizeIs;
using ::testing::StartsWith;

std::string repeated(const std::string& piece, std::size_t count)
{
    std::string text;
    text.reserve(piece.size() * count);
    for (std::size_t i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

struct Hostile {
    const char* name;
    std::string text;
    std::string start; ///< after the file's name
    std::string word;
};

void PrintTo(const Hostile& hostile, std::ostream* out)
{
    *out << hostile.name << ", " << hostile.text.size() << " bytes";
}

class HostileText : public ::testing::TestWithParam<Hostile> {
protected:
    static void expect_clear(const std::string& message, const std::string& file)
    {
        EXPECT_THAT(message, StartsWith(file + ":" + GetParam().start));
        EXPECT_THAT(message, HasSubstr(GetParam().word));
        EXPECT_THAT(message, SizeIs(Lt(300U)));
    }
};

TEST_P(HostileText, IsRefusedAsAnEdit)
{
    expect_clear(bad_input([] { parse_edit(GetParam().text); }), "request.xml");
}

TEST_P(HostileText, IsRefusedAsARead)
{
    expect_clear(bad_input([] { parse_get(GetParam().text); }), "request.xml");
}

TEST_P(HostileText, IsRefusedAsNativeData)
{
    expect_clear(bad_input([] { parse_native(GetParam().text); }), "native.xml");
}

constexpr std::size_t kTenMegabytes = 10 * 1024 * 1024;
const std::string kNul("\0", 1);

INSTANTIATE_TEST_SUITE_P(
    Xml, HostileText,
    ::testing::Values(
        Hostile{"Empty", "", " ", "empty"}, Hostile{"Blank", " \n\t ", " ", "empty"},
        Hostile{"NeitherSyntax", "hello", "1: ", "neither XML"},
        Hostile{"TenMegabytesOfNesting", repeated("<a>\n", kTenMegabytes / 4), "65: ", "64 levels"},
        Hostile{"TenMegabytesOfClosedNesting", repeated("<a>", kTenMegabytes / 7) + repeated("</a>", kTenMegabytes / 7),
                "1: ", "64 levels"},
        Hostile{"TenMegabytesOfOpenBrackets", repeated("<", kTenMegabytes), "1: ", ""},
        Hostile{"TenMegabytesOfEndTags", repeated("</a>", kTenMegabytes / 4), "1: ", "start tag"},
        Hostile{"OneLevelTooDeep", repeated("<a>", 65) + repeated("</a>", 65), "1: ", "64 levels"},
        Hostile{"DocumentType", "<?xml version=\"1.0\"?>\n<!DOCTYPE a [<!ENTITY b \"c\">]><a>&b;</a>",
                "2: ", "document type"},
        Hostile{"Nul", "<a>\n" + kNul + "</a>", "2: ", "NUL"},
        Hostile{"NotUtf8",
                optical_attenuator("<attenuators><attenuator><name>\xC3\x28</name></attenuator></attenuators>"),
                "1: ", ""},
        Hostile{"Truncated", "<a>\n<b>\n<c>x</c>", "2: ", "does not end"},
        Hostile{"TruncatedTag", "<a>\n<b", "2: ", "does not end"},
        Hostile{"TruncatedAttribute", "<a b=\"c>", "1: ", "does not end"},
        Hostile{"TruncatedComment", "<!-- a", "1: ", "does not end"},
        Hostile{"TruncatedSection", "<a><![CDATA[ x</a>", "1: ", "does not end"},
        Hostile{"CrossedTags", "<a>\n<b>\n</a></b>", "3: ", ""}, Hostile{"TwoClosings", "<a/></a>", "1: ", "start tag"},
        Hostile{"UnboundPrefix", "<x:a/>", "1: ", "x"},
        Hostile{"UnknownEntity",
                optical_attenuator("<attenuators><attenuator><name>&bomb;</name></attenuator></attenuators>"),
                "1: ", "bomb"}),
    [](const auto& tested) { return tested.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Json, HostileText,
    ::testing::Values(
        Hostile{"TenMegabytesOfObjects", repeated("{\"a\":", kTenMegabytes / 5), "1: ", "64 levels"},
        Hostile{"TenMegabytesOfArrays", "{\"a\":\n" + repeated("[", kTenMegabytes), "2: ", "64 levels"},
        Hostile{"TenMegabytesInMetadata", "{\"@a\":\n" + repeated("{\"a\":", kTenMegabytes / 5), "2: ", "64 levels"},
        Hostile{"TenMegabytesOfText", "{\"a\": \"" + std::string(kTenMegabytes, 'x'), "1: ", "does not end"},
        Hostile{"Nul", "{\"a\":\n\"" + kNul + "\"}", "2: ", "NUL"},
        Hostile{"NotUtf8", "{\"openconfig-optical-attenuator:optical-attenuator\":\n{\"x\": \"\xC3\x28\"}}", "2: ", ""},
        Hostile{"Truncated", "{\"a\":\n{\"b\": 1", "2: ", "closed"},
        Hostile{"TruncatedText", "{\"a", "1: ", "does not end"}, Hostile{"TwoClosings", "{}}", "1: ", "after the end"},
        Hostile{"CrossedBrackets", "{\"a\": [1}]", "1: ", ""},
        Hostile{"EndlessEscape", "{\"a\\", "1: ", "does not end"},
        Hostile{"MissingComma", "{\"a:a\": 1\n\"b:b\": 2}", "2: ", ""}),
    [](const auto& tested) { return tested.param.name; });

TEST(Size, IsLimited)
{
    const std::string text = "<a>" + std::string(std::size_t{64} * 1024 * 1024, ' ') + "</a>";
    EXPECT_EQ(bad_input([&] { parse_edit(text); }), "request.xml: larger than 64 MiB");
}

TEST(Nesting, IsFineUpToTheLimit)
{
    const std::string deep = optical_attenuator(repeated("<a>", 63) + repeated("</a>", 63));
    EXPECT_EQ(bad_input([&] { parse_get(deep); }), "no error");
}

TEST(Nesting, DoesNotCountWhatComesOneAfterTheOther)
{
    const std::string wide = optical_attenuator(repeated("<a/><b>x</b><!-- <c><d> -->", 1000));
    EXPECT_EQ(bad_input([&] { parse_get(wide); }), "no error");
}

TEST(Markup, MayStandInAttributesCommentsAndSections)
{
    const std::string text = optical_attenuator("<attenuators><attenuator note=\"a > b </x> '\"><!-- </y> --><name>"
                                                "<![CDATA[<z>]]></name></attenuator></attenuators>");
    EXPECT_THAT(request_lines(parse_edit(text)),
                ::testing::Contains("optical-attenuator/attenuators/attenuator/name = <z>"));
}

TEST(ByteOrderMark, IsPassedBy)
{
    EXPECT_EQ(bad_input([] { parse_edit("\xEF\xBB\xBF" + optical_attenuator("<attenuators/>")); }), "no error");
    EXPECT_EQ(bad_input([] {
                  parse_edit(
                      "\xEF\xBB\xBF{\"openconfig-optical-attenuator:optical-attenuator\": {\"attenuators\": {}}}");
              }),
              "no error");
}

const char* const kXmlSeed =
    "<edit-config xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\"><config><a:optical-attenuator "
    "xmlns:a=\"" ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR
    "\" xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\"><a:attenuators>"
    "<a:attenuator nc:operation='remove'><a:name>0/0-VOA-BST2</a:name><!-- c --><a:config><a:attenuation>12.5"
    "</a:attenuation></a:config></a:attenuator></a:attenuators></a:optical-attenuator></config></edit-config>";
const char* const kJsonSeed =
    "{\"openconfig-optical-attenuator:optical-attenuator\": {\"attenuators\": {\"attenuator\": [{\"@\": "
    "{\"ietf-netconf:operation\": \"remove\"}, \"name\": \"0/0-VOA-BST\\u0032\", \"config\": {\"attenuation\": "
    "\"12.5\", "
    "\"@attenuation\": {\"ietf-netconf:operation\": \"delete\"}, \"enabled\": true, \"name\": [null]}}]}}}";

/// Every door takes the text or throws BadInput; anything else ends the test.
void knock_everywhere(const std::string& text)
{
    bad_input([&] { parse_edit(text); });
    bad_input([&] { parse_get(text); });
    bad_input([&] { parse_native(text); });
}

TEST(DamagedText, IsTakenOrRefusedWhereverItIsCutOff)
{
    for (const std::string seed : {kXmlSeed, kJsonSeed}) {
        ASSERT_EQ(bad_input([&] { parse_edit(seed); }), "no error");
        for (std::size_t length = 0; length < seed.size(); ++length) {
            const std::string cut = seed.substr(0, length);
            EXPECT_NE(bad_input([&] { parse_edit(cut); }), "no error") << cut;
            knock_everywhere(cut);
        }
    }
}

TEST(DamagedText, IsTakenOrRefusedWhateverIsChangedInIt)
{
    static constexpr std::string_view kLikely = "<>/\"'&;:@!?-[]{},\\ \n\tnx=0\xC3\xFF";
    std::mt19937 random(20240710); // the same texts in every run
    for (const std::string seed : {kXmlSeed, kJsonSeed}) {
        for (int round = 0; round < 4000; ++round) {
            std::string text = seed;
            for (std::size_t changes = 1 + random() % 3; changes > 0; --changes) {
                const std::size_t place = random() % text.size();
                switch (random() % 3) {
                case 0:
                    text[place] = kLikely[random() % kLikely.size()];
                    break;
                case 1:
                    text.insert(place, 1, kLikely[random() % kLikely.size()]);
                    break;
                default:
                    text.erase(place, 1 + random() % 8);
                }
            }
            SCOPED_TRACE(text);
            knock_everywhere(text);
        }
    }
}

// libyang prints to standard error unless told otherwise.
TEST(Refusals, AreNotPrintedByTheParser)
{
    ::testing::internal::CaptureStderr();
    bad_input([] { parse_edit("<a><b></a></b>"); });
    bad_input([] { parse_native("{\"a:b\": 1}"); });
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

} // namespace
} // namespace zpf::test
