// SPDX-License-Identifier: Apache-2.0
//
// Trees that own their memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "lamp_models.hpp"
#include "text_tree.hpp"
#include "zpf_map/tree.hpp"

namespace zpf::test {

TEST(Tree, StartsAsARootWithoutTag)
{
    const Tree tree;
    EXPECT_EQ(tree.root().tag, nullptr);
    EXPECT_EQ(tree.root().state_flags, ZPF_STATE_PRESENT);
    EXPECT_TRUE(children(tree.root()).empty());
    EXPECT_EQ(to_text(tree.root()), "");
}

TEST(Tree, CopiesWhatItIsGiven)
{
    Tree tree;
    std::string tag = "lid";
    std::string value = "shut";
    Node& node = tree.add(tree.root(), tag, "urn:x", value, ZPF_OP_CREATE);
    tag = "pot";
    value = "open";
    EXPECT_EQ(to_text(tree.root()), "lid = \"shut\" op=create\n");
    EXPECT_EQ(ns_of(node), "urn:x");
    EXPECT_EQ(node.state_flags, ZPF_STATE_PRESENT | ZPF_STATE_VALUE);
}

TEST(Tree, ManyChildrenStayInOrder)
{
    Tree tree;
    for (int i = 0; i < 1000; ++i) {
        tree.add(tree.root(), "n" + std::to_string(i), "urn:x");
    }
    const auto nodes = children(tree.root());
    ASSERT_EQ(nodes.size(), 1000u);
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        ASSERT_EQ(tag_of(nodes[i]), "n" + std::to_string(i));
        ASSERT_EQ(nodes[i].state_flags, ZPF_STATE_PRESENT);
    }
}

TEST(Tree, NodesOfTheModelsShareTheModelsStrings)
{
    Tree tree;
    const SchemaNode& rack = *lamp_schema().find_top("rack");
    Node& node = tree.add(tree.root(), rack);
    EXPECT_EQ(node.tag, rack.tag.c_str());
    EXPECT_EQ(node.ns, rack.ns.c_str());
}

TEST(Tree, RemovingShiftsTheLaterSiblings)
{
    Tree tree = tree_of(lamp_schema(), "a\nb\nc\n");
    Tree::remove(tree.root(), 1);
    EXPECT_EQ(to_text(tree.root()), "a\nc\n");
    Tree::remove(tree.root(), 1);
    Tree::remove(tree.root(), 0);
    EXPECT_TRUE(children(tree.root()).empty());
    EXPECT_EQ(tree.root().state_flags, ZPF_STATE_PRESENT);
    tree.add(tree.root(), "d", "urn:x");
    EXPECT_EQ(to_text(tree.root()), "d\n");
}

TEST(Tree, GrowsAgainAfterRemovals)
{
    Tree tree;
    std::string expected;
    for (int i = 0; i < 100; ++i) {
        tree.add(tree.root(), "n" + std::to_string(i), "urn:x");
        if (i % 3 == 0) {
            Tree::remove(tree.root(), children(tree.root()).size() - 1);
        } else {
            expected += "n" + std::to_string(i) + "\n";
        }
    }
    EXPECT_EQ(to_text(tree.root()), expected);
}

TEST(Tree, ACloneIsACopyOfItsOwn)
{
    std::string text = "rack\n"
                       "  limit = \"5\" op=delete\n";
    Tree copy;
    {
        const Tree original = tree_of(lamp_schema(), text);
        copy = original.clone();
    }
    EXPECT_EQ(to_text(copy.root()), text);
}

TEST(Tree, ACopyLeavesOutWhatWalksLeftBehind)
{
    Tree tree = tree_of(lamp_schema(), "rack\n  limit = \"5\"\n");
    Node& rack = tree.root().subtrees[0];
    rack.map_flags = ZPF_MAP_VISITED | ZPF_MAP_XPATH_ERROR;
    rack.key_handled = 1;
    rack.node_type = ZPF_NODE_CONTAINER;
    rack.fw_mark = 3;
    rack.state_flags |= ZPF_STATE_CONSUMED;
    rack.state_flags2 |= ZPF_STATE2_KEY_TAKEN;
    const Tree copy = tree.clone();
    const Node& copied = copy.root().subtrees[0];
    EXPECT_EQ(copied.map_flags, ZPF_MAP_XPATH_ERROR);
    EXPECT_EQ(copied.key_handled, 0);
    EXPECT_EQ(copied.node_type, 0u);
    EXPECT_EQ(copied.fw_mark, 0u);
    EXPECT_EQ(copied.state_flags, ZPF_STATE_PRESENT | ZPF_STATE_SUBTREES);
    EXPECT_EQ(copied.state_flags2 & ZPF_STATE2_KEY_TAKEN, 0);
}

TEST(Tree, SharedNodesGrowWithoutTouchingTheSource)
{
    Tree source = tree_of(lamp_schema(), "rack\n  limit = \"5\"\n");
    Tree tree;
    Node& rack = tree.share(tree.root(), source.root().subtrees[0]);
    EXPECT_EQ(find_child(rack, "limit")->_data, find_child(source.root().subtrees[0], "limit")->_data);
    tree.add(rack, "spare", "urn:x", "yes");
    tree.set_value(*find_child(rack, "limit"), "6");
    EXPECT_EQ(to_text(source.root()), "rack\n  limit = \"5\"\n");
    EXPECT_EQ(to_text(tree.root()), "rack\n  limit = \"6\"\n  spare = \"yes\"\n");
}

TEST(Tree, ValuesComeAndGo)
{
    Tree tree;
    Node& node = tree.add(tree.root(), "lid", "urn:x");
    EXPECT_EQ(value_of(node), std::nullopt);
    tree.set_value(node, "");
    EXPECT_EQ(value_of(node), "");
    tree.set_value(node, std::nullopt);
    EXPECT_EQ(value_of(node), std::nullopt);
    node._data = const_cast<char*>("left over");
    EXPECT_EQ(value_of(node), std::nullopt) << "a text without its flag is no value";
}

TEST(Tree, ChildrenNeedTheirFlagAndTheirArray)
{
    Node node{};
    std::vector<Node> array(2);
    node.subtrees = array.data();
    node.subtree_count = 2;
    EXPECT_TRUE(children(node).empty());
    node.state_flags = ZPF_STATE_SUBTREES;
    EXPECT_EQ(children(node).size(), 2u);
    node.subtrees = nullptr;
    EXPECT_TRUE(children(node).empty());
    EXPECT_EQ(find_child(node, "lid"), nullptr);
}

TEST(Tree, TextShowsTheNodeItIsGiven)
{
    const Tree tree = tree_of(lamp_schema(), "rack\n  limit = \"5\"\n");
    EXPECT_EQ(to_text(tree.root().subtrees[0], 2), "  rack\n    limit = \"5\"\n");
}

TEST(Arena, GivesAlignedMemoryOfAnySize)
{
    Arena arena;
    std::vector<std::pair<char*, std::size_t>> pieces;
    for (const std::size_t size : {1u, 15u, 16u, 17u, 16000u, 16384u, 100000u, 3u}) {
        auto* const piece = static_cast<char*>(arena.allocate(size));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(piece) % alignof(std::max_align_t), 0u) << size;
        std::fill_n(piece, size, static_cast<char>(pieces.size()));
        pieces.emplace_back(piece, size);
    }
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        EXPECT_EQ(std::count(pieces[i].first, pieces[i].first + pieces[i].second, static_cast<char>(i)),
                  static_cast<std::ptrdiff_t>(pieces[i].second));
    }
}

TEST(Arena, CopiesTextsWithATerminator)
{
    Arena arena;
    EXPECT_STREQ(arena.copy(""), "");
    EXPECT_STREQ(arena.copy(std::string_view{"lamps"}.substr(0, 4)), "lamp");
}

} // namespace zpf::test
