// SPDX-License-Identifier: Apache-2.0
//
// Takes out of a reply what the user may not read.
#pragma once

#include <deque>

#include "data_access.hpp"

namespace zpf::agent {

class Pruner {
public:
    explicit Pruner(const DataAccess& access) : access_(access) {}

    /// Frees unreadable nodes among the siblings that begin with `first`, in `scope`, and below them.
    /// Returns the first that is left, or null.
    lyd_node* prune(lyd_node* first, const Scope& scope);

private:
    bool keep(lyd_node& node, const Scope& scope);
    Scope& scratch(std::size_t depth);

    const DataAccess& access_;
    std::deque<Scope> scratch_; ///< one scope for each depth, used over and over; references stay good as it grows
};

} // namespace zpf::agent
