// SPDX-License-Identifier: Apache-2.0
//
// Data paths for people.
#pragma once

#include <string>
#include <string_view>

namespace zpf::cli {

/// The path with a module's name only where the module changes, and none in predicates of keys: as RFC 7951 has them.
std::string short_path(std::string_view path);

/// Name of the path's first step, without its prefix; empty for a text that does not begin with a step.
std::string top_of(std::string_view path);

/// Value of the key `name` in the path's predicates, whatever its prefix; empty when it is missing.
std::string key_in_path(std::string_view path, std::string_view name);

} // namespace zpf::cli
