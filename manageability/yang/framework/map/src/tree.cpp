// SPDX-License-Identifier: Apache-2.0
//
// The arena, trees built in it, and their textual form.
#include "zpf_map/tree.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "marks.hpp"
#include "node_array.hpp"

namespace zpf {

namespace {

constexpr std::size_t kBlockBytes = std::size_t{16} * 1024;
constexpr std::size_t kAlign = alignof(std::max_align_t);

/// Schema strings are shared and never written through; the record's members are not const for C's sake.
char* shared_text(const std::string& text)
{
    return const_cast<char*>(text.c_str());
}

const char* operation_name(int32_t op)
{
    switch (op) {
    case ZPF_OP_REPLACE:
        return "replace";
    case ZPF_OP_CREATE:
        return "create";
    case ZPF_OP_DELETE:
        return "delete";
    case ZPF_OP_REMOVE:
        return "remove";
    default:
        return nullptr;
    }
}

void append_text(std::string& out, const Node& node, std::size_t indent, bool marks)
{
    out.append(indent, ' ').append(tag_of(node));
    if (const auto value = value_of(node)) {
        out.append(" = \"").append(*value).append("\"");
    }
    if (const char* op = operation_name(node.edit_op)) {
        out.append(" op=").append(op);
    }
    if (marks && removal_mark(node) != RemovalMark::none) {
        out.append(" [").append(to_string(removal_mark(node))).append("]");
    }
    out.push_back('\n');
    for (const Node& child : children(node)) {
        append_text(out, child, indent + 2, marks);
    }
}

/// Fills a fresh record from another; what walks leave behind is not taken over.
void copy_fields(const Node& source, Node& target)
{
    target.tag = source.tag;
    target.ns = source.ns;
    target.edit_op = source.edit_op;
    target.map_flags = source.map_flags & ZPF_MAP_XPATH_ERROR;
    if (value_of(source)) {
        target._data = source._data;
        target.state_flags |= ZPF_STATE_VALUE;
    }
}

/// The same with all children.
void copy_record(Arena& arena, const Node& source, Node& target)
{
    copy_fields(source, target);
    const auto below = children(source);
    const auto copies = make_children(arena, target, static_cast<uint32_t>(below.size()));
    for (std::size_t i = 0; i < below.size(); ++i) {
        copy_record(arena, below[i], copies[i]);
    }
}

} // namespace

struct Arena::Block {
    Block* older;
    std::size_t size;
};

Arena::~Arena()
{
    while (blocks_ != nullptr) {
        std::free(std::exchange(blocks_, blocks_->older));
    }
}

void* Arena::allocate(std::size_t bytes)
{
    constexpr std::size_t header = (sizeof(Block) + kAlign - 1) / kAlign * kAlign;
    bytes = (bytes + kAlign - 1) / kAlign * kAlign;
    if (blocks_ == nullptr || used_ + bytes > blocks_->size) {
        const std::size_t size = std::max(kBlockBytes, header + bytes);
        void* const memory = std::malloc(size);
        if (memory == nullptr) {
            throw std::bad_alloc{};
        }
        blocks_ = new (memory) Block{blocks_, size};
        used_ = header;
    }
    void* const result = reinterpret_cast<char*>(blocks_) + used_;
    used_ += bytes;
    return result;
}

char* Arena::copy(std::string_view text)
{
    auto* const copied = static_cast<char*>(allocate(text.size() + 1));
    std::memcpy(copied, text.data(), text.size());
    copied[text.size()] = '\0';
    return copied;
}

Tree::Tree(std::shared_ptr<Arena> arena) : arena_(std::move(arena))
{
    root_ = new (arena_->allocate(sizeof(Node))) Node{};
    root_->state_flags = ZPF_STATE_PRESENT;
}

Node& Tree::add(Node& parent, std::string_view tag, std::string_view ns, std::optional<std::string_view> value,
                int32_t edit_op)
{
    char* const tag_copy = arena_->copy(tag);
    char* const ns_copy = ns.data() ? arena_->copy(ns) : nullptr;
    Node& child = *append_child(*arena_, parent).child;
    child.tag = tag_copy;
    child.ns = ns_copy;
    child.edit_op = edit_op;
    set_value(child, value);
    return child;
}

Node& Tree::add(Node& parent, const SchemaNode& schema, std::optional<std::string_view> value, int32_t edit_op)
{
    Node& child = *append_child(*arena_, parent).child;
    child.tag = shared_text(schema.tag);
    child.ns = shared_text(schema.ns);
    child.edit_op = edit_op;
    set_value(child, value);
    return child;
}

Node& Tree::copy(Node& parent, const Node& source)
{
    Node& child = share(parent, source);
    own_texts(child);
    return child;
}

void Tree::own_texts(Node& node)
{
    node.tag = node.tag ? arena_->copy(node.tag) : nullptr;
    node.ns = node.ns ? arena_->copy(node.ns) : nullptr;
    node._data = node._data ? arena_->copy(node._data) : nullptr;
    for (Node& child : children(node)) {
        own_texts(child);
    }
}

Node& Tree::share(Node& parent, const Node& source)
{
    Node& child = *append_child(*arena_, parent).child;
    copy_record(*arena_, source, child);
    return child;
}

Node& Tree::share_alone(Node& parent, const Node& source)
{
    Node& child = *append_child(*arena_, parent).child;
    copy_fields(source, child);
    return child;
}

Tree Tree::clone() const
{
    Tree result;
    for (const Node& top : children(*root_)) {
        result.copy(result.root(), top);
    }
    return result;
}

void Tree::set_value(Node& node, std::optional<std::string_view> value)
{
    node._data = value ? arena_->copy(*value) : nullptr;
    node.state_flags =
        static_cast<uint8_t>(value ? node.state_flags | ZPF_STATE_VALUE : node.state_flags & ~ZPF_STATE_VALUE);
}

void Tree::remove(Node& parent, std::size_t index)
{
    remove_child(parent, static_cast<uint32_t>(index));
}

const Node* find_child(const Node& node, std::string_view tag)
{
    for (const Node& child : children(node)) {
        if (has_tag(child, tag)) {
            return &child;
        }
    }
    return nullptr;
}

Node* find_child(Node& node, std::string_view tag)
{
    return const_cast<Node*>(find_child(static_cast<const Node&>(node), tag));
}

std::string to_text(const Node& root, std::size_t indent, bool marks)
{
    std::string out;
    if (root.tag != nullptr) {
        append_text(out, root, indent, marks);
        return out;
    }
    for (const Node& top : children(root)) {
        append_text(out, top, indent, marks);
    }
    return out;
}

} // namespace zpf
