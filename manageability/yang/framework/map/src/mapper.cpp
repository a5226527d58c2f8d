// SPDX-License-Identifier: Apache-2.0
//
// Walks, each from a clean request state: what one leaves behind must not reach the next.
#include "mapper.hpp"

#include "context_priv.hpp"
#include "marks.hpp"
#include "refusal.hpp"
#include "tree_query.hpp"

namespace zpf {

std::optional<Refusal> Mapper::walk(const EntryWalker& walker, Node& node, Tree& out, Phase phase)
{
    tell(phase, walker.name, &node);
    qerrno code = walker.walk(context_.raw(), &node, &out.root());
    const qerrno sticky = context_.raw()->request->sticky;
    code = code == ZPF_RC_OK ? sticky : code;
    context_.raw()->print_enabled = 0;
    tell(Phase::done, walker.name, &out.root(), code);
    if (code == ZPF_RC_OK) {
        return std::nullopt;
    }
    return refusal_of(context_, code, node, schema_);
}

std::optional<Refusal> Mapper::to_low(uint32_t kind, Node& walked, Node& untouched, Tree& native)
{
    zpf_map_request& request = context_.begin(kind, native.arena());
    request.reg_dup_datatree = &untouched;
    for (Node& top : children(walked)) {
        const EntryWalker* walker = nullptr;
        for (const EntryWalker& candidate : walkers_.to_low) {
            walker = candidate.top->tag == tag_of(top) ? &candidate : walker;
        }
        if (walker == nullptr) {
            return refuse("unknown-element", "/" + std::string(tag_of(top)),
                          "No plug-in maps requests for \"" + std::string(tag_of(top)) + "\".",
                          std::string(tag_of(top)));
        }
        if (auto refusal = walk(*walker, top, native, Phase::low_walk)) {
            return refusal;
        }
    }
    origins_ = context_.raw()->priv->request_state.origins;
    tell(Phase::native_tree, {}, &native.root());
    return std::nullopt;
}

std::optional<Refusal> Mapper::to_high(Node& native, Tree& reply)
{
    for (const EntryWalker& walker : walkers_.to_high) {
        Node* const top = find_child(native, walker.top->tag);
        if (top == nullptr) {
            continue;
        }
        context_.next_walk(); // an OpenConfig node left in the hierarchy would be taken for the native entry
        if (auto refusal = walk(walker, *top, reply, Phase::high_walk)) {
            return refusal;
        }
    }
    return std::nullopt;
}

std::optional<Refusal> Mapper::view(uint32_t kind, Node& native, Tree& reply)
{
    Tree nothing_asked(reply.arena());
    zpf_map_request& request = context_.begin(kind, reply.arena());
    request.reg_dup_datatree = &nothing_asked.root();
    auto refusal = to_high(native, reply);
    context_.raw()->request->reg_dup_datatree = nullptr;
    return refusal;
}

Tree Mapper::view_of_keys(const std::vector<const Node*>& above, const Node& entry, const SchemaNode& list,
                          std::shared_ptr<Arena> arena)
{
    Tree keys(std::move(arena));
    Node* parent = &keys.root();
    for (const Node* step : above) {
        parent = &keys.share_alone(*parent, *step);
        parent->edit_op = ZPF_OP_MERGE;
    }
    Node& probe = keys.add(*parent, list);
    for (const std::string& key : list.keys) {
        const Node* const leaf = key_leaf(entry, key);
        if (const SchemaNode* own = list.find(key); leaf != nullptr && own != nullptr) {
            keys.add(probe, *own, value_of(*leaf));
        }
    }
    tell(Phase::probe, {}, &probe);
    Tree reply(keys.arena());
    if (view(ZPF_REQUEST_GET_CONFIG, keys.root(), reply)) {
        return Tree(keys.arena());
    }
    return reply;
}

const Node* Mapper::origin(const Node& made) const
{
    const uint32_t number = request_number_of(made);
    return number > 0 && number <= origins_.size() ? origins_[number - 1] : nullptr;
}

} // namespace zpf
