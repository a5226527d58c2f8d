// SPDX-License-Identifier: Apache-2.0
//
// Edits end to end: what merge, create and replace make of the native data at each level.
#include "driver_fixture.hpp"

#include "zpf_base/strings.h"

namespace zpf::test {

namespace {

constexpr const char* kEndOfCells = "        gain = \"6\"\n";

std::string new_cell(const char* id, const char* rest = "")
{
    return std::string(kEndOfCells) + "  cell\n    kind = \"led\"\n    id = \"" + id + "\"\n" + rest;
}

} // namespace

class Edit : public DriverTest {};

TEST_F(Edit, ALeafIsSetAndNothingElseChanges)
{
    EXPECT_EQ(after("lamps\n  lamp\n    name = \"L1\"\n    config\n      level = \"12.5\"\n"),
              rack_with({{"lum = \"30\"", "lum = \"125\""}}));
}

TEST_F(Edit, TheNativeEditIsPartOfTheResult)
{
    const EditResult result = edit("lamps\n  lamp\n    config\n      level = \"12.5\"\n    name = \"L1\"\n");
    ASSERT_FALSE(result.refusal);
    EXPECT_EQ(to_text(result.edit.root()), "cells\n"
                                           "  cell\n"
                                           "    id = \"c1\"\n"
                                           "    kind = \"led\"\n"
                                           "    dimming\n"
                                           "      lum = \"125\"\n");
    EXPECT_EQ(to_text(result.before.root()), kRack);
}

TEST_F(Edit, TheStoreItselfIsNeverTouched)
{
    const EditResult result = edit("lamps op=delete\n");
    ASSERT_FALSE(result.refusal);
    EXPECT_EQ(to_text(store.root()), kRack);
}

TEST_F(Edit, KeysMayComeLast)
{
    EXPECT_EQ(after("lamps\n  lamp\n    config\n      note = \"attic\"\n      name = \"L3\"\n    name = \"L3\"\n"),
              rack_with({{kEndOfCells, std::string(kEndOfCells) + "    note = \"attic\"\n"}}));
}

TEST_F(Edit, AMergeCreatesTheEntryAndItsContainers)
{
    EXPECT_EQ(after("lamps\n  lamp\n    name = \"L7\"\n    config\n      level = \"1\"\n"),
              rack_with({{kEndOfCells, new_cell("c7", "    dimming\n      lum = \"10\"\n")}}));
}

TEST_F(Edit, ANameAloneCreatesTheEntry)
{
    EXPECT_EQ(after("lamps\n  lamp\n    name = \"L7\"\n"), rack_with({{kEndOfCells, new_cell("c7")}}));
    EXPECT_EQ(after("lamps\n  lamp op=create\n    name = \"L7\"\n"), rack_with({{kEndOfCells, new_cell("c7")}}));
}

TEST_F(Edit, AnEmptyRackIsFilled)
{
    stock("");
    EXPECT_EQ(after("lamps\n  config\n    limit = \"50\"\n  lamp\n    name = \"L7\"\n"), "rack\n"
                                                                                         "  limit = \"500\"\n"
                                                                                         "cells\n"
                                                                                         "  cell\n"
                                                                                         "    kind = \"led\"\n"
                                                                                         "    id = \"c7\"\n");
}

TEST_F(Edit, SeveralEntriesAreEditedInOneGo)
{
    EXPECT_EQ(after("lamps\n"
                    "  lamp\n"
                    "    name = \"L3\"\n"
                    "    config\n"
                    "      level = \"1\"\n"
                    "  lamp\n"
                    "    name = \"L1\"\n"
                    "    config\n"
                    "      note = \"attic\"\n"),
              rack_with({{"lum = \"95\"", "lum = \"10\""}, {"note = \"hall\"", "note = \"attic\""}}));
}

TEST_F(Edit, ALeafOutsideOfEveryList)
{
    EXPECT_EQ(after("lamps\n  config\n    limit = \"12.5\"\n"), rack_with({{"limit = \"800\"", "limit = \"125\""}}));
}

TEST_F(Edit, AnEmptyTextIsAValue)
{
    EXPECT_EQ(after("lamps\n  lamp\n    name = \"L1\"\n    config\n      note = \"\"\n"),
              rack_with({{"note = \"hall\"", "note = \"\""}}));
}

TEST_F(Edit, AnInnerListEntry)
{
    EXPECT_EQ(after("lamps\n  lamp\n    name = \"L3\"\n    beams\n"
                    "      beam\n        side = \"left\"\n        number = \"1\"\n        width = \"5\"\n"
                    "      beam\n        side = \"up\"\n        number = \"9\"\n        width = \"2\"\n"),
              rack_with({{"gain = \"4\"", "gain = \"5\""},
                         {kEndOfCells,
                          std::string(kEndOfCells) + "      tap\n        pin = \"up9\"\n        gain = \"2\"\n"}}));
}

TEST_F(Edit, ARequestForNothingChangesNothing)
{
    EXPECT_EQ(after(""), kRack);
}

// ---- replace

TEST_F(Edit, ReplacingALeafSetsIt)
{
    EXPECT_EQ(after("lamps\n  lamp\n    name = \"L1\"\n    config\n      level = \"1\" op=replace\n"),
              rack_with({{"lum = \"30\"", "lum = \"10\""}}));
}

TEST_F(Edit, ReplacingAContainerRemovesWhatIsNotGiven)
{
    EXPECT_EQ(after("lamps\n  lamp\n    name = \"L1\"\n    config op=replace\n      level = \"1\"\n"),
              rack_with({{"lum = \"30\"", "lum = \"10\""}, {"    note = \"hall\"\n", ""}}));
}

TEST_F(Edit, ReplacingAnEntryRemovesWhatItsMappingKnowsAndIsNotGiven)
{
    const EditResult result = edit("lamps\n  lamp op=replace\n    name = \"L1\"\n    config\n      note = \"attic\"\n");
    ASSERT_FALSE(result.refusal);
    EXPECT_EQ(to_text(result.edit.root(), 0, true), "cells\n"
                                                    "  cell op=remove [REPL]\n"
                                                    "    id = \"c1\"\n"
                                                    "    kind = \"led\"\n"
                                                    "    dimming\n"
                                                    "      lum op=remove\n"
                                                    "    note op=remove\n"
                                                    "  cell\n"
                                                    "    id = \"c1\"\n"
                                                    "    kind = \"led\"\n"
                                                    "    note = \"attic\"\n");
    EXPECT_EQ(to_text(result.after.root()), rack_with({{"    dimming\n      lum = \"30\"\n    note = \"hall\"\n"
                                                        "    wear = \"5\"\n",
                                                        "    wear = \"5\"\n    note = \"attic\"\n"}}));
}

TEST_F(Edit, ReplacingAnEntryTwiceIsReplacingItOnce)
{
    const char* const request = "lamps\n  lamp op=replace\n    name = \"L1\"\n    config\n      level = \"1\"\n";
    const std::string once = after(request);
    stock(once);
    EXPECT_EQ(after(request), once);
}

TEST_F(Edit, ReplacingAnEntryByItsNameLeavesIt)
{
    stock("cells\n  cell\n    kind = \"led\"\n    id = \"c1\"\n    note = \"hall\"\n");
    EXPECT_EQ(after("lamps\n  lamp op=replace\n    name = \"L1\"\n"),
              "cells\n  cell\n    kind = \"led\"\n    id = \"c1\"\n");
}

TEST_F(Edit, ReplacingAnEntryThatIsNotThereCreatesIt)
{
    EXPECT_EQ(after("lamps\n  lamp op=replace\n    name = \"L7\"\n"), rack_with({{kEndOfCells, new_cell("c7")}}));
}

TEST_F(Edit, OperationsBelowAReplaceAreSettledByIt)
{
    EXPECT_EQ(
        after("lamps\n  lamp op=replace\n    name = \"L1\"\n    config op=create\n      note = \"attic\" op=merge\n"),
        after("lamps\n  lamp op=replace\n    name = \"L1\"\n    config\n      note = \"attic\"\n"));
}

TEST_F(Edit, ReplacingTheRootEmptiesEveryLampAndNothingElse)
{
    const EditResult result = edit("lamps op=replace\n  lamp\n    name = \"L3\"\n    config\n      level = \"1\"\n");
    ASSERT_FALSE(result.refusal);
    EXPECT_EQ(to_text(result.edit.root(), 0, true), "cells\n"
                                                    "  cell op=remove [ALL]\n"
                                                    "    dimming\n"
                                                    "      lum op=remove\n"
                                                    "    note op=remove\n"
                                                    "  cell\n"
                                                    "    id = \"c3\"\n"
                                                    "    kind = \"led\"\n"
                                                    "    dimming\n"
                                                    "      lum = \"10\"\n"
                                                    "rack\n"
                                                    "  limit op=remove\n");
    EXPECT_EQ(to_text(result.after.root()),
              rack_with({{"    dimming\n      lum = \"30\"\n    note = \"hall\"\n", ""},
                         {"    dimming\n      lum = \"95\"\n", ""},
                         {kEndOfCells, std::string(kEndOfCells) + "    dimming\n      lum = \"10\"\n"},
                         {"  limit = \"800\"\n", ""}}));
}

TEST_F(Edit, DefaultReplaceIsAReplaceOfTheRoot)
{
    EXPECT_EQ(after("lamps\n  lamp\n    name = \"L3\"\n    config\n      level = \"1\"\n", ZPF_OP_REPLACE),
              after("lamps op=replace\n  lamp\n    name = \"L3\"\n    config\n      level = \"1\"\n"));
}

// ---- all or nothing

TEST_F(Edit, ValidationSeesTheResultAndMayRefuseIt)
{
    std::string seen;
    options.validate = [&seen](const Node& root) {
        seen = to_text(root);
        Refusal refusal;
        refusal.tag = "invalid-value";
        refusal.message = "too bright";
        return std::optional{refusal};
    };
    const EditResult result = edit("lamps\n  lamp\n    name = \"L1\"\n    config\n      level = \"100\"\n");
    ASSERT_TRUE(result.refusal);
    EXPECT_EQ(result.refusal->message, "too bright");
    EXPECT_EQ(seen, rack_with({{"lum = \"30\"", "lum = \"1000\""}}));
    EXPECT_EQ(to_text(result.after.root()), kRack);
    EXPECT_EQ(to_text(result.before.root()), kRack);
}

TEST_F(Edit, ValidationThatAgreesChangesNothing)
{
    int asked = 0;
    options.validate = [&asked](const Node&) {
        ++asked;
        return std::optional<Refusal>{};
    };
    EXPECT_EQ(after("lamps\n  config\n    limit = \"1\"\n"), rack_with({{"limit = \"800\"", "limit = \"10\""}}));
    EXPECT_EQ(asked, 1);
}

TEST_F(Edit, AnEditThatFailsHalfwayLeavesNothingBehind)
{
    const EditResult result = edit("lamps\n"
                                   "  lamp\n"
                                   "    name = \"L1\"\n"
                                   "    config\n"
                                   "      level = \"1\"\n"
                                   "  lamp\n"
                                   "    name = \"L3\"\n"
                                   "    config\n"
                                   "      level = \"101\"\n");
    ASSERT_TRUE(result.refusal);
    EXPECT_EQ(to_text(result.after.root()), to_text(result.before.root()));
    EXPECT_EQ(to_text(store.root()), kRack);
}

TEST_F(Edit, LeavesTheRequestAsItWas)
{
    const Tree asked = edit_of(schema(), "lamps op=replace\n  lamp\n    config\n    name = \"L1\"\n");
    const std::string before = to_text(asked.root());
    const TreeSource source(schema(), store.root());
    EXPECT_FALSE(lamp_driver().edit(context, &asked.root(), source, options).refusal);
    EXPECT_EQ(to_text(asked.root()), before);
}

TEST_F(Edit, GivesBackEveryNamedString)
{
    zpf_string_counts before{};
    zpf_strings_count(&before);
    for (const char* level : {"1", "101", "2"}) {
        const std::string request =
            std::string("lamps\n  lamp op=replace\n    name = \"L1\"\n    config\n      level = \"") + level + "\"\n";
        edit(request);
    }
    context.next_walk();
    zpf_string_counts counts{};
    zpf_strings_count(&counts);
    EXPECT_EQ(before.live, counts.live);
    EXPECT_GT(counts.allocated, before.allocated) << "no string was made: the test shows nothing";
}

} // namespace zpf::test
