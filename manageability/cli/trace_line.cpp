// SPDX-License-Identifier: Apache-2.0
//
// Reading of numbered trace lines.
#include "trace_line.hpp"

namespace zpf::cli {

std::optional<TraceLine> take_apart(std::string_view text)
{
    const auto level = text.find(": ");
    if (!text.starts_with('#') || level == std::string_view::npos) {
        return std::nullopt;
    }
    text.remove_prefix(level + 2);
    const bool error = text.starts_with("ERR: ");
    if (!error && !text.starts_with("TRC: ")) {
        return std::nullopt;
    }
    text.remove_prefix(5);
    const auto colon = text.find(':');
    const auto comma = text.find(',');
    if (colon == std::string_view::npos || comma == std::string_view::npos || comma < colon) {
        return std::nullopt;
    }
    return TraceLine{error, text.substr(0, colon), text.substr(comma + 1)};
}

Role role_of(std::string_view function)
{
    const auto has = [function](std::string_view part) { return function.find(part) != std::string_view::npos; };
    if (has("_cont_lvla_") || has("_list_lvla_") || has("_leaf_lvla_") || has("_duck_map_")) {
        return Role::callback;
    }
    return has("_lvla_") ? Role::walker : Role::translation;
}

} // namespace zpf::cli
