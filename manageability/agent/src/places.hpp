// SPDX-License-Identifier: Apache-2.0
//
// Where the agent finds what comes with it, unless told otherwise.
#pragma once

#include "options.hpp"

namespace zpf::agent {

/// Fills in the folders that were not given.
void fill_places(Options& options);

} // namespace zpf::agent
