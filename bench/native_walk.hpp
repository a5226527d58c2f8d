// SPDX-License-Identifier: Apache-2.0
//
// A walk over the configuration of interfaces that are no attenuators: on a large device nearly all of them.
#pragma once

#include <cstddef>

#include "zpf_map/context.hpp"
#include "zpf_map/driver.hpp"

namespace zpf::bench {

class NativeWalk {
public:
    /// Interfaces with random Ethernet names and OTS ports without attenuator; always the same ones.
    explicit NativeWalk(std::size_t entries);

    /// Walks all entries in a get of everything. @return the walker's result, or ZPF_RC_BAD_TREE when it added anything
    qerrno run();

private:
    Context context_;
    Tree nothing_asked_;
    Tree native_;
    Node* top_ = nullptr;
    Walker walk_ = nullptr;
};

} // namespace zpf::bench
