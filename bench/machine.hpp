// SPDX-License-Identifier: Apache-2.0
//
// The machine and the build that figures belong to.
#pragma once

#include <string>

namespace zpf::bench {

/// One sentence: processor, cores, memory, kernel, compiler, build type, libyang.
std::string machine_description();

} // namespace zpf::bench
