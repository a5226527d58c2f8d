// SPDX-License-Identifier: Apache-2.0
//
// XPath filters before they are evaluated: prefixes resolved, and what part of the data they can speak of at most.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "yang.hpp"

namespace zpf::agent {

using Prefixes = std::map<std::string, std::string, std::less<>>; ///< prefix to namespace

/// The expression with module names in place of prefixes. Throws Refused for a prefix that is not declared or a
/// namespace that no model has.
std::string with_module_names(const Yang& yang, std::string_view xpath, const Prefixes& prefixes);

/// Namespaces that an element's start tag declares, as libyang prints it.
Prefixes declared_prefixes(std::string_view start_tag);

/// A step of a location path that needs no evaluation: a name and key values.
struct XPathStep {
    std::string module; ///< empty: as the step before
    std::string name;
    std::vector<std::pair<std::string, std::string>> keys;
};

/**
 * The plain beginnings of the paths that an expression is a union of: everything that it selects is at or below one of
 * them. Empty when any of them could begin anywhere ("//", functions, axes).
 */
std::vector<std::vector<XPathStep>> plain_paths(std::string_view xpath);

/**
 * The same expression without "and" and "or": each is reckoned with the numbers of its truth values. "a and b or c"
 * becomes "boolean(boolean(a)*boolean(b)+boolean(c))". What is no expression stays none.
 */
std::string with_reckoned_conditions(std::string_view xpath);

/// True when the expression calls the function, outside of quotes.
bool calls(std::string_view xpath, std::string_view function);

} // namespace zpf::agent
