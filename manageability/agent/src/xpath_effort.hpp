// SPDX-License-Identifier: Apache-2.0
//
// What it takes to evaluate an XPath expression, reckoned from its text: nothing can stop libyang once it has begun.
#pragma once

#include <string_view>

namespace zpf::agent {

/**
 * About how many nodes an evaluation of the expression looks at in a tree of `nodes` nodes; no more than a power law.
 *
 * A path costs `nodes` when it may begin anywhere (absolute, after a function call, or outside of conditions, where all
 * of the tree is before it), and once more for every step that leads away from where it stands ("//", "..", an axis
 * other than child, self and attribute). Other paths in a condition cost 1: what all of them together look at are
 * children of what the condition is asked of. A condition is evaluated for every node that its path may hold. Two sets
 * that are compared cost a look for every pair, and so do axes that lead from each of many nodes to most others.
 *
 * Saturates, and is finite and at least 0 for any text. What is no expression has some effort or other.
 */
double effort_of(std::string_view xpath, double nodes);

} // namespace zpf::agent
