// SPDX-License-Identifier: Apache-2.0
//
// Application of a native edit to native data. The policy of what a removal removes is in here and nowhere else.
#pragma once

#include <set>
#include <string>

#include "mapper.hpp"

namespace zpf {

class Apply {
public:
    Apply(Mapper& mapper, Tree& data) : mapper_(mapper), schema_(mapper.schema()), data_(data)
    {
        constexpr std::size_t kUsualDepth = 8;
        path_.reserve(kUsualDepth);
    }

    /// Applies the edit in order, then prunes. On a refusal the data are half changed: throw them away.
    std::optional<Refusal> run(const Node& edit);

private:
    std::optional<Refusal> apply_below(const Node& edit, Node& target, const SchemaNode* above);
    std::optional<Refusal> apply_container(const Node& edit, Node& parent, const SchemaNode& own);
    std::optional<Refusal> apply_entry(const Node& edit, Node& parent, const SchemaNode& list);
    std::optional<Refusal> apply_leaf(const Node& edit, Node& parent, const SchemaNode* own);
    void remove_from_all(const Node& edit, Node& parent, const SchemaNode& list);
    bool is_mapped_entry(const Node& entry, const SchemaNode& list);
    void prune(Node& parent, const SchemaNode* above, const std::string& path);
    std::string place(const Node& entry, const SchemaNode& list) const;

    Mapper& mapper_;
    const Schema& schema_;
    Tree& data_;
    std::vector<const Node*> path_; // of the edit, above what is being applied
    bool thins_ = false;            // whether the two sets below will be asked
    std::set<std::string> thinned_; // entries that a removal has taken leaves from
    std::set<std::string> written_; // entries that the same edit also writes
};

} // namespace zpf
