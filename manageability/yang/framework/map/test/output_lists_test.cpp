// SPDX-License-Identifier: Apache-2.0
//
// Brackets, search, and the forgetting of open entries.
#include "operations_fixture.hpp"

namespace zpf::test {

class OutputLists : public Operations {
protected:
    Node* plist() { return request().list_ctx_current.plist; }
    std::string plist_name()
    {
        const Node* const name = plist() ? find_child(*plist(), "name") : nullptr;
        return name && value_of(*name) ? std::string(*value_of(*name)) : "none";
    }
};

TEST_F(OutputLists, ABracketHoldsTheEntryOpenedLast)
{
    open(kLamp);
    open_bracket();
    ASSERT_NE(plist(), nullptr);
    EXPECT_EQ(tag_of(*plist()), "lamp");
    ASSERT_EQ(zpf_map_update_current_list_node(ctx(), kCell), ZPF_RC_OK);
    fill(kLampName, "L1");
    EXPECT_EQ(plist_name(), "L1");
    close_bracket();
    EXPECT_EQ(plist(), nullptr);
    EXPECT_EQ(text(), tree("lamps\n"
                           "  lamp\n"
                           "    name = \"L1\"\n"));
}

TEST_F(OutputLists, ABracketWithoutAnOpenEntryHasNoPlist)
{
    open_bracket();
    EXPECT_EQ(plist(), nullptr);
    close_bracket();
    EXPECT_EQ(plist(), nullptr);
}

TEST_F(OutputLists, ABracketWithoutAnOpenEntryInheritsTheOuterOne)
{
    open(kLamp);
    open_bracket();
    fill(kLampName, "L1");
    open_bracket();
    EXPECT_EQ(plist_name(), "L1");
    fill(kLampLevel, "5");
    close_bracket();
    EXPECT_EQ(plist_name(), "L1");
    close_bracket();
    EXPECT_EQ(text(), tree("lamps\n"
                           "  lamp\n"
                           "    name = \"L1\"\n"
                           "    config\n"
                           "      level = \"5\"\n"));
}

TEST_F(OutputLists, AnEntryWithoutKeyIsDroppedWhenItsBracketCloses)
{
    open(kLamp);
    open_bracket();
    fill(kLampLevel, "5");
    close_bracket();
    EXPECT_EQ(text(), "lamps\n");
    EXPECT_EQ(plist(), nullptr);
}

TEST_F(OutputLists, AnEntryWithAnEmptyKeyIsDroppedToo)
{
    open(kLamp);
    open_bracket();
    fill(kLampName, "");
    close_bracket();
    EXPECT_EQ(text(), "lamps\n");
}

TEST_F(OutputLists, AnEntryNeedsAllItsKeysToStay)
{
    open(kCell);
    open_bracket();
    fill(kCellId, "c1");
    close_bracket();
    EXPECT_EQ(text(), "cells\n");
}

TEST_F(OutputLists, DroppingAnInheritedEntryIsTheOuterBracketsBusiness)
{
    open(kLamp);
    open_bracket();
    open_bracket();
    close_bracket();
    EXPECT_EQ(text(), tree("lamps\n"
                           "  lamp\n"));
    fill(kLampName, "L1");
    close_bracket();
    EXPECT_EQ(text(), tree("lamps\n"
                           "  lamp\n"
                           "    name = \"L1\"\n"));
}

TEST_F(OutputLists, AfterADropTheSiblingsAreWhereTheyWere)
{
    for (const char* const name : {"L1", "", "L3"}) {
        open(kLamp);
        open_bracket();
        fill(kLampName, name);
        fill(kLampLevel, "5");
        close_bracket();
    }
    search(kLamp, "L3", "name");
    fill("/lamps/lamp/state/lit", "true");
    EXPECT_EQ(text(), tree("lamps\n"
                           "  lamp\n"
                           "    name = \"L1\"\n"
                           "    config\n"
                           "      level = \"5\"\n"
                           "  lamp\n"
                           "    name = \"L3\"\n"
                           "    config\n"
                           "      level = \"5\"\n"
                           "    state\n"
                           "      lit = \"true\"\n"));
}

TEST_F(OutputLists, ABracketOfTheSameListInsideHandsBackTheOuterEntry)
{
    open(kLamp);
    open_bracket();
    fill(kLampName, "L1");
    open(kLamp);
    open_bracket();
    EXPECT_EQ(plist_name(), "none");
    fill(kLampName, "L2");
    fill(kLampLevel, "2");
    EXPECT_EQ(plist_name(), "L2");
    close_bracket();
    EXPECT_EQ(plist_name(), "L1");
    fill(kLampLevel, "1");
    close_bracket();
    EXPECT_EQ(text(), tree("lamps\n"
                           "  lamp\n"
                           "    name = \"L1\"\n"
                           "    config\n"
                           "      level = \"1\"\n"
                           "  lamp\n"
                           "    name = \"L2\"\n"
                           "    config\n"
                           "      level = \"2\"\n"));
}

TEST_F(OutputLists, AnInnerEntryWithoutKeyGoesWithItsOwnBracket)
{
    open(kLamp);
    open_bracket();
    fill(kLampName, "L1");
    open(kLamp);
    open_bracket();
    fill(kLampLevel, "2");
    close_bracket();
    fill(kLampLevel, "1");
    close_bracket();
    EXPECT_EQ(text(), tree("lamps\n"
                           "  lamp\n"
                           "    name = \"L1\"\n"
                           "    config\n"
                           "      level = \"1\"\n"));
}

TEST_F(OutputLists, WhenTheHeldEntryMergesTheBracketHoldsTheOlderOne)
{
    search(kLamp, "L1", "name");
    fill(kLampLevel, "1");
    ASSERT_EQ(zpf_map_update_current_list_node(ctx(), kCell), ZPF_RC_OK);
    open(kLamp);
    open_bracket();
    fill(kLampName, "L1");
    EXPECT_EQ(plist_name(), "L1");
    fill("/lamps/lamp/state/lit", "true");
    EXPECT_NE(find_child(*plist(), "state"), nullptr);
    close_bracket();
    EXPECT_EQ(text(), tree("lamps\n"
                           "  lamp\n"
                           "    name = \"L1\"\n"
                           "    config\n"
                           "      level = \"1\"\n"
                           "    state\n"
                           "      lit = \"true\"\n"));
}

TEST_F(OutputLists, WhenAnotherKeySelectsAnEntryTheBracketHoldsThat)
{
    search(kLamp, "L2", "name");
    ASSERT_EQ(zpf_map_update_current_list_node(ctx(), kCell), ZPF_RC_OK);
    open(kLamp);
    open_bracket();
    fill(kLampName, "L1");
    fill(kLampName, "L2");
    EXPECT_EQ(plist_name(), "L2");
    close_bracket();
}

TEST_F(OutputLists, ClosingWithoutABracketIsHarmless)
{
    close_bracket();
    EXPECT_EQ(plist(), nullptr);
    EXPECT_EQ(request().sticky, ZPF_RC_OK);
}

TEST_F(OutputLists, OpeningABracketForgetsWhatWasOpen)
{
    open("/gauges/gauge");
    open(kLamp);
    open_bracket();
    fill(kLampName, "L1");
    close_bracket();
    fill(kLampLevel, "5");
    EXPECT_EQ(text(), tree("gauges\n"
                           "lamps\n"
                           "  lamp\n"
                           "    name = \"L1\"\n"
                           "  lamp\n"
                           "    config\n"
                           "      level = \"5\"\n"));
}

// ---- making a list current

TEST_F(OutputLists, MakingAListCurrentForgetsTheOpenEntriesOfEveryList)
{
    open(kLamp);
    fill(kLampName, "L1");
    open(kCell);
    fill(kCellNote, "old");
    ASSERT_EQ(zpf_map_update_current_list_node(ctx(), "/gauges/gauge"), ZPF_RC_OK);
    fill(kLampLevel, "5");
    fill(kCellNote, "new");
    EXPECT_EQ(text(), tree("lamps\n"
                           "  lamp\n"
                           "    name = \"L1\"\n"
                           "  lamp\n"
                           "    config\n"
                           "      level = \"5\"\n"
                           "cells\n"
                           "  cell\n"
                           "    note = \"old\"\n"
                           "  cell\n"
                           "    note = \"new\"\n"));
}

TEST_F(OutputLists, AnEntryHeldByABracketIsNotForgotten)
{
    open(kLamp);
    open_bracket();
    ASSERT_EQ(zpf_map_update_current_list_node(ctx(), "/cells/cell/taps/tap"), ZPF_RC_OK);
    fill(kLampName, "L1");
    fill(kLampLevel, "5");
    close_bracket();
    EXPECT_EQ(text(), tree("lamps\n"
                           "  lamp\n"
                           "    name = \"L1\"\n"
                           "    config\n"
                           "      level = \"5\"\n"));
}

struct ListPath {
    const char* name;
    const char* path;
    qerrno expected;
};

class UpdateCurrentListNode : public Operations, public ::testing::WithParamInterface<ListPath> {};

TEST_P(UpdateCurrentListNode, KnowsLists)
{
    EXPECT_EQ(zpf_map_update_current_list_node(ctx(), GetParam().path), GetParam().expected);
    EXPECT_EQ(request().sticky, ZPF_RC_OK);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, UpdateCurrentListNode,
    ::testing::Values(ListPath{"List", kCell, ZPF_RC_OK}, ListPath{"Prefixed", "/a1:cells/a1:cell/taps/tap", ZPF_RC_OK},
                      ListPath{"Container", "/cells", ZPF_RC_BAD_TREE}, ListPath{"Leaf", kCellId, ZPF_RC_BAD_TREE},
                      ListPath{"Unknown", "/cells/box", ZPF_RC_BAD_TREE},
                      ListPath{"UnknownTop", "/boxes/box", ZPF_RC_BAD_TREE}, ListPath{"Empty", "", ZPF_RC_BAD_TREE},
                      ListPath{"Null", nullptr, ZPF_RC_BAD_TREE}),
    CaseName{});

// ---- search

TEST_F(OutputLists, SearchCreatesTheEntryWithItsKey)
{
    search(kLamp, "L1", "name");
    EXPECT_EQ(text(), tree("lamps\n"
                           "  lamp\n"
                           "    name = \"L1\"\n"));
    EXPECT_EQ(plist_name(), "L1");
    EXPECT_EQ(request().current_node, plist());
    EXPECT_EQ(request().parent_node, find_child(out->root(), "lamps"));
    EXPECT_EQ(ns_of(*plist()), kLampNs);
}

TEST_F(OutputLists, SearchFindsTheEntry)
{
    search(kLamp, "L1", "name");
    search(kLamp, "L2", "name");
    search(kLamp, "L1", "name");
    EXPECT_EQ(plist_name(), "L1");
    fill(kLampLevel, "1");
    EXPECT_EQ(text(), tree("lamps\n"
                           "  lamp\n"
                           "    name = \"L1\"\n"
                           "    config\n"
                           "      level = \"1\"\n"
                           "  lamp\n"
                           "    name = \"L2\"\n"));
}

TEST_F(OutputLists, AFoundEntryIsWhatTheNextBracketHolds)
{
    search(kLamp, "L1", "name");
    open_bracket();
    fill("/lamps/lamp/state/name", "L1");
    EXPECT_EQ(plist_name(), "L1");
    close_bracket();
    EXPECT_EQ(plist(), nullptr);
    EXPECT_EQ(text(), tree("lamps\n"
                           "  lamp\n"
                           "    name = \"L1\"\n"
                           "    state\n"
                           "      name = \"L1\"\n"));
}

TEST_F(OutputLists, SearchNeedsATreeAKeyAndAKnownList)
{
    Node* entry = nullptr;
    Node& root = out->root();
    EXPECT_EQ(zpf_map_search_or_add_list(ctx(), nullptr, &entry, kLamp, "L1", "name", kLampNs), ZPF_RC_BAD_TREE);
    EXPECT_EQ(zpf_map_search_or_add_list(ctx(), &root, &entry, nullptr, "L1", "name", kLampNs), ZPF_RC_BAD_TREE);
    EXPECT_EQ(zpf_map_search_or_add_list(ctx(), &root, &entry, kLamp, nullptr, "name", kLampNs), ZPF_RC_BAD_TREE);
    EXPECT_EQ(zpf_map_search_or_add_list(ctx(), &root, &entry, kLamp, "L1", nullptr, kLampNs), ZPF_RC_BAD_TREE);
    EXPECT_EQ(zpf_map_search_or_add_list(ctx(), &root, &entry, "/lamps", "L1", "name", kLampNs), ZPF_RC_BAD_TREE);
    EXPECT_EQ(zpf_map_search_or_add_list(ctx(), &root, &entry, kLamp, "L1", "colour", kLampNs), ZPF_RC_BAD_TREE);
    EXPECT_EQ(entry, nullptr);
    EXPECT_EQ(request().sticky, ZPF_RC_BAD_TREE);
    EXPECT_EQ(text(), "");
}

} // namespace zpf::test
