// SPDX-License-Identifier: Apache-2.0
//
// Compares two data trees and finds a difference that the user may not make.
#pragma once

#include "data_access.hpp"

namespace zpf::agent {

class WriteCheck {
public:
    explicit WriteCheck(const DataAccess& access) : access_(access) {}

    /// The first node among the siblings (in `scope`) or below them whose creation, change, move or deletion is not
    /// permitted; null if there is none. Each argument is the first of its siblings, or null.
    const lyd_node* find_refused(const lyd_node* before, const lyd_node* after, const Scope& scope);

private:
    struct Level;
    class Matcher;

    const lyd_node* compare(const lyd_node* before, const lyd_node* after, Level& level);
    const lyd_node* compare_node(const lyd_node* before, const lyd_node* after, Level& level);
    const lyd_node* compare_order(const lysc_node& list, const lyd_node* before, const lyd_node* after, Level& level);
    bool permits(Level& level, const lyd_node& node, Access access);
    const Scope& scope_of(Level& level);

    const DataAccess& access_;
};

} // namespace zpf::agent
