// SPDX-License-Identifier: Apache-2.0
//
// A host's context: what begins a request, and what a watcher sees.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lamp_models.hpp"
#include "text_tree.hpp"
#include "zpf/diagnostics.h"
#include "zpf/operations.h"
#include "zpf_base/strings.h"
#include "zpf_base/trace.h"
#include "zpf_map/context.hpp"

namespace zpf::test {

namespace {

class Recorder : public Observer {
public:
    std::vector<std::string> lines;
    std::vector<std::string> operations;

    void line(std::string_view text) override { lines.emplace_back(text); }
    void operation(const Operation& op) override { operations.emplace_back(op.name); }
};

void write_line(zpf_map_ctx ctx, const char* text)
{
    if (ctx->trace_enabled != 0) {
        trace_ring_write(ctx->trace_buf, ZPF_TRACE_FLAGS, text);
    }
}

uint64_t live_strings()
{
    zpf_string_counts counts{};
    zpf_strings_count(&counts);
    return counts.live;
}

} // namespace

TEST(Context, StartsWithARequestAndNothingElse)
{
    Context context(&lamp_schema());
    ASSERT_NE(context.raw()->request, nullptr);
    ASSERT_NE(context.raw()->request->header, nullptr);
    EXPECT_EQ(context.raw()->trace_enabled, 0u);
    EXPECT_EQ(context.raw()->log_filter.levels, 0u);
    EXPECT_EQ(context.error_path(), "");
    EXPECT_EQ(context.observer(), nullptr);
}

TEST(Context, BeginningARequestClearsTheOneBefore)
{
    const uint64_t live_before = live_strings();
    Context context(&lamp_schema());
    zpf_map_request& first = context.begin(ZPF_REQUEST_EDIT_CONFIG, std::make_shared<Arena>());
    EXPECT_EQ(first.header->operation, ZPF_REQUEST_EDIT_CONFIG);
    first.error_tag = zpf_strdup("lamp", "test");
    first.error_message = zpf_strdup("dark", "test");
    first.sticky = ZPF_RC_BAD_TREE;
    first.walk_mode = 1;
    first.header->selection_flags = 7;
    first.header->content_kind = 2;
    context.raw()->print_enabled = 1;
    context.raw()->list_edit_op = 4;
    zpf_map_util_itree_stack_push(context.raw(), nullptr, 0, nullptr);
    zpf_map_request& second = context.begin(ZPF_REQUEST_GET, std::make_shared<Arena>());
    EXPECT_EQ(second.header->operation, ZPF_REQUEST_GET);
    EXPECT_EQ(second.header->selection_flags, 0u);
    EXPECT_EQ(second.header->content_kind, 0u);
    EXPECT_EQ(second.error_tag, nullptr);
    EXPECT_EQ(second.error_message, nullptr);
    EXPECT_EQ(second.sticky, ZPF_RC_OK);
    EXPECT_EQ(second.walk_mode, 0u);
    EXPECT_EQ(context.raw()->print_enabled, 0u);
    EXPECT_EQ(context.raw()->list_edit_op, 0);
    EXPECT_EQ(zpf_map_util_itree_stack_size(context.raw()), 0u);
    EXPECT_EQ(live_strings(), live_before);
}

TEST(Context, ANewWalkKeepsOnlyTheRequestCopy)
{
    Context context(&lamp_schema());
    Tree copy = tree_of(lamp_schema(), "lamps\n");
    zpf_map_request& request = context.begin(ZPF_REQUEST_GET, copy.arena());
    request.reg_dup_datatree = &copy.root();
    request.current_node = &copy.root();
    request.error_tag = zpf_strdup("lamp", "test");
    zpf_map_add_to_node_hierarchy(context.raw(), &copy.root(), 1);
    zpf_oc_error_path(context.raw());
    context.next_walk();
    EXPECT_EQ(request.reg_dup_datatree, &copy.root());
    EXPECT_EQ(request.header->operation, ZPF_REQUEST_GET);
    EXPECT_EQ(request.current_node, nullptr);
    EXPECT_EQ(request.error_tag, nullptr);
    EXPECT_EQ(request.node_data_count, 0);
}

TEST(Context, ReleasesTheLastErrorWithItself)
{
    const uint64_t live_before = live_strings();
    {
        Context context(&lamp_schema());
        context.begin(ZPF_REQUEST_GET, std::make_shared<Arena>()).error_tag = zpf_strdup("lamp", "test");
    }
    EXPECT_EQ(live_strings(), live_before);
}

TEST(Context, AWatcherSeesOperationsAndLines)
{
    Context context(&lamp_schema());
    Recorder recorder;
    context.observe(&recorder);
    EXPECT_EQ(context.observer(), &recorder);
    zpf_oc_error_path(context.raw());
    zpf_map_util_itree_stack_size(context.raw());
    write_line(context.raw(), "#1: TRC: first");
    context.observe(nullptr);
    zpf_oc_error_path(context.raw());
    write_line(context.raw(), "#2: TRC: second");
    EXPECT_THAT(recorder.operations, ::testing::ElementsAre("zpf_oc_error_path", "zpf_map_util_itree_stack_size"));
    EXPECT_THAT(recorder.lines, ::testing::ElementsAre("#1: TRC: first"));
    EXPECT_EQ(context.raw()->trace_enabled, 0u);
}

TEST(Context, AWatcherSeesTheLinesThatGoToAGivenRing)
{
    zpf_trace_ring* const ring = zpf_trace_ring_open(nullptr, 8, nullptr, 0);
    {
        Context context(&lamp_schema());
        Recorder recorder;
        context.observe(&recorder);
        context.set_trace(ring);
        EXPECT_EQ(context.raw()->trace_buf, ring);
        write_line(context.raw(), "#1: TRC: one");
        context.set_trace(nullptr);
        write_line(context.raw(), "#2: TRC: two");
        context.observe(nullptr);
        context.set_trace(ring);
        EXPECT_NE(context.raw()->trace_enabled, 0u);
        write_line(context.raw(), "#3: TRC: three");
        EXPECT_THAT(recorder.lines, ::testing::ElementsAre("#1: TRC: one", "#2: TRC: two"));
    }
    zpf_trace_ring_close(ring);
}

TEST(Context, WithoutAWatcherItLeavesTheWatcherOfASharedRingAlone)
{
    zpf_trace_ring* const ring = zpf_trace_ring_open(nullptr, 8, nullptr, 0);
    {
        Context watched(&lamp_schema());
        Recorder recorder;
        watched.set_trace(ring);
        watched.observe(&recorder);
        {
            Context other(&lamp_schema());
            other.set_trace(ring);
            write_line(other.raw(), "#1: TRC: both");
        }
        write_line(watched.raw(), "#2: TRC: still");
        EXPECT_THAT(recorder.lines, ::testing::ElementsAre("#1: TRC: both", "#2: TRC: still"));
        watched.observe(nullptr);
        write_line(watched.raw(), "#3: TRC: unseen");
        EXPECT_EQ(recorder.lines.size(), 2u);
    }
    zpf_trace_ring_close(ring);
}

TEST(Context, OperationsSayWhatTheyWereGivenAndWhatCameOfIt)
{
    struct LastAdd : Observer {
        std::string text;
        void operation(const Operation& op) override
        {
            text = std::string(op.name) + " " + (op.path ? op.path : "-") + " " + (op.value ? op.value : "-") + " " +
                   std::to_string(op.list_flag) + "," + std::to_string(op.leaf_flag) + " -> " +
                   std::to_string(op.result);
        }
    } last;
    Context context(&lamp_schema());
    Tree out;
    context.begin(ZPF_REQUEST_GET, out.arena());
    context.observe(&last);
    zpf_map_datatree_add_path_flagged(context.raw(), &out.root(), "/rack/limit", "", "5", nullptr, nullptr, 0, 1);
    EXPECT_EQ(last.text, "zpf_map_datatree_add_path_flagged /rack/limit 5 0,1 -> 0");
    zpf_map_update_current_list_node(context.raw(), "/cells/box");
    EXPECT_EQ(last.text, "zpf_map_update_current_list_node /cells/box - 0,0 -> " + std::to_string(ZPF_RC_BAD_TREE));
    context.observe(nullptr);
}

} // namespace zpf::test
