// SPDX-License-Identifier: Apache-2.0
//
// Growing and shrinking a node's array of children. Children are records laid end to end, so both move records; what
// points at them is told where they went.
#pragma once

#include "zpf_map/tree.hpp"

namespace zpf {

/// state_flags2 bit: the array of children came from an arena of ours and has room up to the next power of two.
/// Arrays of other makers never have it; they are copied before they grow and left to their owner.
inline constexpr uint8_t kOwnArray = 0x80;

struct Appended {
    Node* child;    ///< zeroed, present
    Node* old_base; ///< where the older siblings were
    uint32_t moved; ///< how many of them moved to parent.subtrees; 0: none did
};

/// Appends a zeroed child; texts are the caller's to set. Throws std::bad_alloc and leaves the parent as it was.
Appended append_child(Arena& arena, Node& parent);

/// Gives a node that has no children this many zeroed ones at once.
std::span<Node> make_children(Arena& arena, Node& parent, uint32_t count);

/// Takes the child at this index out; later siblings move up by one.
void remove_child(Node& parent, uint32_t index);

/// Sets or clears a value, copied into the arena.
void set_value(Arena& arena, Node& node, const char* value);

} // namespace zpf
