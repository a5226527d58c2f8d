// SPDX-License-Identifier: Apache-2.0
//
// Children are records laid end to end: growing, merging and dropping move them. What the framework keeps follows.
#include "operations_fixture.hpp"

namespace zpf::test {

namespace {

bool holds(const Node& tree, const Node* node)
{
    for (const Node& child : children(tree)) {
        if (&child == node || holds(child, node)) {
            return true;
        }
    }
    return false;
}

} // namespace

class PointerStability : public Operations {
protected:
    /// Null, the root, or a node of the output tree as it is now.
    bool is_in_output(const Node* node) const
    {
        return node == nullptr || node == &out->root() || holds(out->root(), node);
    }

    void expect_all_in_output()
    {
        EXPECT_TRUE(is_in_output(request().root_node));
        EXPECT_TRUE(is_in_output(request().parent_node));
        EXPECT_TRUE(is_in_output(request().current_node));
        EXPECT_TRUE(is_in_output(request().list_ctx_current.plist));
    }

    std::string name_of(const Node* entry)
    {
        const Node* const name = entry ? find_child(*entry, "name") : nullptr;
        return name && value_of(*name) ? std::string(*value_of(*name)) : "none";
    }
};

TEST_F(PointerStability, PlistFollowsWhenItsSiblingsGrow)
{
    search(kLamp, "L0", "name");
    open_bracket();
    const Node* const before = request().list_ctx_current.plist;
    Tree elsewhere;
    // Entries that another list walk would add beside the one that the bracket holds.
    Node& lamps = *find_child(out->root(), "lamps");
    for (int i = 1; i < 40; ++i) {
        const std::string name = "L" + std::to_string(i);
        Node* found = nullptr;
        ASSERT_EQ(zpf_map_search_or_add_list(ctx(), &out->root(), &found, kLamp, name.c_str(), "name", kLampNs),
                  ZPF_RC_OK);
        ASSERT_EQ(name_of(request().list_ctx_current.plist), "L0") << "after " << name;
        expect_all_in_output();
    }
    EXPECT_EQ(children(lamps).size(), 40u);
    EXPECT_NE(request().list_ctx_current.plist, before) << "the array never moved: the test is too small";
    fill(kLampLevel, "5");
    close_bracket();
    EXPECT_EQ(name_of(lamps.subtrees), "L0");
    EXPECT_NE(find_child(lamps.subtrees[0], "config"), nullptr);
}

TEST_F(PointerStability, TheOpenEntryFollowsWhenItsParentsMove)
{
    open(kLamp);
    fill(kLampName, "L1");
    for (int i = 0; i < 20; ++i) { // tops beside "lamps": the record that holds the entries moves
        fill(("/box" + std::to_string(i) + "/lid").c_str(), "shut");
    }
    fill(kLampLevel, "5");
    const Node* const lamps = find_child(out->root(), "lamps");
    EXPECT_EQ(to_text(*lamps), tree("lamps\n"
                                    "  lamp\n"
                                    "    name = \"L1\"\n"
                                    "    config\n"
                                    "      level = \"5\"\n"));
}

TEST_F(PointerStability, RootParentAndCurrentFollow)
{
    Tree held;
    Node& entry = held.add(held.root(), "lamp", kLampNs);
    ASSERT_EQ(
        zpf_map_datatree_add_path_flagged(ctx(), &entry, "/lamps/lamp/config/level", "", "1", nullptr, nullptr, 0, 0),
        ZPF_RC_OK);
    const Node* const config = request().parent_node;
    EXPECT_EQ(config, find_child(entry, "config"));
    const Node* const level = find_child(*config, "level");
    EXPECT_EQ(request().current_node, level);
    EXPECT_EQ(request().root_node, &entry);
}

TEST_F(PointerStability, TheHierarchyFollowsWhenTheWalkedEntryGetsAKey)
{
    begin(ZPF_REQUEST_GET);
    Tree walked = tree_of(lamp_schema(), "lamp\n"
                                         "  config\n"
                                         "  state\n"
                                         "  beams\n"
                                         "  note\n");
    Node& entry = walked.root().subtrees[0];
    zpf_map_add_to_node_hierarchy(ctx(), &entry, 2);
    zpf_map_add_to_node_hierarchy(ctx(), find_child(entry, "state"), 1);
    const Node* const before = find_child(entry, "state");
    ASSERT_EQ(zpf_map_datatree_add_path_flagged(ctx(), &entry, kLampName, kLampNs, nullptr, nullptr, nullptr, 0, 0),
              ZPF_RC_OK);
    const Node* const after = find_child(entry, "state");
    ASSERT_NE(before, after) << "the array never moved: the test is too small";
    EXPECT_EQ(request().node_data[1].node, after);
    zpf_map_remove_from_node_hierarchy(ctx(), after);
    zpf_map_remove_from_node_hierarchy(ctx(), &entry);
    EXPECT_EQ(request().node_data_count, 0);
}

TEST_F(PointerStability, OuterBracketsFollowAMergeOfTheInnerEntry)
{
    search(kLamp, "L1", "name");
    open_bracket();
    open(kLamp);
    open_bracket();
    fill(kLampLevel, "2");
    fill(kLampName, "L1"); // merges into the entry of the outer bracket
    EXPECT_EQ(request().list_ctx_current.plist, find_child(out->root(), "lamps")->subtrees);
    close_bracket();
    EXPECT_EQ(name_of(request().list_ctx_current.plist), "L1");
    expect_all_in_output();
    close_bracket();
    EXPECT_EQ(text(), tree("lamps\n"
                           "  lamp\n"
                           "    name = \"L1\"\n"
                           "    config\n"
                           "      level = \"2\"\n"));
}

TEST_F(PointerStability, AMergeMovesTheYoungerSiblingsPointers)
{
    search(kLamp, "L1", "name");
    search(kLamp, "L2", "name");
    Node* young = nullptr;
    ASSERT_EQ(zpf_map_update_current_list_node(ctx(), kLamp), ZPF_RC_OK);
    open(kLamp);
    fill(kLampLevel, "3");
    search(kLamp, "L3", "name");
    young = request().list_ctx_current.plist;
    open_bracket();
    EXPECT_EQ(young, request().list_ctx_current.plist);
    EXPECT_EQ(name_of(request().list_ctx_current.plist), "L3");
    close_bracket();
    expect_all_in_output();
}

TEST_F(PointerStability, NothingPointsIntoAnEntryThatWasDropped)
{
    open(kLamp);
    open_bracket();
    fill("/lamps/lamp/beams/beam/side", "left");
    EXPECT_NE(request().current_node, nullptr);
    close_bracket();
    expect_all_in_output();
    EXPECT_EQ(request().current_node, nullptr);
    EXPECT_EQ(request().parent_node, nullptr);
}

TEST_F(PointerStability, WhatPointedIntoAMergedEntryPointsIntoTheOlderOne)
{
    open(kCell);
    fill(kCellId, "c1");
    fill(kCellKind, "led");
    open(kCell);
    fill(kCellKind, "led");
    fill("/cells/cell/taps/tap/pin", "1");
    open_bracket();
    fill(kCellId, "c1");
    expect_all_in_output();
    fill("/cells/cell/taps/tap/gain", "9");
    expect_all_in_output();
    close_bracket();
    EXPECT_EQ(text(), tree("cells\n"
                           "  cell\n"
                           "    id = \"c1\"\n"
                           "    kind = \"led\"\n"
                           "    taps\n"
                           "      tap\n"
                           "        pin = \"1\"\n"
                           "        gain = \"9\"\n"));
}

} // namespace zpf::test
