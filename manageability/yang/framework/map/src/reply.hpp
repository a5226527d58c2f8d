// SPDX-License-Identifier: Apache-2.0
//
// What becomes of a mapped reply before a client sees it.
#pragma once

#include "zpf_map/schema.hpp"
#include "zpf_map/tree.hpp"

namespace zpf {

/// Drops list entries without all their keys and containers that are empty, and puts keys first.
void sweep(Node& parent, const Schema& schema);

/// Drops what the request's subtree filter (RFC 6241, 6.2) does not select. The filter's word is final: maps deliver
/// more. @return whether anything was dropped
bool cut_to_filter(Node& reply, const Node& request, const Schema& schema);

} // namespace zpf
