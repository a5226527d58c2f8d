// SPDX-License-Identifier: Apache-2.0
//
// Paths of rules (node-instance-identifier), taken apart into schema nodes and the keys that they ask for.
#pragma once

#include <libyang/libyang.h>
#include <string>
#include <string_view>
#include <vector>

namespace zpf::agent {

/// One key that a path asks for. Keys that it does not name may have any value.
struct KeyMatch {
    const lysc_node* key = nullptr; ///< null: the value of a leaf-list entry
    std::string value;              ///< canonical; unused for the user's name
    bool users_name = false;        ///< `$USER` stands in place of a value
};

/// One node of a path, counted from the top.
struct PathStep {
    const lysc_node* schema = nullptr;
    std::vector<KeyMatch> keys;
};

using InstancePath = std::vector<PathStep>;

/**
 * Takes apart a path as libyang prints it: `/module:node/node[key='value']/other-module:node`; a node without a module
 * is of the module before it. "/" has no steps: all data.
 * Throws std::invalid_argument saying what is wrong: syntax, an unknown module, node or key, a value that the key
 * cannot have, a position (a part of a list has other positions than the whole, so nothing can be judged by them).
 */
InstancePath parse_instance_path(const ly_ctx& ctx, std::string_view text);

/// Whether the data node is the one, or one of those, that the step names. The schema is compared, too.
bool matches_step(const PathStep& step, const lyd_node& node, const std::string& user);

} // namespace zpf::agent
