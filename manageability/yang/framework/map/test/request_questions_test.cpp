// SPDX-License-Identifier: Apache-2.0
//
// What walkers ask about a request, and the itree stack.
#include "operations_fixture.hpp"

#include <array>

#include "zpf_base/strings.h"

namespace zpf::test {

struct Question {
    int32_t edit_op;
    bool adds;
    bool deletes;
};

class RequestQuestions : public Operations, public ::testing::WithParamInterface<Question> {};

TEST_P(RequestQuestions, AddsAndDeletesAreKnownByTheNodesOperationAlone)
{
    const Node node = source_with(GetParam().edit_op);
    for (const uint32_t kind : {1u, 8u, 15u, 0xFFFFFFFFu}) {
        begin(kind);
        EXPECT_EQ(zpf_map_is_request_add(ctx(), &node) != 0, GetParam().adds) << kind;
    }
    for (const uint32_t kind : {ZPF_REQUEST_GET_CONFIG, ZPF_REQUEST_GET}) {
        begin(kind);
        EXPECT_EQ(zpf_map_is_request_add(ctx(), &node), 0) << "reads never add";
    }
    EXPECT_EQ(zpf_map_is_request_delete(&node) != 0, GetParam().deletes);
}

INSTANTIATE_TEST_SUITE_P(Operations, RequestQuestions,
                         ::testing::Values(Question{ZPF_OP_MERGE, true, false}, Question{ZPF_OP_REPLACE, true, false},
                                           Question{ZPF_OP_CREATE, true, false}, Question{ZPF_OP_DELETE, false, true},
                                           Question{ZPF_OP_REMOVE, false, true}, Question{ZPF_OP_NONE, false, false},
                                           Question{-1, false, false}),
                         [](const auto& one) { return "Op" + std::to_string(one.index); });

class Questions : public Operations {};

TEST_F(Questions, ANullNodeIsNeitherAddedNorDeleted)
{
    begin(ZPF_REQUEST_EDIT_CONFIG);
    EXPECT_EQ(zpf_map_is_request_add(ctx(), nullptr), 0);
    EXPECT_EQ(zpf_map_is_request_delete(nullptr), 0);
}

TEST_F(Questions, WithoutRequestOrHeaderItIsAnEditOfNoValidatedKind)
{
    const Node node = source_with(ZPF_OP_MERGE);
    request().header = nullptr;
    EXPECT_NE(zpf_map_is_request_add(ctx(), &node), 0);
    zpf_map_context bare{};
    EXPECT_NE(zpf_map_is_request_add(&bare, &node), 0);
    zpf_map_context_release(&bare);
}

TEST_F(Questions, NamesMatchWhenTheyAreEqual)
{
    EXPECT_NE(zpf_map_do_these_match("lamp", "lamp"), 0);
    EXPECT_NE(zpf_map_do_these_match("", ""), 0);
    EXPECT_EQ(zpf_map_do_these_match("lamp", "lamps"), 0);
    EXPECT_EQ(zpf_map_do_these_match("lamp", "Lamp"), 0);
    EXPECT_EQ(zpf_map_do_these_match("lamp", nullptr), 0);
    EXPECT_EQ(zpf_map_do_these_match(nullptr, "lamp"), 0);
    EXPECT_EQ(zpf_map_do_these_match(nullptr, nullptr), 0);
}

// ---- leafref

struct Leafref {
    const char* name;
    const char* entry;
    qerrno expected;
};

class CheckLeafref : public Operations, public ::testing::WithParamInterface<Leafref> {};

TEST_P(CheckLeafref, ComparesTheKeyWithItsCopy)
{
    begin(ZPF_REQUEST_EDIT_CONFIG);
    Tree walked = tree_of(lamp_schema(), GetParam().entry);
    const Node& entry = walked.root().subtrees[0];
    zpf_map_add_to_node_hierarchy(ctx(), &entry, 2);
    EXPECT_EQ(zpf_map_check_oc_leafref(ctx(), kLamp, "config", "name", &entry), GetParam().expected);
    if (GetParam().expected == ZPF_RC_OK) {
        EXPECT_EQ(request().error_tag, nullptr);
        EXPECT_EQ(context.error_path(), "");
    } else {
        EXPECT_STREQ(request().error_tag, "name");
        EXPECT_THAT(context.error_path(), ::testing::StartsWith("/lamp"));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Entries, CheckLeafref,
    ::testing::Values(
        Leafref{"Equal", "lamp\n  name = \"L1\"\n  config\n    name = \"L1\"\n", ZPF_RC_OK},
        Leafref{"Different", "lamp\n  name = \"L1\"\n  config\n    name = \"L2\"\n", ZPF_RC_INVALID_VALUE},
        Leafref{"DifferentByCase", "lamp\n  name = \"L1\"\n  config\n    name = \"l1\"\n", ZPF_RC_INVALID_VALUE},
        Leafref{"KeyWithoutValue", "lamp\n  name\n  config\n    name = \"L2\"\n", ZPF_RC_INVALID_VALUE},
        Leafref{"NoContainer", "lamp\n  name = \"L1\"\n", ZPF_RC_OK},
        Leafref{"NoCopy", "lamp\n  name = \"L1\"\n  config\n    level = \"1\"\n", ZPF_RC_OK},
        Leafref{"CopyWithoutValue", "lamp\n  name = \"L1\"\n  config\n    name\n", ZPF_RC_OK},
        Leafref{"CopyDeleted", "lamp\n  name = \"L1\"\n  config\n    name = \"L2\" op=delete\n", ZPF_RC_OK},
        Leafref{"CopyRemoved", "lamp\n  name = \"L1\"\n  config\n    name = \"L2\" op=remove\n", ZPF_RC_OK},
        Leafref{"ContainerDeleted", "lamp\n  name = \"L1\"\n  config op=delete\n    name = \"L2\"\n", ZPF_RC_OK},
        Leafref{"ContainerRemoved", "lamp\n  name = \"L1\"\n  config op=remove\n    name = \"L2\"\n", ZPF_RC_OK},
        Leafref{"ContainerReplaced", "lamp\n  name = \"L1\"\n  config op=replace\n    name = \"L2\"\n",
                ZPF_RC_INVALID_VALUE}),
    CaseName{});

TEST_F(Questions, AFailedLeafrefReleasesTheOlderErrorTag)
{
    zpf_string_counts before{};
    zpf_strings_count(&before);
    begin(ZPF_REQUEST_EDIT_CONFIG);
    Tree walked = tree_of(lamp_schema(), "lamp\n  name = \"L1\"\n  config\n    name = \"L2\"\n");
    request().error_tag = zpf_strdup("older", "test");
    EXPECT_EQ(zpf_map_check_oc_leafref(ctx(), kLamp, "config", "name", walked.root().subtrees), ZPF_RC_INVALID_VALUE);
    context.next_walk();
    zpf_string_counts after{};
    zpf_strings_count(&after);
    EXPECT_EQ(before.live, after.live);
}

// ---- itree stack

class Itree : public Operations {
protected:
    static qerrno handler(zpf_map_ctx, qidl_zpf_datatree*, qidl_zpf_datatree*, uint32_t) { return ZPF_RC_OK; }
};

TEST_F(Itree, IsAStackOfEntriesThatAreNotCopied)
{
    std::array<Node, 3> entries{};
    EXPECT_EQ(zpf_map_util_itree_stack_size(ctx()), 0u);
    zpf_map_util_itree_stack_push(ctx(), entries.data(), 3, nullptr);
    zpf_map_util_itree_stack_push(ctx(), entries.data() + 1, 2, &Itree::handler);
    EXPECT_EQ(zpf_map_util_itree_stack_size(ctx()), 2u);
    zpf_itree_record top{};
    EXPECT_EQ(zpf_map_util_itree_stack_peak(ctx(), &top), ZPF_RC_OK);
    EXPECT_EQ(top.entries, entries.data() + 1);
    EXPECT_EQ(top.count, 2u);
    EXPECT_EQ(top.handler, &Itree::handler);
    zpf_map_util_itree_stack_pop(ctx());
    EXPECT_EQ(zpf_map_util_itree_stack_peak(ctx(), &top), ZPF_RC_OK);
    EXPECT_EQ(top.entries, entries.data());
    EXPECT_EQ(top.count, 3u);
    EXPECT_EQ(top.handler, nullptr);
    EXPECT_EQ(zpf_map_util_itree_stack_size(ctx()), 1u);
}

TEST_F(Itree, AnEmptyStackGivesAnEmptyRecord)
{
    std::array<Node, 1> entries{};
    zpf_itree_record top{entries.data(), 1, &Itree::handler};
    EXPECT_EQ(zpf_map_util_itree_stack_peak(ctx(), &top), ZPF_RC_BAD_TREE);
    EXPECT_EQ(top.entries, nullptr);
    EXPECT_EQ(top.count, 0u);
    EXPECT_EQ(top.handler, nullptr);
    zpf_map_util_itree_stack_pop(ctx());
    EXPECT_EQ(zpf_map_util_itree_stack_size(ctx()), 0u);
    EXPECT_EQ(request().sticky, ZPF_RC_OK);
}

TEST_F(Itree, ANewRequestHasAnEmptyStack)
{
    zpf_map_util_itree_stack_push(ctx(), nullptr, 0, nullptr);
    begin(ZPF_REQUEST_GET);
    EXPECT_EQ(zpf_map_util_itree_stack_size(ctx()), 0u);
}

} // namespace zpf::test
