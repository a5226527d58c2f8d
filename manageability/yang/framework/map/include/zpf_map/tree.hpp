// SPDX-License-Identifier: Apache-2.0
//
// A data tree that owns its memory. Nodes are the records that plug-ins see; arrays and texts live in an arena and go
// with the last tree that uses it, so a request's trees are built without a free and dropped at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "zpf/records.h"
#include "zpf_map/api.hpp"
#include "zpf_map/schema.hpp"

namespace zpf {

using Node = qidl_zpf_datatree;

/// Memory that only grows and is given back as a whole. One thread at a time.
class ZPF_API Arena {
public:
    Arena() = default;
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;
    ~Arena();

    /// Throws std::bad_alloc.
    void* allocate(std::size_t bytes);
    /// Terminated copy of the text.
    char* copy(std::string_view text);

private:
    struct Block;
    Block* blocks_ = nullptr; // newest first
    std::size_t used_ = 0;    // bytes used of the newest block
};

class ZPF_API Tree {
public:
    /// An empty tree: a root without tag.
    explicit Tree(std::shared_ptr<Arena> arena = std::make_shared<Arena>());
    Tree(Tree&&) noexcept = default;
    Tree& operator=(Tree&&) noexcept = default;

    Node& root() { return *root_; }
    const Node& root() const { return *root_; }
    const std::shared_ptr<Arena>& arena() const { return arena_; }

    /**
     * Appends a child. Copies the texts. The reference, and pointers to the child's older siblings, are good until the
     * next child is added to the same parent.
     */
    Node& add(Node& parent, std::string_view tag, std::string_view ns,
              std::optional<std::string_view> value = std::nullopt, int32_t edit_op = ZPF_OP_MERGE);
    /// The same for a node of the models: points at the schema's strings and copies only the value.
    Node& add(Node& parent, const SchemaNode& schema, std::optional<std::string_view> value = std::nullopt,
              int32_t edit_op = ZPF_OP_MERGE);
    /// Appends a deep copy of a node (of any tree), flags of earlier walks left out.
    Node& copy(Node& parent, const Node& source);
    /// The same, but shares the source's texts: they must outlive this tree.
    Node& share(Node& parent, const Node& source);
    /// The same without the source's children.
    Node& share_alone(Node& parent, const Node& source);
    /// A tree of its own with copies of the root's children.
    Tree clone() const;

    void set_value(Node& node, std::optional<std::string_view> value);
    /// Removes the child at this index; later siblings move up.
    static void remove(Node& parent, std::size_t index);

private:
    void own_texts(Node& node);

    std::shared_ptr<Arena> arena_;
    Node* root_;
};

/// The children of a node; empty when it has none.
inline std::span<const Node> children(const Node& node)
{
    const bool valid = (node.state_flags & ZPF_STATE_SUBTREES) != 0 && node.subtrees != nullptr;
    return valid ? std::span<const Node>{node.subtrees, node.subtree_count} : std::span<const Node>{};
}
inline std::span<Node> children(Node& node)
{
    const bool valid = (node.state_flags & ZPF_STATE_SUBTREES) != 0 && node.subtrees != nullptr;
    return valid ? std::span<Node>{node.subtrees, node.subtree_count} : std::span<Node>{};
}

/// First child with this tag, or null.
ZPF_API const Node* find_child(const Node& node, std::string_view tag);
ZPF_API Node* find_child(Node& node, std::string_view tag);

/// Value text, or nothing for a node without value.
inline std::optional<std::string_view> value_of(const Node& node)
{
    if ((node.state_flags & ZPF_STATE_VALUE) == 0 || node._data == nullptr) {
        return std::nullopt;
    }
    return std::string_view{node._data};
}

/// True when the node has a value that is not empty.
inline bool has_text(const Node& node)
{
    return (node.state_flags & ZPF_STATE_VALUE) != 0 && node._data != nullptr && *node._data != '\0';
}

inline std::string_view tag_of(const Node& node)
{
    return node.tag ? std::string_view{node.tag} : std::string_view{};
}
/// True when the node has this tag. Asked for each sibling that is looked past, so most answers need one character;
/// what was made by the models often has their very text.
inline bool has_tag(const Node& node, std::string_view tag)
{
    if (node.tag == nullptr || tag.empty()) {
        return tag_of(node) == tag;
    }
    return *node.tag == tag.front() &&
           (node.tag == tag.data() || std::strncmp(node.tag, tag.data(), tag.size()) == 0) &&
           node.tag[tag.size()] == '\0';
}
inline std::string_view ns_of(const Node& node)
{
    return node.ns ? std::string_view{node.ns} : std::string_view{};
}

/**
 * The tree as indented lines, "tag = "value" op=delete"; children of the root start at `indent` blanks.
 * With `marks`, removals say how they are meant ("[ALL]", "[REPL]", "[OWN]").
 */
ZPF_API std::string to_text(const Node& root, std::size_t indent = 0, bool marks = false);

} // namespace zpf
