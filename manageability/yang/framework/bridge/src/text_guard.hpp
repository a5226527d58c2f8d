// SPDX-License-Identifier: Apache-2.0
//
// A first look at a text from outside, before any recursive parser sees it: size, nesting, forbidden constructs.
// Remembers on which line each element begins.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "zpf_bridge/data.hpp"

namespace zpf::bridge {

inline constexpr std::size_t kMostBytes = std::size_t{64} * 1024 * 1024; // far above any configuration of a device
inline constexpr std::size_t kDeepestText = 64;                          // levels; the models have less than twenty

struct Outline {
    Syntax syntax;
    /// Line of the n-th element in document order. In JSON an element is a member's value, or each item of its array.
    std::vector<std::size_t> lines;
};

/// Throws BadInput. The text may still be malformed.
Outline look_over(std::string_view text, const std::string& source);

} // namespace zpf::bridge
