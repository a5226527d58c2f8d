// SPDX-License-Identifier: Apache-2.0
//
// Edit operations (RFC 6241, 7.2).
#pragma once

#include <optional>
#include <string_view>

#include "zpf/records.h"

namespace zpf::agent {

enum class Operation { merge, replace, create, remove_if_there, remove_what_is_there, none };

/// "merge", "replace", "create", "delete", "remove" or "none".
inline std::optional<Operation> find_operation(std::string_view word)
{
    if (word == "merge") {
        return Operation::merge;
    }
    if (word == "replace") {
        return Operation::replace;
    }
    if (word == "create") {
        return Operation::create;
    }
    if (word == "delete") {
        return Operation::remove_what_is_there;
    }
    if (word == "remove") {
        return Operation::remove_if_there;
    }
    if (word == "none") {
        return Operation::none;
    }
    return std::nullopt;
}

} // namespace zpf::agent
