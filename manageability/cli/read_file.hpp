// SPDX-License-Identifier: Apache-2.0
//
// Whole files, or standard input.
#pragma once

#include <string>

namespace zpf::cli {

/// Contents of the file; "-" is standard input. Throws Failure naming the file and the reason.
std::string read_file(const std::string& file);

} // namespace zpf::cli
