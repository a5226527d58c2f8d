// SPDX-License-Identifier: Apache-2.0
//
// Elements of the client model as a request tree for the mapping.
#pragma once

#include "element.hpp"
#include "yang.hpp"
#include "zpf_map/tree.hpp"

namespace zpf::agent {

/// Adds a top element of an edit. Names, places and values must be the model's; an empty leaf and a list entry without
/// keys pass, since the mapping itself says what they mean. Throws Refused naming the element.
void add_edit(const Yang& yang, Element top, Tree& request);

/// Adds a top element of a subtree filter (RFC 6241, 6): any text may be matched with, any element asked for.
void add_filter(const Yang& yang, Element top, Tree& request);

} // namespace zpf::agent
