// SPDX-License-Identifier: Apache-2.0
//
// Names in a shared library's dynamic symbol table, read from the file: a library cannot be asked for them.
#pragma once

#include <string>
#include <vector>

#include "zpf_map/plugin.hpp"

namespace zpf {

/// Defined global and weak symbols, sorted by name, without addresses. Throws Failure for a file that is no shared
/// library.
std::vector<ExportedSymbol> read_exports(const std::string& file);

} // namespace zpf
