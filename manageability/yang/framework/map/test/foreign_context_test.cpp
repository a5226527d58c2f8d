// SPDX-License-Identifier: Apache-2.0
//
// Contexts and requests that a host made itself, zero-initialised: the framework's own state is made on first use.
#include <gtest/gtest.h>

#include "zpf/operations.h"
#include "zpf_base/strings.h"
#include "zpf_map/context.hpp"
#include "zpf_map/tree.hpp"

namespace zpf::test {

class ForeignContext : public ::testing::Test {
protected:
    ~ForeignContext() override { zpf_map_context_release(&context); }

    qerrno add(const char* path, const char* value, uint32_t list_flag = 0)
    {
        return zpf_map_datatree_add_path_flagged(&context, &root, path, "urn:foreign", value, nullptr, nullptr,
                                                 list_flag, 0);
    }

    zpf_map_context context{};
    zpf_map_request request{};
    zpf_request_header header{ZPF_REQUEST_GET, 0, 0};
    Node root{};
};

TEST_F(ForeignContext, ServesEveryOperationWithoutARequest)
{
    Node node{};
    node.tag = const_cast<char*>("box");
    EXPECT_EQ(add("/box/lid", "shut"), ZPF_RC_OK);
    EXPECT_EQ(add("/box/lid", "open"), ZPF_RC_OK);
    EXPECT_EQ(to_text(root), "box\n"
                             "  lid = \"shut\"\n");
    EXPECT_EQ(add("/shelf/slot", nullptr, 1), ZPF_RC_OK);
    zpf_map_add_to_node_hierarchy(&context, &node, 1);
    zpf_map_remove_from_node_hierarchy(&context, &node);
    zpf_add_to_output_list_ctx(&context, &node, &root);
    zpf_remove_from_output_list_ctx(&context, &node, &root);
    zpf_map_util_itree_stack_push(&context, &node, 1, nullptr);
    EXPECT_EQ(zpf_map_util_itree_stack_size(&context), 0u);
    zpf_map_util_itree_stack_pop(&context);
    zpf_itree_record record{};
    EXPECT_EQ(zpf_map_util_itree_stack_peak(&context, &record), ZPF_RC_BAD_TREE);
    zpf_map_node_info info{};
    EXPECT_EQ(zpf_map_get_node_info(&context, "/box", "lid", &info), ZPF_RC_BAD_TREE);
    EXPECT_EQ(zpf_map_update_current_list_node(&context, "/shelf/slot"), ZPF_RC_OK);
    EXPECT_EQ(zpf_map_update_current_list_node(&context, "/shelf/hook"), ZPF_RC_BAD_TREE);
    zpf_oc_error_path(&context);
    zpf_map_print_datatree_internal(&context, &root, "root");
    EXPECT_EQ(zpf_map_datatree_add_path_flagged(&context, nullptr, "/box", "", nullptr, nullptr, nullptr, 0, 0),
              ZPF_RC_BAD_TREE);
}

TEST_F(ForeignContext, AFailedLeafrefNeedsNoRequest)
{
    Tree walked;
    Node& entry = walked.add(walked.root(), "box", "urn:foreign");
    walked.add(entry, "name", "urn:foreign", "a");
    walked.add(walked.add(entry, "config", "urn:foreign"), "name", "urn:foreign", "b");
    EXPECT_EQ(zpf_map_check_oc_leafref(&context, "/box", "config", "name", &entry), ZPF_RC_INVALID_VALUE);
}

TEST_F(ForeignContext, ARequestWithoutHeaderIsAnEditOfNoValidatedKind)
{
    context.request = &request;
    Node removal{};
    removal.edit_op = ZPF_OP_DELETE;
    EXPECT_EQ(zpf_map_datatree_add_path_flagged(&context, &root, "/shelf/slot", "", nullptr, &removal, nullptr, 1, 0),
              ZPF_RC_OK);
    EXPECT_EQ(to_text(root, 0, true), "shelf\n"
                                      "  slot op=delete [OWN]\n");
}

TEST_F(ForeignContext, GetsItsStateOnFirstUse)
{
    context.request = &request;
    request.header = &header;
    ASSERT_EQ(add("/shelf/slot", nullptr, 1), ZPF_RC_OK);
    EXPECT_NE(context.priv, nullptr);
    EXPECT_NE(request.priv, nullptr);
    zpf_add_to_output_list_ctx(&context, nullptr, &root);
    ASSERT_EQ(add("/shelf/slot/number", "1"), ZPF_RC_OK);
    EXPECT_STREQ(find_child(*request.list_ctx_current.plist, "number")->_data, "1");
    EXPECT_NE(request.list_ctx_current.frames, nullptr);
    zpf_remove_from_output_list_ctx(&context, nullptr, &root);
    EXPECT_EQ(to_text(root), "shelf\n"
                             "  slot\n"
                             "    number = \"1\"\n");
}

TEST_F(ForeignContext, ANewRequestRecordStartsAfresh)
{
    context.request = &request;
    request.header = &header;
    ASSERT_EQ(add("/shelf/slot", nullptr, 1), ZPF_RC_OK);
    ASSERT_EQ(add("/shelf/slot/number", "1"), ZPF_RC_OK);
    zpf_map_util_itree_stack_push(&context, &root, 1, nullptr);

    zpf_map_request second{};
    second.header = &header;
    context.request = &second;
    EXPECT_EQ(zpf_map_util_itree_stack_size(&context), 0u);
    Node other{};
    ASSERT_EQ(
        zpf_map_datatree_add_path_flagged(&context, &other, "/shelf/slot/number", "", "2", nullptr, nullptr, 0, 0),
        ZPF_RC_OK);
    EXPECT_EQ(to_text(other), "shelf\n"
                              "  slot\n"
                              "    number = \"2\"\n");
    EXPECT_EQ(second.root_node, &other);

    request = zpf_map_request{}; // the same record, cleared for the next request
    request.header = &header;
    context.request = &request;
    EXPECT_EQ(zpf_map_util_itree_stack_size(&context), 0u);
}

TEST_F(ForeignContext, TakesOverAHierarchyThatTheHostFilled)
{
    Node outer{};
    outer.tag = const_cast<char*>("shelf");
    Node entry{};
    entry.tag = const_cast<char*>("slot");
    zpf_node_record given[]{{&outer, 1}};
    context.request = &request;
    request.header = &header;
    request.node_data = given;
    request.node_data_count = 1;
    zpf_map_add_to_node_hierarchy(&context, &entry, 2);
    ASSERT_EQ(request.node_data_count, 2);
    EXPECT_EQ(request.node_data[0].node, &outer);
    zpf_map_node_info info{};
    EXPECT_EQ(zpf_map_get_node_info(&context, "/shelf/slot", "number", &info), ZPF_RC_OK);
    EXPECT_EQ(info.entry, &entry);
}

TEST_F(ForeignContext, CopiesAnArrayOfTheHostsBeforeItGrows)
{
    Node kept[2]{};
    kept[0].tag = const_cast<char*>("box");
    kept[0].state_flags = ZPF_STATE_PRESENT;
    root.subtrees = kept;
    root.subtree_count = 1;
    root.state_flags = ZPF_STATE_PRESENT | ZPF_STATE_SUBTREES;
    ASSERT_EQ(add("/crate/lid", "shut"), ZPF_RC_OK);
    EXPECT_NE(root.subtrees, kept);
    EXPECT_EQ(kept[1].tag, nullptr);
    EXPECT_EQ(to_text(root), "box\n"
                             "crate\n"
                             "  lid = \"shut\"\n");
}

TEST_F(ForeignContext, CanBeReleasedTwiceAndUsedAgain)
{
    context.request = &request;
    request.header = &header;
    ASSERT_EQ(add("/box/lid", "shut"), ZPF_RC_OK);
    root = Node{}; // its children went with the context
    zpf_map_context_release(&context);
    EXPECT_EQ(context.priv, nullptr);
    zpf_map_context_release(&context);
    ASSERT_EQ(add("/box/lid", "open"), ZPF_RC_OK);
    EXPECT_EQ(to_text(root), "box\n"
                             "  lid = \"open\"\n");
}

} // namespace zpf::test
