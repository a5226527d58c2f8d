// SPDX-License-Identifier: Apache-2.0
//
// Client to native: names the cells that a request about lamps is about, and says what becomes of them.
#include <cstdlib>
#include <string>

#include "lamp.hpp"

namespace lamp {

namespace {

/// One request on its way down.
struct Walk {
    zpf_map_ctx ctx;
    Node* out;

    bool reads() const
    {
        const uint32_t kind = ctx->request->header->operation;
        return kind == ZPF_REQUEST_GET || kind == ZPF_REQUEST_GET_CONFIG;
    }

    /// Opens an entry; one without source is merged.
    void open_cell(const Node* source) const
    {
        zpf_map_datatree_add_path_flagged(ctx, out, kCellList, kCellNs, nullptr, source, nullptr, 1, 0);
    }

    void add_key(const char* id) const
    {
        zpf_map_datatree_add_path_flagged(ctx, out, "/cells/cell/id", kCellNs, id, nullptr, nullptr, 0, 0);
    }

    /// A null value selects in a read, and removes with a source that does.
    qerrno set_drive(const char* tenths, const Node* source) const
    {
        return zpf_map_datatree_add_path_flagged(ctx, out, "/cells/cell/drive", kCellNs, tenths, source, nullptr, 0, 1);
    }
};

qerrno refuse(zpf_map_ctx ctx, qerrno code, const char* tag, const char* message)
{
    named_free(ctx->request->error_tag);
    ctx->request->error_tag = zpf_strdup(tag, "example");
    named_free(ctx->request->error_message);
    ctx->request->error_message = zpf_strdup(message, "example");
    zpf_oc_error_path(ctx);
    return code;
}

/// The cell of a lamp's name, or the empty text. Strict, since each name must lead back to itself.
std::string cell_of(const char* name)
{
    const bool known =
        name != nullptr && std::strncmp(name, "lamp", 4) == 0 && name[4] >= '1' && name[4] <= '9' && name[5] == '\0';
    return known ? std::string(name + 4) : std::string();
}

qerrno brightness_to_drive(const Walk& walk, const Node& leaf)
{
    if (walk.reads() || zpf_map_is_request_delete(&leaf)) {
        return walk.set_drive(nullptr, &leaf);
    }
    const long percent = std::strtol(leaf._data != nullptr ? leaf._data : "", nullptr, 10);
    if (percent > 80) { // the model allows 100, the lamps do not
        return refuse(walk.ctx, ZPF_RC_INVALID_VALUE, leaf.tag, "A lamp takes 80 percent at most.");
    }
    return walk.set_drive(std::to_string(percent * 10).c_str(), &leaf);
}

/// The entry's own operation: a removal takes the cell, a replacement first clears what a client can set.
void open_cell_of(const Walk& walk, const Node& lamp, const char* id)
{
    if (!walk.reads() && lamp.edit_op == ZPF_OP_REPLACE) {
        Node removal = lamp;
        removal.edit_op = ZPF_OP_REMOVE;
        walk.ctx->request->walk_flags |= ZPF_WALK_REPLACE_DELETE;
        walk.open_cell(&removal);
        walk.add_key(id);
        walk.set_drive(nullptr, &removal);
        walk.ctx->request->walk_flags = 0;
        zpf_map_update_current_list_node(walk.ctx, kLampList);
    }
    walk.open_cell(zpf_map_is_request_delete(&lamp) ? &lamp : nullptr);
    walk.add_key(id);
}

qerrno lamp_to_cell(const Walk& walk, const Node& lamp)
{
    const Level level(walk.ctx, lamp, kEntry);
    zpf_map_update_current_list_node(walk.ctx, kLampList);
    const char* const name = value_of(lamp, "name");
    if (name == nullptr) {
        if (walk.reads()) { // any lamp: every cell may be asked for
            return zpf_map_datatree_add_path_flagged(walk.ctx, walk.out, "/cells", kCellNs, nullptr, nullptr, nullptr,
                                                     0, 0);
        }
        return refuse(walk.ctx, ZPF_RC_KEY_MISSING, "name", "A lamp needs its name.");
    }
    const std::string id = cell_of(name);
    if (id.empty()) {
        return walk.reads() ? ZPF_RC_OK : refuse(walk.ctx, ZPF_RC_INVALID_VALUE, "name", "Lamps are lamp1 to lamp9.");
    }
    open_cell_of(walk, lamp, id.c_str());
    if (zpf_map_is_request_delete(&lamp)) {
        return ZPF_RC_OK;
    }
    if (walk.reads() && Children(lamp).count == 1) { // nothing but the key: all of the entry is wanted
        return walk.set_drive(nullptr, nullptr);
    }
    for (const Node& leaf : Children(lamp)) {
        if (is(leaf, "brightness")) {
            if (const qerrno code = brightness_to_drive(walk, leaf)) {
                return code;
            }
        }
    }
    return ZPF_RC_OK;
}

/// All lamps at once: every cell that is a lamp loses what a client can have set.
void clear_all(const Walk& walk, const Node& lamps)
{
    Node removal = lamps;
    removal.edit_op = ZPF_OP_REMOVE;
    walk.ctx->request->walk_mode = 1; // an entry without keys stands for whatever the mapping knows
    walk.open_cell(&removal);
    walk.set_drive(nullptr, &removal);
    walk.ctx->request->walk_mode = 0;
}

} // namespace

} // namespace lamp

EXPORTED qerrno ymap_ox_examplelamps_examplelamps_lvla_lamps(zpf_map_ctx ctx, const qidl_zpf_datatree* node,
                                                             qidl_zpf_datatree* out)
{
    using namespace lamp;
    const Walk walk{ctx, out};
    const Level level(ctx, *node, kContainer);
    if (walk.reads() && Children(*node).count == 0) {
        return zpf_map_datatree_add_path_flagged(ctx, out, "/cells", kCellNs, nullptr, nullptr, nullptr, 0, 0);
    }
    if (!walk.reads() && (zpf_map_is_request_delete(node) || node->edit_op == ZPF_OP_REPLACE)) {
        clear_all(walk, *node);
    }
    for (const Node& entry : Children(*node)) {
        if (const qerrno code = lamp_to_cell(walk, entry)) {
            return code;
        }
    }
    return ZPF_RC_OK;
}
