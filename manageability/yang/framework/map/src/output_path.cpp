// SPDX-License-Identifier: Apache-2.0
//
// Resolution of schema paths.
#include "output_path.hpp"

#include <algorithm>

#include "path.hpp"

namespace zpf {

namespace {

/// A step of a model that the host did not give. Named again, a leaf may turn out to have children, or to be a list.
const SchemaNode* note_unknown(zpf_context_priv& priv, const SchemaNode* above, std::string_view tag, const char* ns,
                               NodeKind kind)
{
    SchemaNode node;
    node.tag = tag;
    node.ns = ns ? ns : "";
    node.kind = kind;
    // Nodes below priv.unknown are made here only, so they may be changed here.
    SchemaNode& noted = priv.unknown.add(const_cast<SchemaNode*>(above), std::move(node));
    if (kind == NodeKind::list || (kind == NodeKind::container && noted.kind == NodeKind::leaf)) {
        noted.kind = kind;
    }
    return &noted;
}

/// Plug-ins name the same few paths again and again; a host that names ever new ones finds no place here.
constexpr std::size_t kMostKnownPaths = 32;

/// The path's steps in the models that the host gave, or null. Good until the next call.
const KnownPath* find_known(zpf_context_priv& priv, std::string_view path)
{
    for (const KnownPath& known : priv.known_paths) {
        if (known.path == path) {
            return &known;
        }
    }
    if (priv.schema == nullptr || priv.known_paths.size() == kMostKnownPaths) {
        return nullptr;
    }
    KnownPath fresh{std::string{path}, {}};
    const SchemaNode* node = nullptr;
    for (PathSteps steps{path}; !steps.done();) {
        const std::string_view tag = steps.next();
        node = fresh.steps.empty() ? priv.schema->find_top(tag) : node->find(tag);
        if (node == nullptr || fresh.steps.size() == OutputPath::kMostSteps) {
            return nullptr;
        }
        fresh.steps.push_back(node);
    }
    return fresh.steps.empty() ? nullptr : &priv.known_paths.emplace_back(std::move(fresh));
}

/// Steps up to the last one of the tree's own tag are taken as done.
void leave_out_tree(const Node& tree, OutputPath& out)
{
    for (std::size_t i = 0; tree.tag != nullptr && i < out.count; ++i) {
        out.first = has_tag(tree, out.steps[i]->tag) ? i + 1 : out.first;
    }
}

/// The same for a path that is asked for seldom, or leads through models that the host did not give.
bool resolve_steps(zpf_context_priv& priv, const char* path, const char* ns, LastStep last, OutputPath& out)
{
    const SchemaNode* above = nullptr;
    for (PathSteps steps{path}; !steps.done();) {
        if (out.count == OutputPath::kMostSteps) {
            return false;
        }
        const std::string_view tag = steps.next();
        const SchemaNode* node = nullptr;
        if (out.count == 0) {
            node = priv.schema ? priv.schema->find_top(tag) : nullptr;
            out.known = node != nullptr;
        } else if (out.known) {
            node = above->find(tag);
        }
        if (node == nullptr && out.known) {
            return false;
        }
        if (node == nullptr) {
            const NodeKind kind = !steps.done()            ? NodeKind::container
                                  : last == LastStep::list ? NodeKind::list
                                                           : NodeKind::leaf;
            node = note_unknown(priv, above, tag, ns, kind);
        }
        out.steps[out.count++] = node;
        above = node;
    }
    return true;
}

} // namespace

bool resolve(zpf_map_ctx ctx, const Node& tree, const char* path, const char* ns, LastStep last, OutputPath& out)
{
    zpf_context_priv& priv = priv_of(ctx);
    if (const KnownPath* known = find_known(priv, path)) {
        std::copy(known->steps.begin(), known->steps.end(), out.steps.begin());
        out.count = known->steps.size();
        out.known = true;
    } else if (!resolve_steps(priv, path, ns, last, out)) {
        return false;
    }
    leave_out_tree(tree, out);
    return out.count > out.first;
}

const SchemaNode* find_list(zpf_map_ctx ctx, const char* list_path)
{
    if (list_path == nullptr) {
        return nullptr;
    }
    zpf_context_priv& priv = priv_of(ctx);
    const KnownPath* const known = find_known(priv, list_path);
    const SchemaNode* node = known ? known->steps.back() : priv.schema ? priv.schema->find_path(list_path) : nullptr;
    if (node == nullptr) {
        node = priv.unknown.find_path(list_path);
    }
    return node && node->kind == NodeKind::list ? node : nullptr;
}

} // namespace zpf
