// SPDX-License-Identifier: Apache-2.0
//
// Life of a context and of the state behind it.
#include "zpf_map/context.hpp"

#include <algorithm>

#include "context_priv.hpp"
#include "node_array.hpp"
#include "tree_query.hpp"
#include "zpf/operations.h"
#include "zpf_base/trace.h"

void zpf_request_priv::clear()
{
    hierarchy.clear();
    itree.clear();
    fresh.clear();
    origins.clear();
    lists.frames.clear();
    lists.held.clear();
}

namespace zpf {

zpf_context_priv& make_priv(zpf_map_ctx ctx)
{
    ctx->priv = new zpf_context_priv;
    return *ctx->priv;
}

zpf_request_priv& adopt_request(zpf_map_ctx ctx)
{
    zpf_context_priv& priv = priv_of(ctx);
    zpf_request_priv& state = priv.request_state;
    state.clear();
    priv.request = ctx->request;
    ctx->request->priv = &state;
    ctx->request->list_ctx_current.frames = &state.lists;
    return state;
}

uint32_t request_number(zpf_map_ctx ctx, const Node* node)
{
    zpf_request_priv* const state = request_priv_of(ctx);
    if (state == nullptr || node == nullptr) {
        return 0;
    }
    auto& origins = state->origins;
    const auto found = std::find(origins.begin(), origins.end(), node);
    const auto index = static_cast<uint32_t>(found - origins.begin());
    if (found == origins.end()) {
        origins.push_back(node);
    }
    return index + 1;
}

qerrno fail(zpf_map_ctx ctx, qerrno code)
{
    if (ctx->request && ctx->request->sticky == ZPF_RC_OK) {
        ctx->request->sticky = code;
    }
    return code;
}

namespace {

/// Applies `move` to everything that may point at a node of an output tree.
template <typename Move>
void for_each_pin(zpf_map_ctx ctx, Move move)
{
    zpf_map_request& request = *ctx->request;
    for (Node** pin :
         {&request.root_node, &request.parent_node, &request.current_node, &request.list_ctx_current.plist}) {
        move(*pin);
    }
    zpf_request_priv& state = *request_priv_of(ctx);
    for (auto* entries : {&state.fresh, &state.lists.held}) {
        for (CurrentEntry& current : *entries) {
            move(current.parent);
            move(current.entry);
        }
    }
    for (zpf_list_frames::Frame& frame : state.lists.frames) {
        move(frame.plist);
    }
    for (zpf_node_record& level : state.hierarchy) {
        move(level.node);
    }
}

} // namespace

void repoint(zpf_map_ctx ctx, const Node* from, uint32_t count, Node* to)
{
    if (count == 0 || ctx->request == nullptr) {
        return;
    }
    for_each_pin(ctx, [from, count, to](Node*& pin) {
        if (pin >= from && pin < from + count) {
            pin = to + (pin - from);
        }
    });
}

Node& append_output_child(zpf_map_ctx ctx, Node& parent, const SchemaNode& schema)
{
    const Appended appended = append_child(*priv_of(ctx).arena, parent);
    repoint(ctx, appended.old_base, appended.moved, parent.subtrees);
    // Shared with the schema and never written through; the record's members are not const for C's sake.
    appended.child->tag = const_cast<char*>(schema.tag.c_str());
    appended.child->ns = const_cast<char*>(schema.ns.c_str());
    return *appended.child;
}

void remove_output_child(zpf_map_ctx ctx, Node& parent, Node* child, Node* heir)
{
    const auto index = static_cast<uint32_t>(child - parent.subtrees);
    const Node* const end = parent.subtrees + parent.subtree_count;
    if (ctx->request != nullptr) {
        // Without an heir all that is below goes, too; else the heir has taken it over and pointers into it hold.
        for_each_pin(ctx, [child, end, heir](Node*& pin) {
            if (pin == nullptr) {
                return;
            }
            if (pin == child || (heir == nullptr && contains(*child, pin))) {
                pin = heir;
            } else if (pin > child && pin < end) {
                --pin;
            }
        });
        // An entry that is gone without heir is nobody's current entry any more.
        zpf_request_priv& state = *request_priv_of(ctx);
        std::erase_if(state.fresh, [](const CurrentEntry& current) { return current.entry == nullptr; });
    }
    remove_child(parent, index);
}

/// Hands numbered lines to the observer by way of a trace ring of the context's own.
struct Context::Lines {
    zpf_trace_ring* own = nullptr; ///< in memory; used while nobody gave a ring
    void* given = nullptr;
    Observer* observer = nullptr;

    ~Lines() { zpf_trace_ring_close(own); }

    static void forward(void* self, const char* line) { static_cast<Lines*>(self)->observer->line(line); }
};

Context::Context(const Schema* schema) : lines_(std::make_unique<Lines>())
{
    record_.priv = new zpf_context_priv;
    record_.priv->schema = schema;
    record_.request = &request_;
    request_.header = &header_;
}

Context::~Context()
{
    named_free(request_.error_tag);
    named_free(request_.error_message);
    observe(nullptr);
    zpf_map_context_release(&record_);
}

void Context::set_log(uint32_t levels, void* log)
{
    record_.log_filter.levels = levels;
    record_.err_log = log;
    record_.trc_log = log;
}

void Context::set_trace(void* trace_ring)
{
    Observer* const watching = lines_->observer;
    observe(nullptr);
    lines_->given = trace_ring;
    observe(watching);
}

void Context::observe(Observer* observer)
{
    const auto ring = [this] {
        return static_cast<zpf_trace_ring*>(lines_->given ? lines_->given : static_cast<void*>(lines_->own));
    };
    if (observer != nullptr && ring() == nullptr) {
        lines_->own = zpf_trace_ring_open(nullptr, 1, nullptr, 0);
    }
    const bool was_watched = lines_->observer != nullptr;
    lines_->observer = observer;
    record_.priv->observer = observer;
    // A ring that was given may be another context's, too, and that one's watcher is none of this one's business.
    if (ring() != nullptr && (observer != nullptr || was_watched)) {
        zpf_trace_ring_observe(ring(), observer ? &Lines::forward : nullptr, lines_.get());
    }
    record_.trace_buf = lines_->given || observer ? ring() : nullptr;
    record_.trace_enabled = record_.trace_buf != nullptr;
}

Observer* Context::observer() const
{
    return lines_->observer;
}

zpf_map_request& Context::begin(uint32_t operation, std::shared_ptr<Arena> arena)
{
    next_walk();
    request_ = zpf_map_request{};
    request_.header = &header_;
    header_ = zpf_request_header{operation, 0, 0};
    record_.priv->arena = std::move(arena);
    record_.priv->request_state.clear();
    record_.print_enabled = 0;
    record_.list_edit_op = 0;
    return request_;
}

void Context::next_walk()
{
    named_free(request_.error_tag);
    named_free(request_.error_message);
    Node* const request_copy = request_.reg_dup_datatree;
    request_ = zpf_map_request{};
    request_.header = &header_;
    request_.reg_dup_datatree = request_copy;
    record_.print_enabled = 0;
    record_.priv->request_state.clear();
    record_.priv->error_depth = 0;
    record_.priv->error_recorded = false;
}

} // namespace zpf

extern "C" void zpf_map_context_release(zpf_map_ctx ctx)
{
    delete ctx->priv;
    ctx->priv = nullptr;
}
