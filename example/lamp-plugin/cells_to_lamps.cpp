// SPDX-License-Identifier: Apache-2.0
//
// Native to client: walks the device's cells and says what a client sees of them. Cells beyond 9 drive no lamp.
#include <cstdlib>
#include <string>

#include "lamp.hpp"

namespace lamp {

namespace {

void add(zpf_map_ctx ctx, Node* out, const char* path, const char* value)
{
    zpf_map_datatree_add_path_flagged(ctx, out, path, kLampNs, value, nullptr, nullptr, 0, 0);
}

void cell_to_lamp(zpf_map_ctx ctx, const Node& cell, Node* out)
{
    const char* const id = value_of(cell, "id");
    if (id == nullptr || std::strlen(id) != 1 || *id < '1' || *id > '9') {
        return;
    }
    const Level level(ctx, cell, kEntry);
    zpf_map_update_current_list_node(ctx, kCellList);
    zpf_map_datatree_add_path_flagged(ctx, out, kLampList, kLampNs, nullptr, nullptr, nullptr, 1, 0);
    zpf_add_to_output_list_ctx(ctx, &cell, out);
    add(ctx, out, "/lamps/lamp/name", (std::string("lamp") + id).c_str());
    if (const char* tenths = value_of(cell, "drive")) {
        add(ctx, out, "/lamps/lamp/brightness", std::to_string(std::strtol(tenths, nullptr, 10) / 10).c_str());
    }
    zpf_remove_from_output_list_ctx(ctx, &cell, out);
}

} // namespace

} // namespace lamp

EXPORTED qerrno ymap_xo_examplelamps_examplecells_lvla_cells(zpf_map_ctx ctx, const qidl_zpf_datatree* node,
                                                             qidl_zpf_datatree* out)
{
    const lamp::Level level(ctx, *node, lamp::kContainer);
    for (const lamp::Node& cell : lamp::Children(*node)) {
        lamp::cell_to_lamp(ctx, cell, out);
    }
    return ZPF_RC_OK;
}
