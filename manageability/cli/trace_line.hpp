// SPDX-License-Identifier: Apache-2.0
//
// A numbered trace line taken apart: "#7: TRC: function:120 ctx=0x1,message".
#pragma once

#include <optional>
#include <string_view>

namespace zpf::cli {

struct TraceLine {
    bool error;                ///< ERR, else TRC
    std::string_view function; ///< who reports
    std::string_view message;
};

/// Views into `text`, or nothing for a line of another form.
std::optional<TraceLine> take_apart(std::string_view text);

enum class Role { walker, callback, translation };

/// What a function of a plug-in is, by the naming rule.
Role role_of(std::string_view function);

} // namespace zpf::cli
