// SPDX-License-Identifier: Apache-2.0
//
// The container walker over an OpenConfig request: arguments, hierarchy, children, and callbacks that end it.
#include "walker_container_fixture.hpp"

namespace {

using test::ContainerWalker;
using test::kEdit;
using test::kGet;
using test::kGetConfig;
using test::kRoot;
using test::oc;
using test::Spec;
using test::Tree;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(ContainerWalker, RefusesChildrenThatArePromisedButNotThere)
{
    framework.logs_error = true;
    framework.logs_trace = true;
    Tree tree{oc("optical-attenuator")};
    tree.root()->state_flags |= ZPF_STATE_SUBTREES;
    tree.root()->subtree_count = 1;
    EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_BAD_TREE);
    EXPECT_THAT(framework.messages("ERR"), ElementsAre("Failed to get subtrees!"));
    EXPECT_THAT(framework.messages("TRC"), ElementsAre("Start", "End"));
    EXPECT_THAT(framework.calls, IsEmpty());
}

TEST_F(ContainerWalker, TakesPromisedChildrenOfCountZeroForNone)
{
    Tree tree{oc("optical-attenuator")};
    tree.root()->state_flags |= ZPF_STATE_SUBTREES;
    EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"cb"}), ElementsAre("cb cont root(optical-attenuator,0) op=0"));
}

TEST_F(ContainerWalker, DoesNotSeeChildrenThatAreNotFlagged)
{
    Tree tree{oc("optical-attenuator", {oc("attenuators")})};
    tree.root()->state_flags = ZPF_STATE_PRESENT;
    EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"cb"}), ElementsAre("cb cont root(optical-attenuator,0) op=0"));
}

TEST_F(ContainerWalker, RefusesADeleteThatCarriesChildrenBeforeAnyCallback)
{
    framework.logs_trace = true;
    for (int32_t operation : {ZPF_OP_DELETE, ZPF_OP_REMOVE}) {
        framework.calls.clear();
        framework.log.clear();
        Tree tree{oc("optical-attenuator", {oc("attenuators")}).op(operation)};
        EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_INVALID_ARGS);
        EXPECT_THAT(framework.calls, ElementsAre("is_request_delete(optical-attenuator) = 1"));
        EXPECT_THAT(framework.messages("TRC"), ElementsAre("Start", "Delete request with subtree present", "End"));
    }
}

TEST_F(ContainerWalker, LetsADeleteCarryChildrenWhenThatIsAllowed)
{
    framework.request.subtree_delete_allowed = 1;
    Tree tree{oc("optical-attenuator", {test::foreign("x").op(ZPF_OP_DELETE)}).op(ZPF_OP_DELETE)};
    EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"cb"}), ElementsAre("cb cont root(optical-attenuator,1) op=3"));
}

TEST_F(ContainerWalker, EntersTheHierarchyAndMarksTheNode)
{
    Tree tree{oc("optical-attenuator", {oc("attenuators")})};
    EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_OK);
    EXPECT_THAT(hierarchy_calls(), ElementsAre("H+(optical-attenuator,1)", "H+(attenuators,1)", "H-(attenuators)",
                                               "H-(optical-attenuator)"));
    EXPECT_EQ(tree.root()->node_type, static_cast<uint32_t>(ZPF_NODE_CONTAINER));
    EXPECT_EQ(tree.root()->map_flags, ZPF_MAP_VISITED);
}

TEST_F(ContainerWalker, KeepsTheFixedBitsOfTheListStateInReads)
{
    for (uint32_t operation : {kGet, kGetConfig}) {
        framework.request.list_state = 0xFFFFFFF8u;
        Tree tree{oc("optical-attenuator", {test::foreign("x")})};
        walk(operation, tree.root());
        EXPECT_EQ(framework.request.list_state, 0x11111110u);
    }
    framework.request.list_state = 0xFFFFFFF8u;
    Tree tree{oc("optical-attenuator", {test::foreign("x").op(ZPF_OP_DELETE)})};
    walk(kEdit, tree.root());
    EXPECT_EQ(framework.request.list_state, 0xFFFFFFF8u);
}

TEST_F(ContainerWalker, WalksChildrenInTheirOrderAndStopsAtTheFirstFailure)
{
    framework.logs_trace = true;
    Tree tree{oc("optical-attenuator",
                 {oc("attenuators", {oc("attenuator", {oc("config"), oc("name", "0/0-VOA-BST2"), oc("state")})}),
                  oc("attenuators")})};
    EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_UNSUPPORTED_NODE);
    EXPECT_EQ(error_tag(), "state");
    EXPECT_THAT(framework.calls_of({"cb"}),
                ElementsAre("cb cont root(optical-attenuator,2) op=0", "cb cont attenuators(attenuators,1) op=0",
                            "cb list(attenuator) op=0 sda=0", "cb cont config(config,0) op=0", "cb leaf name"));
    EXPECT_TRUE(framework.hierarchy.empty());
    EXPECT_EQ(framework.hierarchy_mismatches, 0u);
    EXPECT_THAT(
        framework.messages("TRC"),
        ::testing::IsSupersetOf({"Processing tag 'attenuators'", "Processing tag 'config'", "Processing tag 'state'"}));
}

TEST_F(ContainerWalker, RefusesAChildWithoutTag)
{
    framework.logs_error = true;
    Tree tree{oc("optical-attenuator", {Spec{}, oc("attenuators")})};
    EXPECT_EQ(walk(kGet, tree.root()), ZPF_RC_BAD_TREE);
    EXPECT_THAT(framework.messages("ERR"), ElementsAre("Tag name is not available!"));
    EXPECT_THAT(framework.calls_of({"oc_error_path", "strdup"}), IsEmpty());
}

TEST_F(ContainerWalker, SkipsAnUnknownTagInARead)
{
    framework.logs_error = true;
    for (uint32_t operation : {kGet, kGetConfig}) {
        framework.calls.clear();
        framework.log.clear();
        Tree tree{oc("optical-attenuator", {oc("unknown"), oc("attenuators", {test::foreign("x")})})};
        EXPECT_EQ(walk(operation, tree.root()), ZPF_RC_OK);
        EXPECT_THAT(framework.messages("ERR"), ElementsAre("Unsupported tag is specified in the request."));
        EXPECT_EQ(framework.calls_of({"cb"}).size(), 2u);
        EXPECT_THAT(framework.calls_of({"oc_error_path", "strdup"}), IsEmpty());
    }
}

TEST_F(ContainerWalker, RefusesAnUnknownTagInAnEdit)
{
    framework.logs_error = true;
    Tree tree{oc("optical-attenuator", {oc("unknown"), oc("attenuators")})};
    EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_UNSUPPORTED_NODE);
    EXPECT_THAT(framework.messages("ERR"), ElementsAre("Unsupported tag is specified in the request."));
    EXPECT_THAT(framework.calls_of({"strdup", "oc_error_path"}),
                ElementsAre(R"(strdup("unknown","ZPF MAP"))", "oc_error_path"));
    EXPECT_EQ(error_tag(), "unknown");
}

TEST_F(ContainerWalker, RecognisesAChildByItsTagAlone)
{
    Tree tree{oc("optical-attenuator", {oc("attenuators").in("http://elsewhere.example/ns")})};
    EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_OK);
    EXPECT_EQ(framework.calls_of({"cb"}).size(), 2u);
}

TEST_F(ContainerWalker, RefusesAForeignChildOnlyWhereItAdds)
{
    Tree merged{oc("optical-attenuator", {test::foreign("x")})};
    EXPECT_EQ(walk(kEdit, merged.root()), ZPF_RC_AUGMENT_CREATE);
    EXPECT_THAT(framework.calls_of({"strdup", "oc_error_path"}),
                ElementsAre(R"(strdup("x","ZPF MAP"))", "oc_error_path"));
    EXPECT_EQ(error_tag(), "x");
    Tree deleted{oc("optical-attenuator", {test::foreign("x").op(ZPF_OP_DELETE)})};
    EXPECT_EQ(walk(kEdit, deleted.root()), ZPF_RC_OK);
    Tree read{oc("optical-attenuator", {test::foreign("x")})};
    EXPECT_EQ(walk(kGet, read.root()), ZPF_RC_OK);
}

TEST_F(ContainerWalker, PrintsTheTreesBeforeTheRootLeavesEvenAfterAFailure)
{
    answer("root", ZPF_RC_INVALID_VALUE);
    Tree tree{oc("optical-attenuator", {oc("attenuators")})};
    EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_INVALID_VALUE);
    EXPECT_THAT(framework.calls_of({"print", "H-"}),
                ElementsAre("print(node_data) enabled", "print(root_node) enabled", "print(parent_node) enabled",
                            "print(current_node) enabled", "print(reg_dup_datatree) enabled", "print(plist) enabled",
                            "H-(optical-attenuator)"));
}

// ---- skipping

TEST_F(ContainerWalker, EndsAtOnceWhenACallbackHasHandledTheNode)
{
    framework.logs_trace = true;
    answer("root", ZPF_RC_SKIP_INSTANCE);
    Tree tree{oc("optical-attenuator", {oc("attenuators")})};
    EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_OK);
    EXPECT_THAT(hierarchy_calls(), ElementsAre("H+(optical-attenuator,1)", "H-(optical-attenuator)"));
    EXPECT_THAT(framework.calls_of({"print"}), IsEmpty());
    EXPECT_THAT(framework.messages("TRC"), ElementsAre("Start"));
}

TEST_F(ContainerWalker, LeavesTheHierarchyAloneWhenSkippedInAnExpansion)
{
    answer("attenuators", ZPF_RC_SKIP_INSTANCE);
    Tree tree{oc("optical-attenuator")};
    EXPECT_EQ(walk(kGet, tree.root()), ZPF_RC_OK);
    EXPECT_THAT(hierarchy_calls(), ElementsAre("H+(optical-attenuator,1)", "H-(optical-attenuator)"));
    EXPECT_THAT(framework.calls_of({"cb list"}), IsEmpty());
}

TEST_F(ContainerWalker, SkipsOnlyTheRemovalOfAReplaceAndPutsTheNodeBack)
{
    Tree tree{oc("optical-attenuator", {oc("attenuators")}).op(ZPF_OP_REPLACE)};
    const std::string before = test::describe(*tree.root());
    int calls = 0;
    framework.on_callback = [&calls](const std::string& callback) -> std::optional<qerrno> {
        return callback == "root" && ++calls == 1 ? std::optional{ZPF_RC_SKIP_INSTANCE} : std::nullopt;
    };
    EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"cb"}),
                ElementsAre("cb cont root(optical-attenuator,0) op=4", "cb cont root(optical-attenuator,1) op=0",
                            "cb cont attenuators(attenuators,0) op=0"));
    EXPECT_EQ(test::describe(*tree.root()), before);
}

TEST_F(ContainerWalker, PutsEverythingBackWhenTheMergeOfAReplaceIsSkipped)
{
    Tree tree{oc("optical-attenuator", {oc("attenuators")}).op(ZPF_OP_REPLACE)};
    const std::string before = test::describe(*tree.root());
    answer("root", ZPF_RC_SKIP_INSTANCE);
    EXPECT_EQ(walk(kEdit, tree.root()), ZPF_RC_OK);
    EXPECT_EQ(framework.calls_of({"cb"}).size(), 2u);
    EXPECT_EQ(test::describe(*tree.root()), before);
    EXPECT_EQ(framework.request.walk_flags, 0u);
    EXPECT_EQ(framework.request.list_entry_mapped, 0u);
    EXPECT_TRUE(framework.hierarchy.empty());
}

} // namespace
