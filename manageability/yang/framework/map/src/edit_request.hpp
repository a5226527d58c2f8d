// SPDX-License-Identifier: Apache-2.0
//
// An edit request as the plug-in gets it, and the demands its operations make on what is there.
#pragma once

#include "zpf_map/driver.hpp"

namespace zpf {

/**
 * Settles operations, top down. An explicit replace, create, delete or remove counts for all below it; keys carry no
 * operation but their own attribute; keys come first. What carries no operation keeps ZPF_OP_NONE, so that the
 * demands below can tell; default-operation none drops the branches that nothing is asked of.
 */
Tree normalise(const Schema& schema, const Node& request, int32_t default_operation, std::shared_ptr<Arena> arena);

/// The tree to walk: a copy in which no node carries ZPF_OP_NONE.
Tree walkable(const Node& normalised, std::shared_ptr<Arena> arena);

/// True when an operation in the request demands that something is there, or is not.
bool has_demands(const Node& normalised, int32_t default_operation);

/**
 * Compares delete (must be there), create (must not be there) and, under default-operation none, the ancestors of
 * operations (must be there) with the client's view of the configuration. First violation or nothing.
 */
std::optional<Refusal> find_unmet_demand(const Schema& schema, const Node& normalised, const Node& view,
                                         int32_t default_operation);

} // namespace zpf
