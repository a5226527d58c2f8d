// SPDX-License-Identifier: Apache-2.0
//
// Reads end to end: split by the entries asked for, selected natively, merged by key.
#include "driver_fixture.hpp"

#include "zpf_base/strings.h"

namespace zpf::test {

namespace {

constexpr const char* kLamp1 = "  lamp\n"
                               "    name = \"L1\"\n"
                               "    config\n"
                               "      name = \"L1\"\n"
                               "      level = \"3.0\"\n"
                               "      note = \"hall\"\n"
                               "    state\n"
                               "      name = \"L1\"\n"
                               "      level = \"3.1\"\n"
                               "      lit = \"true\"\n";
constexpr const char* kLamp3 = "  lamp\n"
                               "    name = \"L3\"\n"
                               "    config\n"
                               "      name = \"L3\"\n"
                               "      level = \"9.5\"\n"
                               "    beams\n"
                               "      beam\n"
                               "        side = \"left\"\n"
                               "        number = \"1\"\n"
                               "        width = \"4\"\n"
                               "      beam\n"
                               "        side = \"right\"\n"
                               "        number = \"2\"\n"
                               "        width = \"6\"\n"
                               "    state\n"
                               "      name = \"L3\"\n"
                               "      level = \"0.0\"\n"
                               "      lit = \"false\"\n";
constexpr const char* kLamp5 = "  lamp\n"
                               "    name = \"L5\"\n"
                               "    state\n"
                               "      name = \"L5\"\n"
                               "      level = \"0.7\"\n"
                               "      lit = \"true\"\n"
                               "    config\n"
                               "      level = \"0.7\"\n";
constexpr const char* kLimit = "  config\n"
                               "    limit = \"80.0\"\n";

std::string lamps(std::initializer_list<const char*> parts)
{
    std::string text = "lamps\n";
    for (const char* part : parts) {
        text += part;
    }
    return text;
}

} // namespace

class Read : public DriverTest {};

TEST_F(Read, WithoutTopNodesAsksForEverything)
{
    EXPECT_EQ(get(""), lamps({kLamp1, kLamp3, kLimit, kLamp5}));
    EXPECT_EQ(get("lamps\n"), get(""));
}

TEST_F(Read, ConfigurationAloneHasNoState)
{
    EXPECT_EQ(get_config(""), lamps({"  lamp\n"
                                     "    name = \"L1\"\n"
                                     "    config\n"
                                     "      name = \"L1\"\n"
                                     "      level = \"3.0\"\n"
                                     "      note = \"hall\"\n"
                                     "  lamp\n"
                                     "    name = \"L3\"\n"
                                     "    config\n"
                                     "      name = \"L3\"\n"
                                     "      level = \"9.5\"\n"
                                     "    beams\n"
                                     "      beam\n"
                                     "        side = \"left\"\n"
                                     "        number = \"1\"\n"
                                     "        width = \"4\"\n"
                                     "      beam\n"
                                     "        side = \"right\"\n"
                                     "        number = \"2\"\n"
                                     "        width = \"6\"\n",
                                     kLimit}));
}

TEST_F(Read, AnEntryIsAnsweredWithThatEntry)
{
    EXPECT_EQ(get("lamps\n  lamp\n    name = \"L1\"\n"), lamps({kLamp1}));
    EXPECT_EQ(get("lamps\n  lamp\n    name = \"L5\"\n"), lamps({kLamp5}));
}

TEST_F(Read, EveryEntryNamedIsMappedByItselfAndAllAreOneReply)
{
    const ReadResult result = read(ZPF_REQUEST_GET, "lamps\n"
                                                    "  lamp\n"
                                                    "    name = \"L3\"\n"
                                                    "  lamp\n"
                                                    "    name = \"L1\"\n"
                                                    "    config\n");
    EXPECT_EQ(reply_text(result), lamps({kLamp3, "  lamp\n"
                                                 "    name = \"L1\"\n"
                                                 "    config\n"
                                                 "      name = \"L1\"\n"
                                                 "      level = \"3.0\"\n"
                                                 "      note = \"hall\"\n"}));
    ASSERT_EQ(result.selections.size(), 2u);
    EXPECT_THAT(to_text(result.selections[0].root()), ::testing::HasSubstr("id = \"c3\""));
    EXPECT_THAT(to_text(result.selections[0].root()), ::testing::Not(::testing::HasSubstr("c1")));
    EXPECT_THAT(to_text(result.selections[1].root()), ::testing::HasSubstr("id = \"c1\""));
}

TEST_F(Read, TheSameEntryNamedTwiceIsOneEntry)
{
    EXPECT_EQ(get("lamps\n"
                  "  lamp\n"
                  "    name = \"L1\"\n"
                  "    config\n"
                  "      note\n"
                  "  lamp\n"
                  "    name = \"L1\"\n"
                  "    config\n"
                  "      level\n"),
              lamps({"  lamp\n"
                     "    name = \"L1\"\n"
                     "    config\n"
                     "      level = \"3.0\"\n"
                     "      note = \"hall\"\n"}));
}

TEST_F(Read, WhatStandsBesideTheEntriesIsAskedForToo)
{
    EXPECT_EQ(get_config("lamps\n"
                         "  config\n"
                         "  lamp\n"
                         "    name = \"L1\"\n"
                         "    config\n"
                         "      note\n"
                         "  lamp\n"
                         "    name = \"L3\"\n"
                         "    config\n"
                         "      level\n"),
              lamps({"  lamp\n"
                     "    name = \"L1\"\n"
                     "    config\n"
                     "      note = \"hall\"\n",
                     kLimit,
                     "  lamp\n"
                     "    name = \"L3\"\n"
                     "    config\n"
                     "      level = \"9.5\"\n"}));
}

TEST_F(Read, AnUnknownEntryIsNotThere)
{
    EXPECT_EQ(get("lamps\n  lamp\n    name = \"L9\"\n"), "");
    EXPECT_EQ(get("lamps\n  lamp\n    name = \"relay\"\n"), "");
}

TEST_F(Read, ALooseNameReadsNobodyElse)
{
    const ReadResult result = read(ZPF_REQUEST_GET, "lamps\n  lamp\n    name = \"L01\"\n");
    EXPECT_THAT(to_text(result.selections.at(0).root()), ::testing::HasSubstr("id = \"c1\""))
        << "the plug-in is no longer loose: the test shows nothing";
    EXPECT_EQ(reply_text(result), "");
}

TEST_F(Read, ConfiguredValuesWinOverOperationalOnes)
{
    stock("gauges\n"
          "  gauge\n"
          "    id = \"c1\"\n"
          "    lum = \"31\"\n"
          "cells\n"
          "  cell\n"
          "    kind = \"led\"\n"
          "    id = \"c1\"\n"
          "    dimming\n"
          "      lum = \"30\"\n");
    EXPECT_THAT(get("lamps\n  lamp\n    name = \"L1\"\n    config\n      level\n"),
                ::testing::HasSubstr("level = \"3.0\""));
}

TEST_F(Read, OrderOfNativeEntriesAndLeavesDoesNotMatter)
{
    stock("cells\n"
          "  cell\n"
          "    wear = \"5\"\n"
          "    note = \"hall\"\n"
          "    dimming\n"
          "      lum = \"30\"\n"
          "    id = \"c1\"\n"
          "    kind = \"led\"\n");
    EXPECT_EQ(get_config(""), lamps({"  lamp\n"
                                     "    name = \"L1\"\n"
                                     "    config\n"
                                     "      note = \"hall\"\n"
                                     "      level = \"3.0\"\n"
                                     "      name = \"L1\"\n"}));
}

TEST_F(Read, AnEmptyRackHasNoLamps)
{
    stock("");
    EXPECT_EQ(get(""), "");
    EXPECT_EQ(get("lamps\n  lamp\n    name = \"L1\"\n"), "");
}

TEST_F(Read, TellsUnsupportedLeavesFromErrors)
{
    EXPECT_EQ(get_config("lamps\n  lamp\n    name = \"L1\"\n    config\n      colour\n"),
              "refused: operation-not-supported The device has nothing behind this element.");
}

TEST_F(Read, ASuccessMayHaveMetErrorsOnTheWay)
{
    struct Count : Observer {
        int error_paths = 0;
        void operation(const Operation& op) override
        {
            error_paths += op.name == std::string_view{"zpf_oc_error_path"};
        }
    } count;
    context.observe(&count);
    const ReadResult result = read(ZPF_REQUEST_GET, "lamps\n  lamp\n    name = \"L1\"\n");
    context.observe(nullptr);
    EXPECT_GT(count.error_paths, 0) << "no error was met: the test shows nothing";
    EXPECT_FALSE(result.refusal);
    EXPECT_EQ(reply_text(result), lamps({kLamp1}));
}

TEST_F(Read, AFailureOfTheWayBackIsARefusalWithoutData)
{
    stock("cells\n"
          "  cell\n"
          "    kind = \"led\"\n"
          "    id = \"c1\"\n"
          "    dimming\n"
          "      lum = \"bright\"\n");
    const ReadResult result = read(ZPF_REQUEST_GET, "");
    ASSERT_TRUE(result.refusal);
    EXPECT_EQ(result.refusal->code, ZPF_RC_INVALID_VALUE);
    EXPECT_EQ(result.refusal->message, "The cell reports no level");
    EXPECT_EQ(result.refusal->bad_element, "lum");
    EXPECT_EQ(result.refusal->path, "/cells/cell[kind='led'][id='c1']/lum");
    EXPECT_EQ(to_text(result.reply.root()), "");
}

TEST_F(Read, GivesBackEveryNamedString)
{
    zpf_string_counts before{};
    zpf_strings_count(&before);
    {
        Context own(&schema());
        const TreeSource source(schema(), store.root());
        for (const char* request : {"", "lamps\n  lamp\n    name = \"L1\"\n",
                                    "lamps\n  lamp\n    name = \"L1\"\n    config\n      colour\n"}) {
            const Tree asked = tree_of(schema(), request);
            lamp_driver().read(own, ZPF_REQUEST_GET, &asked.root(), source);
        }
    }
    zpf_string_counts after{};
    zpf_strings_count(&after);
    EXPECT_EQ(before.live, after.live);
    EXPECT_GT(after.allocated, before.allocated) << "no string was made: the test shows nothing";
}

TEST_F(Read, LeavesTheRequestAsItWas)
{
    const Tree asked = tree_of(schema(), "lamps\n  lamp\n    name = \"L1\"\n    config\n");
    const TreeSource source(schema(), store.root());
    const std::string before = to_text(asked.root());
    lamp_driver().read(context, ZPF_REQUEST_GET, &asked.root(), source);
    EXPECT_EQ(to_text(asked.root()), before);
    EXPECT_EQ(to_text(store.root()), tree(kRack));
}

TEST_F(Read, AStoreThatAnswersEverythingChangesNothing)
{
    for (const char* request :
         {"", "lamps\n  lamp\n    name = \"L1\"\n", "lamps\n  lamp\n    name = \"L9\"\n", "lamps\n  config\n",
          "lamps\n  lamp\n", "lamps\n  lamp\n    state\n", "lamps\n  lamp\n    config\n      note = \"hall\"\n",
          "lamps\n  lamp\n    name = \"L3\"\n    beams\n  lamp\n    name = \"L1\"\n    state\n      lit\n"}) {
        for (const uint32_t kind : {ZPF_REQUEST_GET, ZPF_REQUEST_GET_CONFIG}) {
            EXPECT_EQ(sorted(read(kind, request)), sorted(read(kind, request, TreeSource::Answer::everything)))
                << request;
        }
    }
}

} // namespace zpf::test
