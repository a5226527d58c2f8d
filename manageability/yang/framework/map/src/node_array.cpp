// SPDX-License-Identifier: Apache-2.0
//
// Arrays of children double, so that appending is cheap without a capacity in the record.
#include "node_array.hpp"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

namespace zpf {

namespace {

constexpr uint32_t kSmallestArray = 4;

bool is_full(const Node& parent)
{
    const uint32_t count = parent.subtree_count;
    const bool ours = (parent.state_flags2 & kOwnArray) != 0 && parent.subtrees != nullptr;
    return !ours || (count >= kSmallestArray && std::has_single_bit(count));
}

} // namespace

Appended append_child(Arena& arena, Node& parent)
{
    const bool has_children = (parent.state_flags & ZPF_STATE_SUBTREES) != 0 && parent.subtrees != nullptr;
    const uint32_t count = has_children ? parent.subtree_count : 0;
    Appended result{nullptr, parent.subtrees, 0};
    if (!has_children || is_full(parent)) {
        const uint32_t capacity = std::max(kSmallestArray, std::bit_ceil(count + 1));
        auto* grown = static_cast<Node*>(arena.allocate(capacity * sizeof(Node)));
        if (count > 0) {
            std::memcpy(grown, parent.subtrees, count * sizeof(Node));
            result.moved = count;
        }
        parent.subtrees = grown;
        parent.state_flags2 |= kOwnArray;
    }
    result.child = parent.subtrees + count;
    *result.child = Node{};
    result.child->state_flags = ZPF_STATE_PRESENT;
    parent.subtree_count = count + 1;
    parent.state_flags |= ZPF_STATE_SUBTREES;
    return result;
}

std::span<Node> make_children(Arena& arena, Node& parent, uint32_t count)
{
    if (count == 0) {
        return {};
    }
    const uint32_t capacity = std::max(kSmallestArray, std::bit_ceil(count));
    auto* const made = static_cast<Node*>(arena.allocate(capacity * sizeof(Node)));
    for (uint32_t i = 0; i < count; ++i) {
        made[i] = Node{};
        made[i].state_flags = ZPF_STATE_PRESENT;
    }
    parent.subtrees = made;
    parent.subtree_count = count;
    parent.state_flags |= ZPF_STATE_SUBTREES;
    parent.state_flags2 |= kOwnArray;
    return {made, count};
}

void remove_child(Node& parent, uint32_t index)
{
    Node* const gone = parent.subtrees + index;
    std::memmove(gone, gone + 1, (parent.subtree_count - index - 1) * sizeof(Node));
    if (--parent.subtree_count == 0) {
        parent.state_flags = static_cast<uint8_t>(parent.state_flags & ~ZPF_STATE_SUBTREES);
    }
}

void set_value(Arena& arena, Node& node, const char* value)
{
    node._data = value ? arena.copy(value) : nullptr;
    if (value) {
        node.state_flags |= ZPF_STATE_VALUE;
    } else {
        node.state_flags = static_cast<uint8_t>(node.state_flags & ~ZPF_STATE_VALUE);
    }
}

} // namespace zpf
