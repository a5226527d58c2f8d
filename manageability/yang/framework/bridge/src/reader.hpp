// SPDX-License-Identifier: Apache-2.0
//
// Elements of a document to nodes of a tree, each held against its model; what may be missing or odd depends on what
// the document is.
#pragma once

#include <optional>
#include <string>
#include <unordered_map>

#include "document.hpp"
#include "zpf_map/tree.hpp"

namespace zpf::bridge {

enum class Purpose {
    filter, ///< subtree filter: any text may be matched with, any element asked for
    edit,   ///< values and elements must be the model's; empty leaves and missing keys are left to the mapping
    native  ///< all of that, and every key, and nothing twice; keys are put first
};

class Reader {
public:
    /// All must outlive the reader.
    Reader(const Models& models, const Document& document, Purpose purpose, Tree& tree)
        : ctx_(*models.libyang().models), schema_(models.schema()), document_(document), purpose_(purpose), tree_(tree)
    {}

    /// Reads a top element and what is in it. Throws BadInput.
    void read_top(const lyd_node& node);

private:
    /// Elements that stand in one place, by what tells them apart.
    using Siblings = std::unordered_map<std::string, const lyd_node*>;

    void read(const lyd_node& node, Node& parent, const SchemaNode& own, const lysc_node& compiled);
    void read_unknown(const lyd_node& node, Node& parent);
    void read_children(const lyd_node& node, Node& made, const SchemaNode& own, const lysc_node& compiled, bool keys);
    void check_shape(const lyd_node& node, const SchemaNode& own) const;
    void check_alone(const lyd_node& node, const SchemaNode& own, Siblings& siblings) const;
    std::string identity(const lyd_node& node, const SchemaNode& own) const;
    std::optional<std::string> value(const lyd_node& node, const SchemaNode& own, const lysc_node& compiled) const;
    int32_t operation(const lyd_node& node) const;
    const lysc_node* find_compiled(const lysc_node* parent, const SchemaNode& own) const;

    const ly_ctx& ctx_;
    const Schema& schema_;
    const Document& document_;
    Purpose purpose_;
    Tree& tree_;
    Siblings tops_;
};

} // namespace zpf::bridge
