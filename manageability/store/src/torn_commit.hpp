// SPDX-License-Identifier: Apache-2.0
//
// A power cut while a commit waits for the disk leaves any part of what the commit has written. The commit before is
// whole then: it was on disk before this one began, and the database writes neither over its pages nor over its header.
// Nobody has been told yet of the commit that was cut.
#pragma once

#include <cstdint>
#include <string>

namespace kelda::detail {

/// Looks at all of the last commit. When it is not whole and the one before is, makes that the last one, on disk.
/// Returns what was done, in words; empty: nothing. Throws StoreError when neither is whole.
/// Nobody else may have the file open.
std::string undo_torn_commit(const std::string& file);

/// The same look by who must not write. Throws StoreError that says what to do when the last commit is not whole.
void require_no_torn_commit(const std::string& file);

/// Makes the commit before number `commit` the last one, in the file as processes see it, not on disk. To be followed
/// by no other commit while anybody who has seen `commit` has the file open.
void take_back_commit(int fd, std::size_t page_bytes, std::uint64_t commit, const std::string& file);

} // namespace kelda::detail
