// SPDX-License-Identifier: Apache-2.0
//
// Where the program finds what comes with it. Build tree and installation have the same shape, so both are found from
// the place of the program itself.
#pragma once

#include <string>

namespace zpf::cli {

/// The attenuator plug-in that came with this program.
std::string default_plugin();

/// The folder of YANG modules that came with this program.
std::string default_yang_dir();

} // namespace zpf::cli
