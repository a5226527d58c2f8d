// SPDX-License-Identifier: Apache-2.0
//
// Replaces and expansions of OpenConfig containers, and the leaf and augment walkers below them.
#include "walker_container_fixture.hpp"

namespace {

using test::ContainerWalker;
using test::kEdit;
using test::kGet;
using test::kGetConfig;
using test::kRoot;
using test::oc;
using test::Tree;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// ---- replace

TEST_F(ContainerWalker, WalksAReplaceAsARemovalAndAMerge)
{
    std::vector<uint32_t> flags;
    Tree tree{oc("optical-attenuator", {oc("attenuators")}).op(ZPF_OP_REPLACE)};
    framework.on_callback = [&](const std::string& callback) -> std::optional<qerrno> {
        if (callback == "root") {
            flags.push_back(framework.request.walk_flags);
            flags.push_back(framework.request.list_entry_mapped);
            flags.push_back(tree.root()->subtree_count);
            flags.push_back(tree.root()->state_flags);
        }
        return std::nullopt;
    };
    const std::string before = test::describe(*tree.root());
    EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_OK);
    EXPECT_THAT(flags, ElementsAre(0x40u, 1u, 0u, 0x11u, 0x80u, 1u, 1u, 0x51u));
    EXPECT_EQ(test::describe(*tree.root()), before);
    EXPECT_EQ(tree.root()->state_flags & ZPF_STATE_CONSUMED, ZPF_STATE_CONSUMED);
    EXPECT_EQ(framework.request.walk_flags, 0u);
}

TEST_F(ContainerWalker, KeepsTheOperationWhenAReplaceBelowHasEndedFirst)
{
    Tree tree{oc("optical-attenuator", {oc("attenuators").op(ZPF_OP_REPLACE)}).op(ZPF_OP_REPLACE)};
    EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_OK);
    EXPECT_EQ(tree.root()->edit_op, ZPF_OP_MERGE);
    EXPECT_EQ(tree.at({"attenuators"}).edit_op, ZPF_OP_REPLACE);
}

TEST_F(ContainerWalker, DoesNotMergeWhatItCouldNotRemove)
{
    answer("root", ZPF_RC_INVALID_VALUE);
    Tree tree{oc("optical-attenuator", {oc("attenuators")}).op(ZPF_OP_REPLACE)};
    const std::string before = test::describe(*tree.root());
    EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_INVALID_VALUE);
    EXPECT_THAT(framework.calls_of({"cb cont root"}), ElementsAre("cb cont root(optical-attenuator,0) op=4"));
    EXPECT_EQ(test::describe(*tree.root()), before);
}

// ---- expansion

TEST_F(ContainerWalker, ExpandsAReadThatNamesNoChildrenWithoutTouchingTheHierarchyBelow)
{
    std::vector<uint32_t> modes;
    framework.on_callback = [&](const std::string&) {
        modes.push_back(framework.request.walk_mode);
        return std::nullopt;
    };
    Tree tree{oc("optical-attenuator")};
    EXPECT_EQ(walk(kGet, tree.root()), ZPF_RC_OK);
    EXPECT_THAT(hierarchy_calls(), ElementsAre("H+(optical-attenuator,1)", "H-(optical-attenuator)"));
    EXPECT_EQ(modes.front(), 0u);
    EXPECT_GT(modes.size(), 6u);
    EXPECT_TRUE(std::all_of(modes.begin() + 1, modes.end(), [](uint32_t mode) { return mode == 1; }));
    EXPECT_EQ(framework.request.walk_mode, 0u);
    EXPECT_EQ(tree.root()->node_type, static_cast<uint32_t>(ZPF_NODE_CONTAINER)); // no leaf has marked it
    EXPECT_EQ(error_tag(), "optical-attenuator"); // left by the unsupported leaves, although the read succeeds
}

TEST_F(ContainerWalker, ExpandsAfterAFailedCallbackAndReturnsItsCode)
{
    answer("root", ZPF_RC_INVALID_VALUE);
    Tree tree{oc("optical-attenuator")};
    EXPECT_EQ(walk(kGet, tree.root()), ZPF_RC_INVALID_VALUE);
    EXPECT_EQ(framework.calls_of({"cb cont attenuators"}).size(), 1u);
}

TEST_F(ContainerWalker, ExpandsAnEditOnlyWhenItDeletes)
{
    Tree merged{oc("optical-attenuator")};
    walk(kEdit, merged.root());
    EXPECT_EQ(framework.calls_of({"cb"}).size(), 1u);
    framework.calls.clear();
    Tree removed{oc("optical-attenuator").op(ZPF_OP_REMOVE)};
    walk(kEdit, removed.root());
    EXPECT_GT(framework.calls_of({"cb"}).size(), 2u);
    EXPECT_EQ(removed.root()->state_flags & ZPF_STATE_CONSUMED, 0); // a client's own "remove" is not rewritten
}

TEST_F(ContainerWalker, ExpandsADeleteAsARemovalForChildrenAndAsADeleteForAugments)
{
    Tree tree{oc("optical-attenuator").op(ZPF_OP_DELETE)};
    walk(kEdit, tree.root());
    EXPECT_THAT(framework.calls_of({"cb cont"}),
                ElementsAre("cb cont root(optical-attenuator,0) op=3", "cb cont attenuators(optical-attenuator,0) op=4",
                            "cb cont config(optical-attenuator,0) op=4"));
    EXPECT_EQ(tree.root()->edit_op, ZPF_OP_DELETE);
    EXPECT_EQ(tree.root()->state_flags & ZPF_STATE_CONSUMED, ZPF_STATE_CONSUMED);
}

TEST_F(ContainerWalker, ExpandsAStateDeleteWithItsOwnOperation)
{
    Tree tree{oc("optical-attenuator",
                 {oc("attenuators", {oc("attenuator", {oc("name", "0/0-VOA-BST2"), oc("state").op(ZPF_OP_DELETE)})})})};
    framework.header.operation = kGet;
    call(kRoot, tree.root());
    EXPECT_THAT(framework.calls_of({"cb cont state", "cb cont aa"}),
                ElementsAre("cb cont state(state,0) op=3", "cb cont aa(state,0) op=3"));
}

TEST_F(ContainerWalker, TurnsTheAskedForExpansionIntoOneAndExpandsBesideChildren)
{
    framework.request.list_state = 0;
    framework.on_callback = [this](const std::string& callback) -> std::optional<qerrno> {
        if (callback == "attenuators" && framework.request.walk_mode == 0) {
            framework.request.list_state = 0x4;
        }
        return std::nullopt;
    };
    Tree tree{oc("optical-attenuator", {oc("attenuators", {test::foreign("x")})})};
    EXPECT_EQ(walk(kGetConfig, tree.root()), ZPF_RC_OK);
    EXPECT_EQ(framework.calls_of({"cb list"}).size(), 1u); // "attenuators" has children and is expanded all the same
    EXPECT_EQ(framework.request.list_state & 0x7u, 0u);
}

TEST_F(ContainerWalker, DoesNotTurnAnExpansionThatIsTakenBack)
{
    framework.on_callback = [this](const std::string& callback) -> std::optional<qerrno> {
        if (callback == "attenuators") {
            framework.request.list_state = 0x6;
        }
        return std::nullopt;
    };
    Tree tree{oc("optical-attenuator", {oc("attenuators", {test::foreign("x")})})};
    EXPECT_EQ(walk(kGetConfig, tree.root()), ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"cb list"}), IsEmpty());
}

TEST_F(ContainerWalker, WalksNoChildrenInAnExpansionThatCoversAll)
{
    framework.request.walk_mode = 1;
    framework.request.list_state = 0x1;
    Tree tree{oc("optical-attenuator", {oc("attenuators", {test::foreign("x")})})};
    EXPECT_EQ(walk(kGetConfig, tree.root()), ZPF_RC_OK);
    EXPECT_EQ(framework.calls_of({"cb"}).front(), "cb cont root(optical-attenuator,0) op=0");
    EXPECT_THAT(hierarchy_calls(), IsEmpty());
    EXPECT_EQ(framework.request.walk_mode, 1u); // another walker has set it
}

// ---- leaf and augment

using LeafWalker = ContainerWalker;

TEST_F(LeafWalker, MarksTheLeafAndReturnsTheResultOfItsCallback)
{
    Tree tree{oc("optical-attenuator",
                 {oc("attenuators",
                     {oc("attenuator", {oc("name", "0/0-VOA-BST2"), oc("config", {oc("attenuation", "21")})})})})};
    EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_INVALID_VALUE);
    const auto& leaf = tree.at({"attenuators", "attenuator", "config", "attenuation"});
    EXPECT_EQ(leaf.node_type, static_cast<uint32_t>(ZPF_NODE_LEAF));
    EXPECT_EQ(leaf.map_flags, ZPF_MAP_VISITED);
}

TEST_F(LeafWalker, DoesNotMarkWhileDeletesMayCarryChildren)
{
    framework.request.subtree_delete_allowed = 1;
    Tree tree{oc("optical-attenuator", {oc("attenuators", {oc("attenuator", {oc("name", "0/0-VOA-BST2")})})})};
    walk(kEdit, tree.root());
    EXPECT_EQ(tree.at({"attenuators", "attenuator", "name"}).node_type, 0u);
}

TEST_F(LeafWalker, RefusesALeafWithoutMapping)
{
    for (const char* tag : {"attenuation-mode", "target-output-power", "enabled"}) {
        Tree tree{
            oc("optical-attenuator",
               {oc("attenuators", {oc("attenuator", {oc("name", "0/0-VOA-BST2"), oc("config", {oc(tag, "1")})})})})};
        EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_UNSUPPORTED_NODE) << tag;
        EXPECT_EQ(error_tag(), tag);
    }
}

using AugmentWalker = ContainerWalker;

TEST_F(AugmentWalker, RefusesToAddUnderEveryOpenConfigLevel)
{
    Tree tree{test::foreign("x")};
    Tree deleted{test::foreign("x").op(ZPF_OP_DELETE)};
    for (const char* level : {"", "_attenuators", "_attenuators_attenuator", "_attenuator_config", "_attenuator_state",
                              "_state_actualattenuation", "_state_outputpowertotal", "_state_opticalreturnloss"}) {
        const std::string walker = kRoot + level + "_parse_augments";
        framework.header.operation = kEdit;
        EXPECT_EQ(call(walker, tree.root()), ZPF_RC_AUGMENT_CREATE) << walker;
        EXPECT_EQ(call(walker, deleted.root()), ZPF_RC_OK) << walker;
        framework.header.operation = kGet;
        EXPECT_EQ(call(walker, tree.root()), ZPF_RC_OK) << walker;
    }
}

} // namespace
