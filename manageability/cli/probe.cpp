// SPDX-License-Identifier: Apache-2.0
//
// Probing of callbacks. A callback that maps reports through a translation's name or calls framework operations;
// one that refuses records the error path and returns the code; one that accepts does neither.
#include "probe.hpp"

#include <vector>

#include "trace_line.hpp"
#include "zpf/operations.h"
#include "zpf_map/context.hpp"
#include "zpf_map/tree.hpp"

namespace zpf::cli {

namespace {

class Watch : public Observer {
public:
    void line(std::string_view text) override
    {
        const auto line = take_apart(text);
        if (line && line->message == "Start" && role_of(line->function) == Role::translation && translation_.empty()) {
            translation_ = line->function;
        }
    }
    void operation(const Operation& op) override
    {
        works_ = works_ || std::string_view{op.name} != "zpf_oc_error_path";
    }

    const std::string& translation() const { return translation_; }
    bool maps() const { return works_ || !translation_.empty(); }

private:
    std::string translation_;
    bool works_ = false;
};

/// Builds a tree with the node and what is above it, and enters all of that but a leaf into the hierarchy, as the
/// walkers do before they call.
Node& build_branch(Context& context, Tree& tree, const SchemaNode& node)
{
    std::vector<const SchemaNode*> steps;
    for (const SchemaNode* at = &node; at != nullptr && !at->tag.empty(); at = at->parent) {
        steps.insert(steps.begin(), at);
    }
    Node* data = &tree.root();
    for (const SchemaNode* step : steps) {
        const bool is_leaf = step->kind == NodeKind::leaf || step->kind == NodeKind::leaf_list;
        data = &tree.add(*data, *step, is_leaf ? std::optional<std::string_view>{"0"} : std::nullopt);
        if (!is_leaf) {
            zpf_map_add_to_node_hierarchy(context.raw(), data, step->kind == NodeKind::list ? 2 : 1);
        }
    }
    return *data;
}

qerrno call(const ExportedSymbol& callback, const SchemaNode& node, zpf_map_ctx ctx, Node& data, Node& out)
{
    if (node.kind == NodeKind::container) {
        return reinterpret_cast<ContainerCallback>(callback.address)(ctx, &data, 0, &out);
    }
    return reinterpret_cast<Walker>(callback.address)(ctx, &data, &out);
}

} // namespace

Finding probe_callback(const Schema& schema, const SchemaNode& node, const ExportedSymbol& callback)
{
    Finding finding;
    for (const uint32_t kind : {ZPF_REQUEST_GET, ZPF_REQUEST_EDIT_CONFIG}) {
        Context context(&schema);
        Tree tree;
        Tree out(tree.arena());
        context.begin(kind, tree.arena());
        Node& data = build_branch(context, tree, node);
        Watch watch;
        context.observe(&watch);
        const qerrno result = call(callback, node, context.raw(), data, out.root());
        context.observe(nullptr);
        if (watch.maps()) {
            return {Treatment::mapped, watch.translation()};
        }
        if (result == ZPF_RC_UNSUPPORTED_NODE) {
            finding.treatment = Treatment::refused;
        } else if (result != ZPF_RC_OK) {
            finding.treatment = Treatment::failed;
        }
    }
    return finding;
}

const char* to_string(Treatment treatment)
{
    switch (treatment) {
    case Treatment::mapped:
        return "mapped";
    case Treatment::accepted:
        return "accepted";
    case Treatment::refused:
        return "refused";
    case Treatment::failed:
        return "failed";
    }
    return "";
}

} // namespace zpf::cli
