// SPDX-License-Identifier: Apache-2.0
//
// zpf_map_datatree_add_path_flagged: containers, plain leaves, namespaces, bases and what is refused.
// Keys and entries have files of their own.
#include "operations_fixture.hpp"

namespace zpf::test {

class AddPath : public Operations {};

TEST_F(AddPath, CreatesTheContainersOnTheWayOnce)
{
    fill("/rack/limit", "5");
    fill("/rack/spare", "yes");
    EXPECT_EQ(text(), tree("rack\n"
                           "  limit = \"5\"\n"
                           "  spare = \"yes\"\n"));
}

TEST_F(AddPath, ACreatedNodeIsPresentAndSaysWhetherItHasAValue)
{
    Node* leaf = nullptr;
    ASSERT_EQ(add("/rack/limit", "5", 0, 0, nullptr, &leaf), ZPF_RC_OK);
    EXPECT_EQ(leaf->state_flags, ZPF_STATE_PRESENT | ZPF_STATE_VALUE);
    EXPECT_STREQ(leaf->_data, "5");
    ASSERT_EQ(add("/rack/spare", nullptr, 0, 0, nullptr, &leaf), ZPF_RC_OK);
    EXPECT_EQ(leaf->state_flags, ZPF_STATE_PRESENT);
    EXPECT_EQ(leaf->_data, nullptr);
    const Node* const rack = find_child(out->root(), "rack");
    ASSERT_NE(rack, nullptr);
    EXPECT_EQ(rack->state_flags, ZPF_STATE_PRESENT | ZPF_STATE_SUBTREES);
    EXPECT_EQ(out->root().state_flags, ZPF_STATE_PRESENT | ZPF_STATE_SUBTREES);
}

TEST_F(AddPath, AnEmptyTextIsAValueAndNullIsNone)
{
    decide("/rack/limit", "");
    EXPECT_EQ(text(), tree("rack\n"
                           "  limit = \"\"\n"));
    decide("/rack/limit", nullptr);
    EXPECT_EQ(text(), tree("rack\n"
                           "  limit\n"));
}

TEST_F(AddPath, TheRequestPointsAtRootParentAndNodeProducedLast)
{
    Node* leaf = nullptr;
    ASSERT_EQ(add("/rack/limit", "5", 0, 0, nullptr, &leaf), ZPF_RC_OK);
    EXPECT_EQ(request().root_node, &out->root());
    EXPECT_EQ(request().parent_node, find_child(out->root(), "rack"));
    EXPECT_EQ(request().current_node, leaf);
    EXPECT_EQ(request().current_node, find_child(*find_child(out->root(), "rack"), "limit"));
}

TEST_F(AddPath, CopiesTheValue)
{
    std::string value = "5";
    fill("/rack/limit", value.c_str());
    value = "6";
    EXPECT_EQ(text(), tree("rack\n"
                           "  limit = \"5\"\n"));
}

// ---- namespaces

TEST_F(AddPath, NodesOfTheModelsHaveTheModelsNamespaceWhateverTheArgument)
{
    open(kCell);
    fill(kCellNote, "new");
    Node* leaf = nullptr;
    ASSERT_EQ(zpf_map_datatree_add_path_flagged(ctx(), &out->root(), kCellLum, "urn:other", "3", nullptr, &leaf, 0, 0),
              ZPF_RC_OK);
    ASSERT_EQ(children(out->root()).size(), 1u);
    EXPECT_EQ(ns_of(*leaf), kNativeNs);
    EXPECT_EQ(ns_of(*request().parent_node), kNativeNs);
    EXPECT_EQ(ns_of(out->root().subtrees[0]), kNativeNs);
}

TEST_F(AddPath, NodesOutsideOfTheModelsHaveTheNamespaceGiven)
{
    fill("/shelf/lock/state", "open");
    const Node* const shelf = find_child(out->root(), "shelf");
    ASSERT_NE(shelf, nullptr);
    EXPECT_EQ(ns_of(*shelf), "urn:argument");
    EXPECT_EQ(ns_of(*request().current_node), "urn:argument");
}

TEST_F(AddPath, ExistingNodesAreFoundByTagAlone)
{
    out->add(out->root(), "rack", "urn:stranger");
    fill("/rack/limit", "5");
    ASSERT_EQ(children(out->root()).size(), 1u);
    EXPECT_EQ(ns_of(out->root().subtrees[0]), "urn:stranger");
}

TEST_F(AddPath, PrefixesInFrontOfStepsAreIgnored)
{
    ASSERT_EQ(add("/a1:rack/a1:limit", "5", 0, 0), ZPF_RC_OK);
    ASSERT_EQ(add("/rack/other:spare", "yes", 0, 0), ZPF_RC_OK);
    EXPECT_EQ(text(), tree("rack\n"
                           "  limit = \"5\"\n"
                           "  spare = \"yes\"\n"));
}

TEST_F(AddPath, ListsOutsideOfTheModelsWorkThroughTheirOpenEntry)
{
    open("/shelf/slot");
    fill("/shelf/slot/number", "1");
    open("/shelf/slot");
    fill("/shelf/slot/number", "2");
    EXPECT_EQ(text(), tree("shelf\n"
                           "  slot\n"
                           "    number = \"1\"\n"
                           "  slot\n"
                           "    number = \"2\"\n"));
}

// ---- bases

TEST_F(AddPath, ATaggedTreeStandsForTheStepsUpToItsTag)
{
    Tree held = tree_of(lamp_schema(), "lamp\n"
                                       "  config\n"
                                       "    level = \"1\"\n");
    Node& entry = held.root().subtrees[0];
    Node* leaf = nullptr;
    ASSERT_EQ(
        zpf_map_datatree_add_path_flagged(ctx(), &entry, kLampName, "urn:argument", nullptr, nullptr, &leaf, 0, 0),
        ZPF_RC_OK);
    EXPECT_EQ(to_text(held.root()), "lamp\n"
                                    "  config\n"
                                    "    level = \"1\"\n"
                                    "  name\n");
    EXPECT_EQ(leaf, find_child(entry, "name"));
    EXPECT_EQ(ns_of(*leaf), kLampNs);
}

TEST_F(AddPath, TheLastStepWithTheTagCounts)
{
    Tree held;
    Node& inner = held.add(held.root(), "part", "urn:x");
    ASSERT_EQ(
        zpf_map_datatree_add_path_flagged(ctx(), &inner, "/part/part/colour", "urn:x", "red", nullptr, nullptr, 0, 0),
        ZPF_RC_OK);
    EXPECT_EQ(to_text(held.root()), "part\n"
                                    "  colour = \"red\"\n");
}

TEST_F(AddPath, AnEntryAsTheTreeKeepsItsKey)
{
    Tree held;
    Node& entry = held.add(held.root(), "lamp", kLampNs);
    held.add(entry, "name", kLampNs, "L1");
    EXPECT_EQ(zpf_map_datatree_add_path_flagged(ctx(), &entry, kLampName, kLampNs, "L2", nullptr, nullptr, 0, 0),
              ZPF_RC_BAD_TREE);
    EXPECT_EQ(to_text(held.root()), "lamp\n"
                                    "  name = \"L1\"\n");
}

// ---- the second word, and operations

struct Word {
    const char* name;
    const char* first; ///< value that is there; "-" for a leaf that is not there
    const char* second;
    uint32_t leaf_flag;
    const char* expected;
};

class AddPathLeafWord : public Operations, public ::testing::WithParamInterface<Word> {
protected:
    static const char* text_or_null(const char* text) { return std::string_view{text} == "null" ? nullptr : text; }
};

TEST_P(AddPathLeafWord, DecidesOrFills)
{
    const Word& word = GetParam();
    if (std::string_view{word.first} != "-") {
        fill("/rack/limit", text_or_null(word.first));
    }
    ASSERT_EQ(add("/rack/limit", text_or_null(word.second), 0, word.leaf_flag), ZPF_RC_OK);
    EXPECT_EQ(text(), tree(std::string("rack\n  limit") + word.expected + "\n"));
}

INSTANTIATE_TEST_SUITE_P(Words, AddPathLeafWord,
                         ::testing::Values(Word{"FillsWhatIsAbsent", "-", "5", 0, " = \"5\""},
                                           Word{"DecidesWhatIsAbsent", "-", "5", 1, " = \"5\""},
                                           Word{"FillsWhatHasNoValue", "null", "5", 0, " = \"5\""},
                                           Word{"FillingKeepsTheValue", "4", "5", 0, " = \"4\""},
                                           Word{"FillingKeepsTheEmptyText", "", "5", 0, " = \"\""},
                                           Word{"FillingWithNothingKeepsTheValue", "4", "null", 0, " = \"4\""},
                                           Word{"DecidingReplacesTheValue", "4", "5", 1, " = \"5\""},
                                           Word{"DecidingForNothingTakesTheValue", "4", "null", 1, ""},
                                           Word{"DecidingForTheEmptyText", "4", "", 1, " = \"\""}),
                         CaseName{});

TEST_F(AddPath, ALeafTakesTheOperationOfItsSource)
{
    const Node removal = source_with(ZPF_OP_DELETE);
    decide("/rack/limit", nullptr, &removal);
    EXPECT_EQ(text(), tree("rack\n"
                           "  limit op=delete\n"));
}

TEST_F(AddPath, DecidingReplacesTheOperationFillingDoesNot)
{
    const Node removal = source_with(ZPF_OP_REMOVE);
    const Node setting = source_with(ZPF_OP_MERGE);
    decide("/rack/limit", nullptr, &removal);
    fill("/rack/limit", "5", &setting);
    EXPECT_EQ(text(), tree("rack\n"
                           "  limit = \"5\" op=remove\n"));
    decide("/rack/limit", "6", &setting);
    EXPECT_EQ(text(), tree("rack\n"
                           "  limit = \"6\"\n"));
    decide("/rack/limit", nullptr, &removal);
    decide("/rack/limit", "7"); // no source is merge
    EXPECT_EQ(text(), tree("rack\n"
                           "  limit = \"7\"\n"));
}

// ---- what is refused

struct BadPath {
    const char* name;
    const char* path;
};

class AddPathRefuses : public Operations, public ::testing::WithParamInterface<BadPath> {};

TEST_P(AddPathRefuses, AndRemembersIt)
{
    EXPECT_EQ(add(GetParam().path, "1", 0, 0), ZPF_RC_BAD_TREE);
    EXPECT_EQ(request().sticky, ZPF_RC_BAD_TREE);
    EXPECT_EQ(text(), "");
    EXPECT_EQ(add("/rack/limit", "5", 0, 0), ZPF_RC_OK);
    EXPECT_EQ(request().sticky, ZPF_RC_BAD_TREE) << "a later success must not hide it";
}

INSTANTIATE_TEST_SUITE_P(Paths, AddPathRefuses,
                         ::testing::Values(BadPath{"NoPath", nullptr}, BadPath{"EmptyPath", ""},
                                           BadPath{"RootOnly", "/"}, BadPath{"UnknownLeaf", "/rack/colour"},
                                           BadPath{"StepBelowALeaf", "/rack/limit/deeper"},
                                           BadPath{"UnknownContainerInside", "/cells/box/id"}),
                         CaseName{});

TEST_F(AddPath, RefusesANullTree)
{
    EXPECT_EQ(zpf_map_datatree_add_path_flagged(ctx(), nullptr, "/rack/limit", "", "1", nullptr, nullptr, 0, 0),
              ZPF_RC_BAD_TREE);
    EXPECT_EQ(request().sticky, ZPF_RC_BAD_TREE);
}

TEST_F(AddPath, RefusesAPathDeeperThanAnyModel)
{
    std::string path;
    for (int i = 0; i < 1000; ++i) {
        path += "/step";
    }
    EXPECT_EQ(add(path.c_str(), "1", 0, 0), ZPF_RC_BAD_TREE);
    EXPECT_EQ(text(), "");
}

TEST_F(AddPath, LeavesCreatedUntouchedWhenItRefuses)
{
    Node marker{};
    Node* created = &marker;
    EXPECT_EQ(add("/rack/colour", "1", 0, 0, nullptr, &created), ZPF_RC_BAD_TREE);
    EXPECT_EQ(created, &marker);
}

} // namespace zpf::test
