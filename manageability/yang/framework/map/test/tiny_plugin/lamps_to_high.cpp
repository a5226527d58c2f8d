// SPDX-License-Identifier: Apache-2.0
//
// Cells to lamps: walks native data and says what a client sees of them. Cells that are no lamps are passed over.
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "lamps_common.hpp"

namespace acme {

namespace {

/// The lamp's name of a cell id, or nothing unless the id is exactly what the name leads to.
std::string lamp_of(const char* id)
{
    if (id == nullptr || id[0] != 'c' || id[1] == '0' || std::strlen(id) < 2 || std::strlen(id) > 3) {
        return {};
    }
    for (const char* digit = id + 1; *digit != '\0'; ++digit) {
        if (std::isdigit(static_cast<unsigned char>(*digit)) == 0) {
            return {};
        }
    }
    return std::string("L") + (id + 1);
}

qerrno level_to_high(const Walk& walk, const char* path, const char* tenths)
{
    char* end = nullptr;
    const long number = std::strtol(tenths ? tenths : "", &end, 10);
    if (tenths == nullptr || *tenths == '\0' || *end != '\0') {
        return refuse(walk.ctx, ZPF_RC_INVALID_VALUE, "lum", "The cell reports no level");
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", static_cast<double>(number) / 10);
    return walk.add(path, text);
}

qerrno key_to_high(const Walk& walk, const char* id)
{
    const std::string name = lamp_of(id);
    if (name.empty()) {
        return ZPF_RC_SKIP_INSTANCE;
    }
    walk.add("/lamps/lamp/name", name.c_str());
    return walk.add("/lamps/lamp/config/name", name.c_str());
}

qerrno tap_to_high(const Walk& walk, const Node& tap)
{
    const Level level(walk.ctx, tap, kEntry);
    zpf_map_update_current_list_node(walk.ctx, kTapList);
    const char* const pin = value_of(child(tap, "pin"));
    const std::string side = pin ? std::string(pin, std::strcspn(pin, "0123456789")) : std::string{};
    walk.open("/lamps/lamp/beams/beam");
    zpf_add_to_output_list_ctx(walk.ctx, &tap, walk.out);
    if (pin != nullptr) {
        walk.add("/lamps/lamp/beams/beam/side", side.c_str());
        walk.add("/lamps/lamp/beams/beam/number", pin + side.size());
    }
    if (const char* gain = value_of(child(tap, "gain"))) {
        walk.add("/lamps/lamp/beams/beam/width", gain);
    }
    zpf_remove_from_output_list_ctx(walk.ctx, &tap, walk.out);
    return ZPF_RC_OK;
}

qerrno cell_child_to_high(const Walk& walk, const Node& node)
{
    if (is(node, "kind")) {
        return std::strcmp(value_of(&node) ? value_of(&node) : "", "led") == 0 ? ZPF_RC_OK : ZPF_RC_SKIP_INSTANCE;
    }
    if (is(node, "id")) {
        return key_to_high(walk, value_of(&node));
    }
    if (is(node, "dimming")) {
        const Node* const lum = child(node, "lum");
        return lum ? level_to_high(walk, "/lamps/lamp/config/level", value_of(lum)) : ZPF_RC_OK;
    }
    if (is(node, "note")) {
        return walk.add("/lamps/lamp/config/note", value_of(&node));
    }
    if (is(node, "taps")) {
        for (const Node& tap : children(node)) {
            tap_to_high(walk, tap);
        }
    }
    return ZPF_RC_OK;
}

qerrno cell_to_high(const Walk& walk, const Node& cell)
{
    const Level level(walk.ctx, cell, kEntry);
    zpf_map_update_current_list_node(walk.ctx, kCellList);
    walk.open(kLampList);
    zpf_add_to_output_list_ctx(walk.ctx, &cell, walk.out);
    qerrno code = ZPF_RC_OK;
    for (const Node& node : children(cell)) {
        if (code == ZPF_RC_OK) {
            code = cell_child_to_high(walk, node);
        }
    }
    zpf_remove_from_output_list_ctx(walk.ctx, &cell, walk.out);
    return code;
}

qerrno gauge_to_high(const Walk& walk, const Node& gauge)
{
    const Level level(walk.ctx, gauge, kEntry);
    zpf_map_update_current_list_node(walk.ctx, "/gauges/gauge");
    zpf_map_node_info info{};
    zpf_map_get_node_info(walk.ctx, "/gauges/gauge", "id", &info);
    const std::string name = lamp_of(info.key_value);
    if (name.empty()) {
        return ZPF_RC_SKIP_INSTANCE;
    }
    zpf_map_search_or_add_list(walk.ctx, walk.out, &walk.ctx->request->list_ctx_current.plist, kLampList, name.c_str(),
                               "name", kLampNs);
    zpf_add_to_output_list_ctx(walk.ctx, &gauge, walk.out);
    walk.add("/lamps/lamp/state/name", name.c_str());
    qerrno code = ZPF_RC_OK;
    if (const char* lum = value_of(child(gauge, "lum"))) {
        level_to_high(walk, "/lamps/lamp/config/level", lum); // where nothing is configured
        code = level_to_high(walk, "/lamps/lamp/state/level", lum);
        walk.add("/lamps/lamp/state/lit", std::strcmp(lum, "0") == 0 ? "false" : "true");
    }
    zpf_remove_from_output_list_ctx(walk.ctx, &gauge, walk.out);
    return code;
}

template <typename EntryWalk>
qerrno entries_to_high(const Walk& walk, const Node& container, EntryWalk entry_walk)
{
    const Level level(walk.ctx, container, kContainer);
    for (const Node& entry : children(container)) {
        const qerrno code = entry_walk(walk, entry);
        if (code != ZPF_RC_OK && code != ZPF_RC_SKIP_INSTANCE) {
            return code;
        }
    }
    return ZPF_RC_OK;
}

} // namespace

} // namespace acme

extern "C" {

__attribute__((visibility("default"))) qerrno
ymap_xo_acmelamps_acmenative_lvla_cells(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    return acme::entries_to_high({ctx, out, acme::kLampNs}, *node, acme::cell_to_high);
}

#ifndef ACME_WITHOUT_RACK_WALKER
__attribute__((visibility("default"))) qerrno
ymap_xo_acmelamps_acmenative_lvla_rack(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    const acme::Walk walk{ctx, out, acme::kLampNs};
    const acme::Level level(ctx, *node, acme::kContainer);
    const acme::Node* const limit = acme::child(*node, "limit");
    return limit ? acme::level_to_high(walk, "/lamps/config/limit", acme::value_of(limit)) : ZPF_RC_OK;
}
#endif

__attribute__((visibility("default"))) qerrno
ymap_xo_acmelamps_acmenativeoper_lvla_gauges(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    const acme::Walk walk{ctx, out, acme::kLampNs};
    return walk.kind() == ZPF_REQUEST_GET ? acme::entries_to_high(walk, *node, acme::gauge_to_high) : ZPF_RC_OK;
}
}
