// SPDX-License-Identifier: Apache-2.0
//
// The walker over the attenuator list of a request: its keys and its list callback.
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

constexpr const char* kListPath = "/optical-attenuator/attenuators/attenuator";
constexpr const char* kNoKeys = "No keys specified with a list node.";

// ---- keys

using ListKeys = ListWalker;

TEST_F(ListKeys, AreNeededInTheValidatedKindsOfEdit)
{
    for (uint32_t operation : {1u, 8u, 15u}) {
        EXPECT_EQ(walk(operation, {attenuator({})}), ZPF_RC_BAD_TREE);
        EXPECT_THAT(framework.messages("ERR"), ElementsAre(kNoKeys, kNoKeys));
        EXPECT_THAT(entry_callbacks(), IsEmpty());
        EXPECT_THAT(framework.calls_of({"oc_error_path", "H+(attenuator,", "U("}), IsEmpty());
    }
}

TEST_F(ListKeys, AreNotNeededInAnyOtherKindOfRequest)
{
    for (uint32_t operation : {2u, 7u, 9u, 14u, 16u, 17u, 33u, kGet, kGetConfig}) {
        EXPECT_EQ(walk(operation, {attenuator({})}), ZPF_RC_OK) << operation;
        EXPECT_EQ(framework.messages("ERR").front(), kNoKeys);
        EXPECT_EQ(framework.calls_of({"cb list"}).size(), 1u);
    }
}

TEST_F(ListKeys, AreComparedWithConfigurationInValidatedEditsOnly)
{
    EXPECT_EQ(walk(kEdit, {attenuator({name()})}), ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"check"}), ElementsAre("check_oc_leafref(AT,config,name,entry)"));
    EXPECT_EQ(walk(kGet, {attenuator({name()})}), ZPF_RC_OK);
    EXPECT_EQ(walk(2, {attenuator({name()})}), ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"check"}), IsEmpty());
}

TEST_F(ListKeys, FailWithTheCodeOfTheComparison)
{
    framework.leafref_result = 0xAAF2F400u;
    framework.logs_trace = true;
    EXPECT_EQ(walk(kEdit, {attenuator({name()}).op(ZPF_OP_REPLACE)}), 0xAAF2F400u);
    EXPECT_THAT(framework.messages("ERR"), ElementsAre("leafref value check fail"));
    EXPECT_THAT(entry_callbacks(), IsEmpty());
    EXPECT_THAT(framework.calls_of({"H-"}), ElementsAre("H-(attenuator)", "H-(attenuators)", "H-(optical-attenuator)"));
    EXPECT_TRUE(is_put_back());
}

struct KeyCase {
    const char* description;
    std::vector<Spec> keys;
    bool passes_edit;
    bool passes_read;
};

TEST_F(ListKeys, MustBeOneWithValueInAnEditAndAtMostOneInARead)
{
    const KeyCase cases[] = {
        {"one", {name()}, true, true},
        {"none", {}, false, true},
        {"one without value", {oc("name")}, false, true},
        {"two", {name(), name()}, false, false},
        {"two, one without value", {name(), oc("name")}, false, false},
        {"two without value", {oc("name"), oc("name")}, false, false},
    };
    for (const KeyCase& each : cases) {
        SCOPED_TRACE(each.description);
        std::vector<Spec> children = each.keys;
        children.push_back(oc("config"));
        for (const auto& [operation, passes] :
             {std::pair{kEdit, each.passes_edit}, {kGetConfig, each.passes_read}, {2u, each.passes_read}}) {
            named_free(framework.request.error_tag);
            framework.request.error_tag = nullptr;
            const qerrno result = walk(operation, {attenuator(children)});
            EXPECT_EQ(result, passes ? ZPF_RC_OK : ZPF_RC_KEY_MISSING);
            if (!passes) {
                EXPECT_THAT(framework.messages("ERR"), ElementsAre("List key node error."));
                EXPECT_THAT(framework.calls_of({"strdup", "oc_error_path"}),
                            ElementsAre(R"(strdup("name","ZPF MAP"))", "oc_error_path"));
                EXPECT_THAT(entry_callbacks(), IsEmpty());
            }
        }
    }
}

TEST_F(ListKeys, ThatFailLeaveAReplacedEntryAsItWas)
{
    EXPECT_EQ(walk(kEdit, {attenuator({oc("config")}).op(ZPF_OP_REPLACE)}), ZPF_RC_KEY_MISSING);
    EXPECT_TRUE(is_put_back());
    EXPECT_EQ(framework.request.walk_flags, 0u);
    EXPECT_EQ(framework.request.list_entry_mapped, 0u);
}

TEST_F(ListKeys, AreMarked)
{
    walk(kEdit, {attenuator({name(), oc("config")})});
    const auto& key = tree->at({"attenuators", "attenuator", "name"});
    EXPECT_EQ(key.key_handled, 1);
    EXPECT_EQ(key.state_flags2, ZPF_STATE2_KEY_TAKEN);
    EXPECT_EQ(tree->at({"attenuators", "attenuator", "config"}).key_handled, 0);
    EXPECT_EQ(entry().node_type, static_cast<uint32_t>(ZPF_NODE_LIST_ENTRY));
    EXPECT_EQ(entry().map_flags, ZPF_MAP_VISITED);
}

TEST_F(ListKeys, WithoutValueFailWhereTheCheckAheadIsLeftOut)
{
    framework.header.operation = kEdit;
    tree = std::make_unique<Tree>(oc("optical-attenuator", {oc("attenuators", {attenuator({oc("name")})})}));
    framework.request.subtree_delete_allowed = 1;
    EXPECT_EQ(call(test::kOx + "lvla_opticalattenuator", tree->root()), ZPF_RC_KEY_MISSING);
    EXPECT_THAT(framework.messages("ERR"), ElementsAre("Empty list key specified."));
    EXPECT_THAT(framework.calls_of({"strdup", "oc_error_path", "check"}),
                ElementsAre(R"(strdup("name","ZPF MAP"))", "oc_error_path"));
}

TEST_F(ListKeys, MustNotBeDeleted)
{
    for (int32_t operation : {ZPF_OP_DELETE, ZPF_OP_REMOVE}) {
        named_free(framework.request.error_tag);
        framework.request.error_tag = nullptr;
        EXPECT_EQ(walk(kEdit, {attenuator({name().op(operation)})}), ZPF_RC_KEY_DELETE);
        EXPECT_THAT(framework.messages("ERR"), ElementsAre("The key node should not have delete operation."));
        EXPECT_THAT(framework.calls_of({"strdup", "oc_error_path"}),
                    ElementsAre(R"(strdup("name","ZPF MAP"))", "oc_error_path"));
        EXPECT_EQ(framework.request.error_message, nullptr);
        EXPECT_THAT(framework.calls_of({"cb leaf", "ADD IC/interface-name"}), IsEmpty());
    }
    for (int32_t operation : {ZPF_OP_MERGE, ZPF_OP_CREATE, ZPF_OP_REPLACE}) {
        EXPECT_EQ(walk(kEdit, {attenuator({name().op(operation)})}), ZPF_RC_OK);
    }
}

TEST_F(ListKeys, AreNotLookedAtWhenTheListIsUnknown)
{
    framework.update_results[kListPath] = ZPF_RC_BAD_TREE;
    EXPECT_EQ(walk(kEdit, {attenuator({name(), name()})}), ZPF_RC_BAD_TREE);
    EXPECT_THAT(framework.messages("ERR"), IsEmpty());
    EXPECT_THAT(entry_callbacks(), IsEmpty());
    EXPECT_EQ(tree->at({"attenuators", "attenuator", "name"}).key_handled, 0);
}

// ---- the list callback

using ListCallback = ListWalker;

TEST_F(ListCallback, IsCalledTwiceForTheDeleteOfAKeyedEntry)
{
    EXPECT_EQ(walk(kEdit, {attenuator({name()}).op(ZPF_OP_DELETE)}), ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"cb list"}),
                ElementsAre("cb list(attenuator) op=3 sda=2", "cb list(attenuator) op=3 sda=0"));
    EXPECT_EQ(walk(kEdit, {attenuator({name(), oc("config").op(ZPF_OP_DELETE)}).op(ZPF_OP_DELETE)}), ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"cb list"}), ElementsAre("cb list(attenuator) op=3 sda=0"));
}

TEST_F(ListCallback, IsCalledTwiceForTheRemovalOfAReplacedEntryWithKeysOnly)
{
    EXPECT_EQ(walk(kEdit, {attenuator({name()}).op(ZPF_OP_REPLACE)}), ZPF_RC_OK);
    EXPECT_THAT(framework.calls_of({"cb list"}),
                ElementsAre("cb list(attenuator) op=4 sda=2", "cb list(attenuator) op=4 sda=0",
                            "cb list(attenuator) op=0 sda=0"));
    EXPECT_TRUE(is_put_back());
}

TEST_F(ListCallback, EndsThePassWithAFailureAheadAndIgnoresASkipAhead)
{
    int calls = 0;
    qerrno ahead = ZPF_RC_INVALID_VALUE;
    framework.on_callback = [&](const std::string& callback) -> std::optional<qerrno> {
        return callback == "list" && ++calls == 1 ? std::optional{ahead} : std::nullopt;
    };
    EXPECT_EQ(walk(kEdit, {attenuator({name()}).op(ZPF_OP_DELETE)}), ZPF_RC_INVALID_VALUE);
    EXPECT_EQ(framework.calls_of({"cb list"}).size(), 1u);
    calls = 0;
    ahead = ZPF_RC_SKIP_INSTANCE;
    EXPECT_EQ(walk(kEdit, {attenuator({name()}).op(ZPF_OP_DELETE)}), ZPF_RC_OK);
    EXPECT_EQ(framework.calls_of({"cb list"}).size(), 2u);
}

TEST_F(ListCallback, PrunesTheEntryWhenItSkips)
{
    answer("list", ZPF_RC_SKIP_INSTANCE);
    EXPECT_EQ(walk(kGet, {attenuator({oc("config", {oc("name")})})}), ZPF_RC_OK);
    EXPECT_THAT(entry_callbacks(), ElementsAre("cb list(attenuator) op=0 sda=0"));
    EXPECT_THAT(framework.calls_of({"ADD"}), IsEmpty());
    EXPECT_EQ(walk(kEdit, {attenuator({name(), oc("config")}).op(ZPF_OP_REPLACE)}), ZPF_RC_OK);
    EXPECT_EQ(framework.calls_of({"cb list"}).size(), 2u);
    EXPECT_TRUE(is_put_back());
}

TEST_F(ListCallback, EndsTheEntryWhenItFails)
{
    answer("list", ZPF_RC_INVALID_VALUE);
    EXPECT_EQ(walk(kEdit, {attenuator({name(), oc("config")}).op(ZPF_OP_REPLACE)}), ZPF_RC_INVALID_VALUE);
    EXPECT_THAT(entry_callbacks(), ElementsAre("cb list(attenuator) op=4 sda=0"));
    EXPECT_TRUE(is_put_back());
    EXPECT_EQ(framework.request.walk_flags, 0u);
}

TEST_F(ListCallback, LeavesTheOperationOfTheEntryInTheContext)
{
    framework.context.list_edit_op = 77;
    walk(kEdit, {attenuator({name()}).op(ZPF_OP_DELETE)});
    EXPECT_EQ(framework.context.list_edit_op, 0); // the client's own operation is not the mapping's
    std::vector<int32_t> operations;
    framework.on_callback = [&](const std::string& callback) -> std::optional<qerrno> {
        if (callback == "name") {
            operations.push_back(framework.context.list_edit_op);
        }
        return std::nullopt;
    };
    walk(kEdit, {attenuator({name(), oc("config")}).op(ZPF_OP_REPLACE)});
    EXPECT_THAT(operations, ElementsAre(4, 4, 0));
    framework.context.list_edit_op = 77;
    answer("list", ZPF_RC_INVALID_VALUE);
    walk(kEdit, {attenuator({name()})});
    EXPECT_EQ(framework.context.list_edit_op, 77);
}

} // namespace
