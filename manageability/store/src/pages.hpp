// SPDX-License-Identifier: Apache-2.0
//
// Looks a database file over before the database maps it. The database trusts its file: a wrecked page would end the
// process, so what can be told from the bytes is told here first.
#pragma once

#include <cstdint>
#include <string>

#include "page_layout.hpp"

namespace kelda::detail {

enum class PagesToLookAt {
    header, ///< the two pages that say what the file is and its size: all that can be trusted beside a writer
    first,  ///< the trees as well, from their roots down, up to 4096 pages (all of them in a file that may be cut)
    all,    ///< every page in use
};

struct LookedAt {
    std::uint64_t pages = 0;
    bool is_of_this_version = false; ///< all pages there are were looked at, and the records add up to their digest
};

/// Throws StoreError: missing, damaged, version, or what the system says. For another version of the format than this
/// one, of which only who opens the file complains, there is no digest to look for.
LookedAt require_sound_file(const std::string& file, PagesToLookAt which, Commit commit = Commit::last,
                            bool has_digest = true);

} // namespace kelda::detail
