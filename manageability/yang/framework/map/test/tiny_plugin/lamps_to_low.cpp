// SPDX-License-Identifier: Apache-2.0
//
// Lamps to cells: walks a client's request and names the cells it is about.
// Names are taken loosely ("L07" and "L7x" lead to c7), as scanning them with a format would: the host must cope.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "lamps_common.hpp"

namespace acme {

namespace {

/// The cell id of a lamp's name, or nothing for text that is no lamp's name.
std::string cell_of(const char* name)
{
    return name != nullptr && name[0] == 'L' ? "c" + std::to_string(std::strtol(name + 1, nullptr, 10)) : std::string{};
}

Node removal_of(const Node& node)
{
    Node removal = node;
    removal.edit_op = ZPF_OP_REMOVE;
    return removal;
}

void add_cell_keys(const Walk& walk, const char* name)
{
    if (const std::string id = cell_of(name); !id.empty()) {
        walk.add(kCellId, id.c_str());
        walk.add(kCellKind, "led");
    }
}

qerrno level_to_low(const Walk& walk, const Node& leaf, const char* path)
{
    const double tenths = std::strtod(value_of(&leaf) ? value_of(&leaf) : "", nullptr) * 10;
    if (!(tenths >= 0 && tenths <= 1000)) {
        return refuse(walk.ctx, ZPF_RC_INVALID_VALUE, leaf.tag, "A level is 0 to 100 percent");
    }
    char text[16];
    std::snprintf(text, sizeof text, "%d", static_cast<int>(tenths));
    return walk.add(path, text, &leaf, Leaf::decides);
}

/// A leaf of lamp/config. Reads select; what the cells do not have is refused in both.
qerrno config_leaf_to_low(const Walk& walk, const Node& leaf)
{
    const bool clears = walk.reads() || zpf_map_is_request_delete(&leaf);
    if (is(leaf, "name")) {
        return ZPF_RC_OK;
    }
    if (is(leaf, "level")) {
        return clears ? walk.add(kCellLum, walk.reads() ? "" : nullptr, &leaf, Leaf::decides)
                      : level_to_low(walk, leaf, kCellLum);
    }
    if (is(leaf, "note")) {
        return walk.add(kCellNote, clears ? nullptr : value_of(&leaf), &leaf, Leaf::decides);
    }
    if (is(leaf, "stray")) { // a mistake of a plug-in, its result not looked at
        walk.add("/cells/cell/nowhere", "1");
        return ZPF_RC_OK;
    }
    if (is(leaf, "fault")) {
        const char* const code = value_of(&leaf);
        return refuse(walk.ctx, static_cast<qerrno>(std::strtoul(code ? code : "", nullptr, 16)), leaf.tag,
                      "Told to fail");
    }
    return refuse(walk.ctx, ZPF_RC_UNSUPPORTED_NODE, leaf.tag);
}

void remove_config(const Walk& walk, const Node& source)
{
    const Node removal = removal_of(source);
    walk.add(kCellLum, nullptr, &removal, Leaf::decides);
    walk.add(kCellNote, nullptr, &removal, Leaf::decides);
    refuse(walk.ctx, ZPF_RC_UNSUPPORTED_NODE, "colour"); // met on the way, no reason to stop: nobody named it
}

void select_config(const Walk& walk)
{
    walk.add(kCellLum, "");
    walk.add(kCellNote, "");
    refuse(walk.ctx, ZPF_RC_UNSUPPORTED_NODE, "colour");
}

qerrno foreign_to_low(const Walk& walk, const Node& node)
{
    return zpf_map_is_request_add(walk.ctx, &node) ? refuse(walk.ctx, ZPF_RC_AUGMENT_CREATE, node.tag) : ZPF_RC_OK;
}

qerrno config_to_low(const Walk& walk, const Node& config)
{
    const Level level(walk.ctx, config, kContainer);
    if (zpf_map_is_request_delete(&config)) {
        if (!children(config).empty()) {
            return ZPF_RC_INVALID_ARGS;
        }
        remove_config(walk, config);
        return ZPF_RC_OK;
    }
    if (config.edit_op == ZPF_OP_REPLACE) {
        remove_config(walk, config);
    }
    if (children(config).empty() && walk.reads()) {
        select_config(walk);
    }
    for (const Node& leaf : children(config)) {
        const bool ours = zpf_map_do_these_match(leaf.ns, kLampNs) != 0;
        if (const qerrno code = ours ? config_leaf_to_low(walk, leaf) : foreign_to_low(walk, leaf)) {
            return code;
        }
    }
    return ZPF_RC_OK;
}

/// A beam is a tap of the lamp's cell: its side and number make the pin, e.g. "left1".
qerrno beam_to_low(const Walk& walk, const Node& beam)
{
    const Level level(walk.ctx, beam, kEntry);
    walk.open(kTapList, &beam);
    const char* const side = value_of(child(beam, "side"));
    const char* const number = value_of(child(beam, "number"));
    if (side != nullptr && number != nullptr) {
        walk.add("/cells/cell/taps/tap/pin", (std::string(side) + number).c_str());
    }
    if (const Node* width = child(beam, "width")) {
        const bool clears = walk.reads() || zpf_map_is_request_delete(width);
        return walk.add("/cells/cell/taps/tap/gain", clears ? nullptr : value_of(width), width, Leaf::decides);
    }
    return ZPF_RC_OK;
}

qerrno lamp_child_to_low(const Walk& walk, const Node& node)
{
    if (is(node, "name")) {
        return ZPF_RC_OK;
    }
    if (is(node, "config")) {
        return config_to_low(walk, node);
    }
    if (is(node, "beams")) {
        const Level level(walk.ctx, node, kContainer);
        for (const Node& beam : children(node)) {
            if (const qerrno code = beam_to_low(walk, beam)) {
                return code;
            }
        }
        return ZPF_RC_OK;
    }
    if (is(node, "state") && walk.reads()) {
        return ZPF_RC_OK;
    }
    if (is(node, "fault")) { // the entry itself is what is wrong
        return refuse(walk.ctx, ZPF_RC_INVALID_VALUE, "lamp");
    }
    return zpf_map_do_these_match(node.ns, kLampNs) ? refuse(walk.ctx, ZPF_RC_UNSUPPORTED_NODE, node.tag)
                                                    : foreign_to_low(walk, node);
}

qerrno check_key(const Walk& walk, const Node& lamp)
{
    const Node* const name = child(lamp, "name");
    if (children(lamp).empty()) {
        return ZPF_RC_BAD_TREE;
    }
    if (value_of(name) == nullptr) {
        return refuse(walk.ctx, ZPF_RC_KEY_MISSING, "name");
    }
    if (zpf_map_is_request_delete(name)) {
        return refuse(walk.ctx, ZPF_RC_KEY_DELETE, "name");
    }
    return zpf_map_check_oc_leafref(walk.ctx, kLampList, "config", "name", &lamp);
}

qerrno lamp_edit_to_low(const Walk& walk, const Node& lamp, const char* name)
{
    if (const qerrno code = check_key(walk, lamp)) {
        return code;
    }
    if (zpf_map_is_request_delete(&lamp)) {
        walk.open(kCellList, &lamp);
        add_cell_keys(walk, name);
        return ZPF_RC_OK;
    }
    if (lamp.edit_op == ZPF_OP_REPLACE) {
        const Node removal = removal_of(lamp);
        walk.ctx->request->walk_flags |= ZPF_WALK_REPLACE_DELETE;
        walk.open(kCellList, &removal);
        add_cell_keys(walk, name);
        remove_config(walk, removal);
        walk.ctx->request->walk_flags = 0;
        zpf_map_update_current_list_node(walk.ctx, kLampList);
    }
    walk.open(kCellList);
    add_cell_keys(walk, name);
    return ZPF_RC_OK;
}

qerrno lamp_to_low(const Walk& walk, const Node& lamp)
{
    const Level level(walk.ctx, lamp, kEntry);
    if (const qerrno code = zpf_map_update_current_list_node(walk.ctx, kLampList)) {
        return code;
    }
    const char* const name = value_of(child(lamp, "name"));
    if (!walk.reads()) {
        const qerrno code = lamp_edit_to_low(walk, lamp, name);
        if (code != ZPF_RC_OK || zpf_map_is_request_delete(&lamp)) {
            return code;
        }
    } else if (name == nullptr) { // no entry to name: every cell and gauge may be asked for
        walk.add("/cells", nullptr);
        return walk.add("/gauges", nullptr);
    } else {
        walk.open(kCellList);
        add_cell_keys(walk, name);
        if (const std::string id = cell_of(name); !id.empty()) {
            walk.add("/gauges/gauge/id", id.c_str());
        }
        if (children(lamp).end() - children(lamp).begin() == 1) {
            select_config(walk);
        }
    }
    for (const Node& node : children(lamp)) {
        if (const qerrno code = lamp_child_to_low(walk, node)) {
            return code;
        }
    }
    return ZPF_RC_OK;
}

/// Every cell that is a lamp loses what a client can have set, named by no key.
void remove_everything(const Walk& walk, const Node& lamps)
{
    const Node removal = removal_of(lamps);
    walk.ctx->request->walk_mode = 1;
    walk.open(kCellList, &removal);
    remove_config(walk, removal);
    walk.ctx->request->walk_mode = 0;
    walk.add(kRackLimit, nullptr, &removal, Leaf::decides);
}

qerrno limit_to_low(const Walk& walk, const Node& config)
{
    const Level level(walk.ctx, config, kContainer);
    for (const Node& leaf : children(config)) {
        const bool clears = walk.reads() || zpf_map_is_request_delete(&leaf);
        const qerrno code =
            clears ? walk.add(kRackLimit, nullptr, &leaf, Leaf::decides) : level_to_low(walk, leaf, kRackLimit);
        if (code != ZPF_RC_OK) {
            return code;
        }
    }
    return children(config).empty() && walk.reads() ? walk.add(kRackLimit, "") : ZPF_RC_OK;
}

qerrno lamps_to_low(const Walk& walk, const Node& lamps)
{
    const Level level(walk.ctx, lamps, kContainer);
    const bool deletes = zpf_map_is_request_delete(&lamps) != 0;
    if (deletes && !children(lamps).empty()) {
        return ZPF_RC_INVALID_ARGS;
    }
    if (deletes || lamps.edit_op == ZPF_OP_REPLACE) {
        remove_everything(walk, lamps);
    }
    if (children(lamps).empty() && walk.reads()) {
        for (const char* top : {"/cells", "/gauges", kRackLimit}) {
            walk.add(top, nullptr);
        }
    }
    for (const Node& node : children(lamps)) {
        const qerrno code = is(node, "lamp")     ? lamp_to_low(walk, node)
                            : is(node, "config") ? limit_to_low(walk, node)
                                                 : refuse(walk.ctx, ZPF_RC_UNSUPPORTED_NODE, node.tag);
        if (code != ZPF_RC_OK) {
            return code;
        }
    }
    return ZPF_RC_OK;
}

} // namespace

} // namespace acme

extern "C" __attribute__((visibility("default"))) qerrno
ymap_ox_acmelamps_acmelamp_lvla_lamps(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    return acme::lamps_to_low({ctx, out, acme::kNativeNs}, *node);
}
