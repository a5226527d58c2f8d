// SPDX-License-Identifier: Apache-2.0
//
// Small files that hold secrets: keys that are made once and read at every start.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace zpf::agent {

/** The file's text; nothing when there is no such file. Throws std::runtime_error when it cannot be read, is no
 * ordinary file, is larger than 1 MiB, or gives one of the permissions in `forbidden` (such as 0077). */
std::optional<std::string> read_file(const std::string& path, mode_t forbidden);

/** Makes the file with exactly this text, for its owner alone unless `mode` says otherwise. It appears whole or not at
 * all, also over a power cut; one that exists is left as it is. Throws std::runtime_error. */
void write_new_file(const std::string& path, const std::string& text, mode_t mode = 0600);

} // namespace zpf::agent
