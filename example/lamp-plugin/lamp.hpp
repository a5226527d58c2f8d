// SPDX-License-Identifier: Apache-2.0
//
// What both directions share: lamp "lamp3" is cell 3, a percent of its brightness is ten tenths of the cell's drive.
#pragma once

#include <cstring>

#include "zpf/zpf.h"

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace lamp {

using Node = qidl_zpf_datatree;

constexpr const char* kLampNs = "urn:example:lamps";
constexpr const char* kCellNs = "urn:example:cells";
constexpr const char* kLampList = "/lamps/lamp";
constexpr const char* kCellList = "/cells/cell";

constexpr uint32_t kContainer = 1;
constexpr uint32_t kEntry = 2;

/// Children of a node, for range loops.
struct Children {
    explicit Children(const Node& node)
        : first(node.subtrees), count((node.state_flags & ZPF_STATE_SUBTREES) != 0 ? node.subtree_count : 0)
    {}
    const Node* begin() const { return first; }
    const Node* end() const { return first + count; }

    const Node* first;
    uint32_t count;
};

inline bool is(const Node& node, const char* tag)
{
    return zpf_map_do_these_match(node.tag, tag) != 0;
}

/// Value of the node's child, or null.
inline const char* value_of(const Node& node, const char* tag)
{
    for (const Node& child : Children(node)) {
        if (is(child, tag)) {
            return (child.state_flags & ZPF_STATE_VALUE) != 0 ? child._data : nullptr;
        }
    }
    return nullptr;
}

/// Keeps a node in the hierarchy, where error paths and key look-ups come from, while its children are walked.
class Level {
public:
    Level(zpf_map_ctx ctx, const Node& node, uint32_t level) : ctx_(ctx), node_(node)
    {
        zpf_map_add_to_node_hierarchy(ctx, &node, level);
    }
    ~Level() { zpf_map_remove_from_node_hierarchy(ctx_, &node_); }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

private:
    zpf_map_ctx ctx_;
    const Node& node_;
};

} // namespace lamp
