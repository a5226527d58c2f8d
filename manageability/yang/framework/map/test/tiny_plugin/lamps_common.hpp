// SPDX-License-Identifier: Apache-2.0
//
// What both directions of the lamp mapping share. Lamp "L7" is the cell of kind "led" with id "c7"; its level in
// percent is the cell's lum in tenths of a percent.
#pragma once

#include <string>

#include "zpf/zpf.h"

namespace acme {

using Node = qidl_zpf_datatree;

inline constexpr const char* kLampNs = "urn:acme:lamp";
inline constexpr const char* kNativeNs = "urn:acme:native";
inline constexpr const char* kLampList = "/lamps/lamp";
inline constexpr const char* kCellList = "/cells/cell";
inline constexpr const char* kCellKind = "/cells/cell/kind";
inline constexpr const char* kCellId = "/cells/cell/id";
inline constexpr const char* kCellLum = "/cells/cell/dimming/lum";
inline constexpr const char* kCellNote = "/cells/cell/note";
inline constexpr const char* kTapList = "/cells/cell/taps/tap";
inline constexpr const char* kRackLimit = "/rack/limit";

inline constexpr uint32_t kContainer = 1;
inline constexpr uint32_t kEntry = 2;

/// Second flag word of an add.
enum class Leaf : uint32_t { fills = 0, decides = 1 };

/// One walk: whom to call, and where output goes.
struct Walk {
    zpf_map_ctx ctx;
    Node* out;
    const char* ns;

    uint32_t kind() const { return ctx->request->header->operation; }
    bool reads() const { return kind() == ZPF_REQUEST_GET || kind() == ZPF_REQUEST_GET_CONFIG; }

    qerrno open(const char* list, const Node* source = nullptr) const
    {
        return zpf_map_datatree_add_path_flagged(ctx, out, list, ns, nullptr, source, nullptr, 1, 0);
    }
    qerrno add(const char* path, const char* value, const Node* source = nullptr, Leaf leaf = Leaf::fills) const
    {
        return zpf_map_datatree_add_path_flagged(ctx, out, path, ns, value, source, nullptr, 0,
                                                 static_cast<uint32_t>(leaf));
    }
};

/// Keeps a node in the hierarchy while its children are walked.
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

bool is(const Node& node, const char* tag);
const char* value_of(const Node* node);
const Node* child(const Node& node, const char* tag);

/// Sets error tag, message (may be null) and path. @return the code
qerrno refuse(zpf_map_ctx ctx, qerrno code, const char* tag, const char* message = nullptr);

/// Children of a node, for range loops; none when the record promises none.
struct Children {
    const Node* first;
    const Node* last;
    const Node* begin() const { return first; }
    const Node* end() const { return last; }
    bool empty() const { return first == last; }
};
Children children(const Node& node);

} // namespace acme
