// SPDX-License-Identifier: Apache-2.0
//
// Paths of rules: what is understood, what is not.
#include "instance_path.hpp"

#include <stdexcept>

#include "nacm_testing.hpp"

using namespace zpf::agent;
using namespace zpf::agent::testing;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

constexpr const char* kRooms = "<room><name>hall</name><lamp><row>1</row><column>2</column></lamp><lamp><row>1</row>"
                               "<column>3</column></lamp></room><room><name>a'b</name></room>";

/// Paths of the nodes that a path names, itself and below, as rules see them: hidden by a deny rule.
std::size_t lines_hidden_by(const std::string& path)
{
    const std::size_t all = visible(*for_ann({}), kAnn, kRooms).size();
    return all - visible(*for_ann({on_path("deny", "read", path)}), kAnn, kRooms).size();
}

} // namespace

TEST(InstancePath, NodesKeysAndModulesAreFound)
{
    const InstancePath path =
        parse_instance_path(context(), "/house:house/room[name='hall']/lamp[ row = \"07\" ][house:column=$USER]");
    ASSERT_EQ(path.size(), 3U);
    EXPECT_STREQ(path[1].schema->name, "room");
    EXPECT_EQ(path[1].keys.at(0).value, "hall");
    EXPECT_STREQ(path[2].keys.at(0).key->name, "row");
    EXPECT_EQ(path[2].keys.at(0).value, "7") << "as the model's type writes it";
    EXPECT_TRUE(path[2].keys.at(1).users_name);
    EXPECT_THAT(parse_instance_path(context(), "/"), IsEmpty());
    EXPECT_STREQ(parse_instance_path(context(), "/house:house/annex:shed").back().schema->module->name, "annex");
}

TEST(InstancePath, EntriesAreChosenByTheKeysThatAreGiven)
{
    EXPECT_EQ(lines_hidden_by("/h:house/h:room[h:name='hall']"), 5U);
    EXPECT_EQ(lines_hidden_by("/h:house/h:room[h:name=\"a'b\"]"), 1U);
    EXPECT_EQ(lines_hidden_by("/h:house/h:room"), 5U) << "the empty house is left, one line";
    EXPECT_EQ(lines_hidden_by("/h:house/h:room/h:lamp[h:column='3']"), 2U);
    EXPECT_EQ(lines_hidden_by("/h:house/h:room/h:lamp[h:column='03'][h:row='1']"), 2U);
    EXPECT_EQ(lines_hidden_by("/h:house/h:room/h:lamp[h:row='1']"), 4U);
    EXPECT_EQ(lines_hidden_by("/h:house/h:room[h:name='attic']"), 0U);
}

TEST(InstancePath, TheVariableStandsForTheUser)
{
    const auto nacm = for_ann({on_path("deny", "read", "/h:house/h:room[h:name=$USER]")});
    EXPECT_THAT(nacm->problems(), IsEmpty());
    EXPECT_THAT(visible(*nacm, kAnn, "<room><name>ann</name></room><room><name>bob</name></room>"),
                ElementsAre("/house:house/room[name='bob']/name = bob"));
}

TEST(InstancePath, ALeafListEntryIsChosenByItsValue)
{
    const auto nacm = for_ann({on_path("deny", "read", "/h:house/h:word[.='b']")});
    EXPECT_THAT(visible(*nacm, kAnn, "<word>a</word><word>b</word>"), ElementsAre("/house:house/word[.='a']"));
}

TEST(InstancePath, WhatIsWrongIsNamed)
{
    const auto complaint = [](const char* path) -> std::string {
        try {
            parse_instance_path(context(), path);
            return "none";
        } catch (const std::invalid_argument& wrong) {
            return wrong.what();
        }
    };
    EXPECT_THAT(complaint(""), HasSubstr("'/' is missing"));
    EXPECT_THAT(complaint("house:house"), HasSubstr("'/' is missing"));
    EXPECT_THAT(complaint("/house"), HasSubstr("no module is given for node house"));
    EXPECT_THAT(complaint("/nowhere:house"), HasSubstr("module nowhere is not known"));
    EXPECT_THAT(complaint("/ietf-yang-types:x"), HasSubstr("module ietf-yang-types is not known"));
    EXPECT_THAT(complaint("/house:barn"), HasSubstr("node barn does not exist"));
    EXPECT_THAT(complaint("/house:open"), HasSubstr("node open does not exist")) << "operations are no data";
    EXPECT_THAT(complaint("/house:house/"), HasSubstr("a name is missing at the end"));
    EXPECT_THAT(complaint("//house:house"), HasSubstr("a name is missing"));
    EXPECT_THAT(complaint("/house:house/room[size='1']"), HasSubstr("size is no key of room"));
    EXPECT_THAT(complaint("/house:house/room[nix='1']"), HasSubstr("node nix does not exist"));
    EXPECT_THAT(complaint("/house:house/climate[mode='1']"), HasSubstr("mode is no key of climate"));
    EXPECT_THAT(complaint("/house:house/room[.='1']"), HasSubstr("room is no leaf-list"));
    EXPECT_THAT(complaint("/house:house/room[name='x"), HasSubstr("a quote does not end"));
    EXPECT_THAT(complaint("/house:house/room[name=x]"),
                HasSubstr("a value in quotes or $USER is missing before \"x]\""));
    EXPECT_THAT(complaint("/house:house/room[name='x'"), HasSubstr("']' is missing at the end"));
    EXPECT_THAT(complaint("/house:house/room[name='x']y"), HasSubstr("'/' is missing before \"y\""));
    EXPECT_THAT(complaint("/house:house/room[name=$HOME]"),
                HasSubstr("a value in quotes or $USER is missing before \"HOME]\""));
    EXPECT_THAT(complaint("/house:house/room[name=$USERS]"), HasSubstr("']' is missing before \"S]\""));
    EXPECT_THAT(complaint("/house:house/room/lamp[row='many']"), HasSubstr("'many' is no value of row"));
    EXPECT_THAT(complaint("/house:house/room[1]"), HasSubstr("node 1 does not exist"));
}

TEST(InstancePath, IsComplainedAboutBeforeARuleHasIt)
{
    EXPECT_EQ(complain_about_rule_path(context(), "/house:house/room/lamp[column='3']"), std::nullopt);
    EXPECT_THAT(complain_about_rule_path(context(), "/house:house/barn").value_or(""),
                HasSubstr("barn does not exist"));
}

TEST(InstancePath, ARuleWithABadPathMatchesNothingAndIsReported)
{
    const auto nacm = for_ann({on_path("deny", "read", "/h:house/h:barn"), on_path("deny", "read", "/h:house/h:name")});
    ASSERT_EQ(nacm->problems().size(), 1U);
    EXPECT_THAT(nacm->problems()[0], HasSubstr("matches nothing: path /house:house/barn: node barn does not exist"));
    EXPECT_THAT(visible(*nacm, kAnn, "<name>x</name><colour>red</colour>"), ElementsAre("/house:house/colour = red"));
}
