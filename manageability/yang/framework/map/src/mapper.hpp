// SPDX-License-Identifier: Apache-2.0
//
// One walk at a time: a request to native paths, native data to a reply, a native entry's keys back to whose it is.
#pragma once

#include <optional>

#include "zpf_map/driver.hpp"

namespace zpf {

class Mapper {
public:
    Mapper(const Schema& schema, const EntryWalkers& walkers, Context& context)
        : schema_(schema), walkers_(walkers), context_(context)
    {}

    /// Walks each top node of `walked` (which the walk may change) into `native`. `untouched` is what callbacks read
    /// the requested keys from.
    std::optional<Refusal> to_low(uint32_t kind, Node& walked, Node& untouched, Tree& native);

    /// Walks native data, of one selection, into the reply; after to_low, which has named the keys asked for.
    std::optional<Refusal> to_high(Node& native, Tree& reply);

    /// What the client sees of native data, whatever was asked for before.
    std::optional<Refusal> view(uint32_t kind, Node& native, Tree& reply);

    /// The client's view of one native entry that has nothing but its keys, given the nodes above it, whose texts must
    /// outlive the view. Its memory comes from the arena.
    Tree view_of_keys(const std::vector<const Node*>& above, const Node& entry, const SchemaNode& list,
                      std::shared_ptr<Arena> arena);

    /// The request's node behind a node of the last native tree: the list entry that a list entry was made under, the
    /// node that a leaf took its operation from. Null for none.
    const Node* origin(const Node& made) const;

    void tell(Phase phase, std::string_view detail, const Node* node = nullptr, qerrno result = ZPF_RC_OK) const
    {
        if (context_.observer() != nullptr) {
            context_.observer()->phase(phase, detail, node, result);
        }
    }

    const Schema& schema() const { return schema_; }

private:
    std::optional<Refusal> walk(const EntryWalker& walker, Node& node, Tree& out, Phase phase);

    const Schema& schema_;
    const EntryWalkers& walkers_;
    Context& context_;
    std::vector<const Node*> origins_; // of the last to_low
};

} // namespace zpf
