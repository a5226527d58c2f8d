// SPDX-License-Identifier: Apache-2.0
//
// One entry of the attenuator list: its children, its expansion, its key, and entries that a callback produces.
#include "walker_list_fixture.hpp"

namespace {

using test::attenuator;
using test::kEdit;
using test::kGet;
using test::kGetConfig;
using test::ListWalker;
using test::name;
using test::oc;
using test::Spec;
using test::Tree;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// ---- children

using ListChildren = ListWalker;

TEST_F(ListChildren, HaveStateOnlyInAGet)
{
    EXPECT_EQ(walk(kGet, {attenuator({name(), oc("state", {oc("attenuation")})})}), ZPF_RC_OK);
    EXPECT_EQ(framework.calls_of({"cb cont state"}).size(), 1u);
    EXPECT_EQ(walk(kGetConfig, {attenuator({name(), oc("state", {oc("attenuation")})})}), ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"cb cont state"}), IsEmpty());
    EXPECT_THAT(framework.messages("ERR"), ElementsAre("Unsupported tag is specified in the request."));
    EXPECT_EQ(walk(kEdit, {attenuator({name(), oc("state")})}), ZPF_RC_UNSUPPORTED_NODE);
    EXPECT_EQ(error_tag(), "state");
}

TEST_F(ListChildren, AreRefusedOrSkippedWhenUnknown)
{
    EXPECT_EQ(walk(kEdit, {attenuator({name(), oc("unknown")})}), ZPF_RC_UNSUPPORTED_NODE);
    EXPECT_EQ(error_tag(), "unknown");
    EXPECT_EQ(walk(kGet, {attenuator({name(), oc("unknown"), oc("config", {oc("name")})})}), ZPF_RC_OK);
    EXPECT_EQ(framework.calls_of({"cb cont config"}).size(), 1u);
}

TEST_F(ListChildren, MustHaveATag)
{
    EXPECT_EQ(walk(kEdit, {attenuator({name(), Spec{}})}), ZPF_RC_BAD_TREE);
    EXPECT_THAT(framework.messages("ERR"), ElementsAre("Tag name is not available!"));
}

TEST_F(ListChildren, OfAnotherModuleAreRefusedWhereTheyAddInBothPassesOfAReplace)
{
    EXPECT_EQ(walk(kEdit, {attenuator({name(), test::foreign("x")})}), ZPF_RC_AUGMENT_CREATE);
    EXPECT_EQ(error_tag(), "x");
    EXPECT_EQ(walk(kGet, {attenuator({name(), test::foreign("x")})}), ZPF_RC_OK);
    EXPECT_EQ(walk(kEdit, {attenuator({name(), test::foreign("x")}).op(ZPF_OP_REPLACE)}), ZPF_RC_AUGMENT_CREATE);
    EXPECT_THAT(framework.calls_of({"cb list"}), ElementsAre("cb list(attenuator) op=4 sda=0"));
    EXPECT_TRUE(is_put_back());
}

TEST_F(ListChildren, ButTheKeyWaitForTheMergeOfAReplace)
{
    EXPECT_EQ(walk(kEdit, {attenuator({name(), oc("config", {name()}), oc("unknown")}).op(ZPF_OP_REPLACE)}),
              ZPF_RC_UNSUPPORTED_NODE);
    EXPECT_THAT(entry_callbacks(),
                ElementsAre("cb list(attenuator) op=4 sda=0", "cb leaf name", "cb leaf name (expansion)",
                            "cb cont config(attenuator,0) op=4", "cb list(attenuator) op=0 sda=0", "cb leaf name",
                            "cb cont config(config,1) op=0"));
    EXPECT_TRUE(is_put_back());
}

TEST_F(ListChildren, StopAtTheFirstFailure)
{
    answer("name", ZPF_RC_INVALID_VALUE);
    EXPECT_EQ(walk(kGet, {attenuator({name(), oc("config")}), attenuator({name()})}), ZPF_RC_INVALID_VALUE);
    EXPECT_THAT(entry_callbacks(), ElementsAre("cb list(attenuator) op=0 sda=0", "cb leaf name"));
}

TEST_F(ListChildren, ArePromisedButNotThere)
{
    tree = std::make_unique<Tree>(oc("optical-attenuator", {oc("attenuators", {attenuator({})})}));
    entry().state_flags |= ZPF_STATE_SUBTREES;
    entry().subtree_count = 2;
    EXPECT_EQ(call(test::kOx + "lvla_opticalattenuator", tree->root()), ZPF_RC_BAD_TREE);
    EXPECT_THAT(framework.messages("ERR"), ElementsAre("Failed to get subtrees!"));
    EXPECT_THAT(framework.calls_of({"H+(attenuator,"}), IsEmpty());
}

// ---- expansion of an entry

using EntryExpansion = ListWalker;

TEST_F(EntryExpansion, KeepsTheKeyOnTheStackAndPutsItBack)
{
    std::vector<std::size_t> depths;
    std::vector<uint32_t> counts;
    framework.on_callback = [&](const std::string& callback) -> std::optional<qerrno> {
        if (callback == "config") {
            depths.push_back(framework.itree.size());
            counts.push_back(entry().subtree_count);
        }
        return std::nullopt;
    };
    EXPECT_EQ(walk(kGetConfig, {attenuator({name()})}), ZPF_RC_OK);
    EXPECT_THAT(depths, ElementsAre(1u));
    EXPECT_THAT(counts, ElementsAre(0u));
    EXPECT_TRUE(is_put_back());
    EXPECT_EQ(framework.request.walk_mode, 0u);
}

TEST_F(EntryExpansion, TurnsADeleteIntoARemovalForItsLength)
{
    EXPECT_EQ(walk(kEdit, {attenuator({name()}).op(ZPF_OP_DELETE)}), ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"cb cont config"}), ElementsAre("cb cont config(attenuator,0) op=4"));
    EXPECT_TRUE(is_put_back());
    EXPECT_EQ(entry().state_flags & ZPF_STATE_CONSUMED, ZPF_STATE_CONSUMED);
}

TEST_F(EntryExpansion, IsNotDoneForAnEntryThatNamesOtherNodes)
{
    EXPECT_EQ(walk(kGet, {attenuator({name(), oc("state", {oc("name")})})}), ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"itree_push", "cb cont config"}), IsEmpty());
}

TEST_F(EntryExpansion, CoversAnEntryWithoutChildrenInARead)
{
    EXPECT_EQ(walk(kGet, {attenuator({})}), ZPF_RC_OK);
    EXPECT_THAT(entry_callbacks(),
                ElementsAre("cb list(attenuator) op=0 sda=0", "cb leaf name (expansion)",
                            "cb cont config(attenuator,0) op=0", "cb cont state(attenuator,0) op=0"));
}

TEST_F(EntryExpansion, OfADeleteWithoutChildrenIsARemovalForKeyAndConfigurationOnly)
{
    EXPECT_EQ(walk(2, {attenuator({}).op(ZPF_OP_DELETE)}), ZPF_RC_OK);
    EXPECT_THAT(entry_callbacks(), ElementsAre("cb list(attenuator) op=3 sda=0", "cb leaf name (expansion)",
                                               "cb cont config(attenuator,0) op=4"));
    EXPECT_TRUE(is_put_back());
}

TEST_F(EntryExpansion, DoesNotFailTheWalk)
{
    answer("config", ZPF_RC_INVALID_VALUE);
    EXPECT_EQ(walk(kGetConfig, {attenuator({name()})}), ZPF_RC_OK);
    EXPECT_EQ(walk(kGetConfig, {attenuator({})}), ZPF_RC_OK);
}

// ---- key completion

using KeyCompletion = ListWalker;

TEST_F(KeyCompletion, AddsTheKeyToAReadThatNamesOtherNodesOnly)
{
    for (uint32_t operation : {kGet, kGetConfig}) {
        EXPECT_EQ(walk(operation, {attenuator({oc("config", {oc("attenuation")})})}), ZPF_RC_OK);
        const test::Add& add = framework.adds.back();
        EXPECT_EQ(add.tree, &entry());
        EXPECT_EQ(add.path, "/optical-attenuator/attenuators/attenuator/name");
        EXPECT_EQ(add.ns, ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR);
        EXPECT_EQ(add.value, std::nullopt);
        EXPECT_EQ(add.source, nullptr);
        EXPECT_TRUE(add.wants_node);
        EXPECT_EQ(add.list_flag + add.leaf_flag, 0u);
        const auto& key = tree->at({"attenuators", "attenuator", "name"});
        EXPECT_EQ(key.key_handled, 1);
        EXPECT_EQ(key.state_flags2, ZPF_STATE2_KEY_TAKEN);
    }
}

TEST_F(KeyCompletion, IsNotDoneForEditsAndEntriesThatHaveAKey)
{
    walk(2, {attenuator({oc("config")})});
    EXPECT_EQ(framework.calls_of({"ADD AT"}).size(), 0u);
    walk(kGet, {attenuator({oc("name"), oc("config", {oc("name")})})});
    EXPECT_EQ(framework.calls_of({"ADD AT"}).size(), 0u);
    walk(kGet, {attenuator({})});
    EXPECT_EQ(framework.calls_of({"ADD AT"}).size(), 0u);
}

TEST_F(KeyCompletion, ReturnsTheFailureOfTheAdd)
{
    framework.on_add = [](const test::Add& add) { return add.wants_node ? ZPF_RC_BAD_TREE : ZPF_RC_OK; };
    EXPECT_EQ(walk(kGet, {attenuator({oc("config", {oc("name")})})}), ZPF_RC_BAD_TREE);
}

TEST_F(KeyCompletion, HappensOnceInAReadThatReplaces)
{
    EXPECT_EQ(walk(kGet, {attenuator({oc("config", {oc("name")})}).op(ZPF_OP_REPLACE)}), ZPF_RC_OK);
    EXPECT_EQ(framework.calls_of({"ADD AT/name"}).size(), 1u);
    EXPECT_EQ(entry().subtree_count, 2u);
}

// ---- entries that the callback produces

class ProducedEntries : public ListWalker {
protected:
    /** Lets the list callback leave these entries behind. */
    void produce(std::vector<Spec> entries, zpf_itree_handler handler = nullptr)
    {
        produced = std::make_unique<Tree>(oc("produced", std::move(entries)));
        framework.on_callback = [this, handler](const std::string& callback) -> std::optional<qerrno> {
            if (callback != "list") {
                return std::nullopt;
            }
            framework.itree.push_back({produced->root()->subtrees, produced->root()->subtree_count, handler});
            return result_of_list;
        };
    }
    std::unique_ptr<Tree> produced;
    qerrno result_of_list = ZPF_RC_OK;
};

TEST_F(ProducedEntries, AreWalkedInPlaceOfTheRequestNode)
{
    produce({attenuator({name("0/0-VOA-BST0")}), oc("second", {name("0/0-VOA-BST2")})});
    EXPECT_EQ(walk(kGetConfig, {attenuator({})}), ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"H", "U(", "itree_p", "cb leaf"}),
                ElementsAre("H+(optical-attenuator,1)", "H+(attenuators,1)", "H+(attenuator,2)", "U(AT)", "itree_peak",
                            "cb leaf name", "itree_push(name 1, 0)", "itree_pop", "H+(second,2)", "U(AT)",
                            "cb leaf name", "itree_push(name 1, 0)", "itree_pop", "H-(second)", "itree_pop",
                            "H-(attenuator)", "H-(attenuators)", "H-(optical-attenuator)"));
}

TEST_F(ProducedEntries, StopAtTheFirstFailure)
{
    produce({attenuator({oc("unknown")}), oc("second", {name()})});
    EXPECT_EQ(walk(2, {attenuator({})}), ZPF_RC_UNSUPPORTED_NODE);
    EXPECT_THAT(framework.calls_of({"cb leaf"}), IsEmpty());
    produce({attenuator({name()}), oc("second", {name()})});
    produced->root()->subtrees[1].subtrees = nullptr;
    EXPECT_EQ(walk(2, {attenuator({})}), ZPF_RC_BAD_TREE);
    EXPECT_EQ(framework.calls_of({"cb leaf"}).size(), 1u);
}

TEST_F(ProducedEntries, AreHandedToTheirHandlerInADelete)
{
    static std::vector<std::string> handled;
    handled.clear();
    const zpf_itree_handler handler = [](zpf_map_ctx, qidl_zpf_datatree* entry, qidl_zpf_datatree* out, uint32_t zero) {
        handled.push_back(entry->tag + (" op" + std::to_string(entry->edit_op)) +
                          (out != nullptr && zero == 0 ? "" : "?"));
        return handled.size() == 2 ? ZPF_RC_INVALID_VALUE : ZPF_RC_OK;
    };
    produce({attenuator({name()}), oc("second", {name()}), oc("third", {name()})}, handler);
    EXPECT_EQ(walk(kGetConfig, {attenuator({})}), ZPF_RC_OK);
    EXPECT_THAT(handled, IsEmpty());
    EXPECT_EQ(walk(2, {attenuator({}).op(ZPF_OP_DELETE)}), ZPF_RC_INVALID_VALUE);
    EXPECT_THAT(handled, ElementsAre("attenuator op4", "second op4"));
    EXPECT_EQ(produced->root()->subtrees[0].state_flags & ZPF_STATE_CONSUMED, ZPF_STATE_CONSUMED);
}

TEST_F(ProducedEntries, AreTakenAwayAlsoAfterASkipOrAFailure)
{
    produce({attenuator({name()})});
    result_of_list = ZPF_RC_SKIP_INSTANCE;
    EXPECT_EQ(walk(kGetConfig, {attenuator({})}), ZPF_RC_OK);
    result_of_list = ZPF_RC_INVALID_VALUE;
    EXPECT_EQ(walk(kGetConfig, {attenuator({})}), ZPF_RC_INVALID_VALUE);
    EXPECT_THAT(framework.calls_of({"cb leaf"}), IsEmpty());
}

} // namespace
