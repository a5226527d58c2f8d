// SPDX-License-Identifier: Apache-2.0
//
// The node hierarchy of a walk (`node_data`), and what is read off it: the entry being walked and the error path.
#include <algorithm>
#include <cassert>

#include "context_priv.hpp"
#include "guarded.hpp"
#include "path.hpp"
#include "tree_query.hpp"
#include "zpf/operations.h"

using namespace zpf;

namespace {

constexpr uint32_t kListLevel = 2;
constexpr std::size_t kDeepest = 255; // node_data_count has eight bits

/// The records as the framework keeps them; those of a host that filled the request itself are taken over first.
std::vector<zpf_node_record>& hierarchy_of(zpf_map_ctx ctx)
{
    zpf_map_request& request = *ctx->request;
    auto& hierarchy = request_priv_of(ctx)->hierarchy;
    if (hierarchy.size() != request.node_data_count) {
        hierarchy.assign(request.node_data, request.node_data + request.node_data_count);
    }
    return hierarchy;
}

void publish(zpf_map_request& request, std::vector<zpf_node_record>& hierarchy)
{
    request.node_data = hierarchy.empty() ? nullptr : hierarchy.data();
    request.node_data_count = static_cast<uint8_t>(hierarchy.size());
}

std::string_view last_step(std::string_view path)
{
    std::string_view step;
    for (PathSteps steps{path}; !steps.done();) {
        step = steps.next();
    }
    return step;
}

} // namespace

void zpf_map_add_to_node_hierarchy(zpf_map_ctx ctx, const qidl_zpf_datatree* node, uint32_t level)
{
    record(ctx, {.name = __func__, .node = node, .number = level});
    guarded(ctx, [&] {
        if (ctx->request == nullptr) {
            return ZPF_RC_OK;
        }
        auto& hierarchy = hierarchy_of(ctx);
        if (hierarchy.size() == kDeepest) {
            return fail(ctx, ZPF_RC_BAD_TREE);
        }
        hierarchy.push_back({const_cast<Node*>(node), level});
        publish(*ctx->request, hierarchy);
        return ZPF_RC_OK;
    });
}

void zpf_map_remove_from_node_hierarchy(zpf_map_ctx ctx, const qidl_zpf_datatree* node)
{
    record(ctx, {.name = __func__, .node = node});
    guarded(ctx, [&] {
        if (ctx->request == nullptr) {
            return ZPF_RC_OK;
        }
        auto& hierarchy = hierarchy_of(ctx);
        const auto found = std::find_if(hierarchy.rbegin(), hierarchy.rend(),
                                        [node](const zpf_node_record& level) { return level.node == node; });
        // A walker takes out what it put in last; anything else is a broken walker, not a bad request.
        assert(found == hierarchy.rbegin() && "hierarchy records are removed in reverse order");
        if (found != hierarchy.rend()) {
            hierarchy.erase(std::next(found).base());
        }
        publish(*ctx->request, hierarchy);
        return ZPF_RC_OK;
    });
}

qerrno zpf_map_get_node_info(zpf_map_ctx ctx, const char* list_path, const char* key_leaf, zpf_map_node_info* out)
{
    const qerrno result = guarded(ctx, [&] {
        *out = {nullptr, nullptr};
        const zpf_map_request* request = ctx->request;
        if (request == nullptr || request->node_data_count == 0) {
            return ZPF_RC_BAD_TREE;
        }
        const zpf_node_record& last = request->node_data[request->node_data_count - 1];
        if (last.level != kListLevel || !has_tag(*last.node, last_step(list_path))) {
            return ZPF_RC_BAD_TREE;
        }
        out->entry = last.node;
        for (const Node& child : children(*last.node)) {
            if (has_tag(child, key_leaf) && (child.state_flags & ZPF_STATE_PRESENT) != 0 && value_of(child)) {
                out->key_value = child._data;
                break;
            }
        }
        return ZPF_RC_OK;
    });
    record(ctx, {.name = __func__,
                 .node = out->entry,
                 .path = list_path,
                 .value = out->key_value,
                 .key = key_leaf,
                 .result = result});
    return result;
}

void zpf_oc_error_path(zpf_map_ctx ctx)
{
    record(ctx, {.name = __func__});
    guarded(ctx, [&] {
        // Reads meet many unsupported leaves and drop their errors, so only the nodes are noted here;
        // the text is made when a host asks for it.
        zpf_context_priv& priv = priv_of(ctx);
        priv.error_recorded = true;
        priv.error_depth = 0;
        if (ctx->request != nullptr) {
            const std::size_t depth = std::min<std::size_t>(ctx->request->node_data_count, priv.error_hierarchy.size());
            for (; priv.error_depth < depth; ++priv.error_depth) {
                priv.error_hierarchy[priv.error_depth] = ctx->request->node_data[priv.error_depth].node;
            }
        }
        return ZPF_RC_OK;
    });
}

namespace zpf {

std::string Context::error_path() const
{
    const zpf_context_priv& priv = *record_.priv;
    std::string path;
    const SchemaNode* schema = nullptr;
    for (std::size_t i = 0; priv.error_recorded && i < priv.error_depth; ++i) {
        const Node& node = *priv.error_hierarchy[i];
        const std::string_view tag = tag_of(node);
        if (priv.schema != nullptr) {
            schema = i == 0 ? priv.schema->find_top(tag) : schema ? schema->find(tag) : nullptr;
        }
        path.append("/").append(tag);
        path.append(predicates(node, schema));
    }
    return path;
}

} // namespace zpf
