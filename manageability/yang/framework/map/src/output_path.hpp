// SPDX-License-Identifier: Apache-2.0
//
// A schema path resolved against the models: which node each step is.
#pragma once

#include <array>

#include "context_priv.hpp"

namespace zpf {

struct OutputPath {
    static constexpr std::size_t kMostSteps = 32;
    std::array<const SchemaNode*, kMostSteps> steps; ///< the first `count` of them
    std::size_t count = 0;
    std::size_t first = 0; ///< first step that is not taken as done because the tree's own root stands for it
    bool known = false;    ///< the models that the host gave have it

    const SchemaNode& last() const { return *steps[count - 1]; }
};

/// What the last step of a path is taken for when the models do not have it.
enum class LastStep { leaf, list };

/**
 * Resolves a path for the tree. Steps below a top node that the models do not have are noted with `ns` as plug-ins name
 * them. @return false for a path that leaves the models, is empty, or is too deep
 */
bool resolve(zpf_map_ctx ctx, const Node& tree, const char* path, const char* ns, LastStep last, OutputPath& out);

/// The list at a path, of the models or named by a plug-in before; null when it is none.
const SchemaNode* find_list(zpf_map_ctx ctx, const char* list_path);

} // namespace zpf
