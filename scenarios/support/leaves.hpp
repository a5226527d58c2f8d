// SPDX-License-Identifier: Apache-2.0
//
// Trees as lines "path = value", one a leaf: what changed between two trees then reads like a change request.
#pragma once

#include <string>
#include <vector>

#include "zpf_map/schema.hpp"
#include "zpf_map/tree.hpp"

namespace zpf::scenarios {

/// The leaves of a tree in its order, list entries told apart by all their keys. Empty containers say nothing.
std::vector<std::string> leaves_of(const Schema& schema, const Node& root);

/// Lines "- ..." for leaves that are gone and "+ ..." for new ones, sorted, and how many leaves stayed as they were.
struct Changes {
    std::vector<std::string> lines;
    std::size_t unchanged = 0;
};

Changes changes_between(const Schema& schema, const Node& before, const Node& after);

} // namespace zpf::scenarios
