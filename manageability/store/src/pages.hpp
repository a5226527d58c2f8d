// SPDX-License-Identifier: Apache-2.0
//
// Looks a database file over before the database maps it. The database trusts its file: a wrecked page would end the
// process, so what can be told from the bytes is told here first.
#pragma once

#include <cstdint>
#include <string>

namespace kelda::detail {

enum class PagesToLookAt {
    header, ///< the two pages that say what the file is: all that can be trusted beside a writer
    first,  ///< the trees as well, from their roots down, up to 4096 pages
    all,    ///< every page in use
};

/// Returns how many pages of the trees it has looked at. Throws StoreError: missing, damaged, version, or what the
/// system says.
std::uint64_t require_sound_file(const std::string& file, PagesToLookAt which);

} // namespace kelda::detail
