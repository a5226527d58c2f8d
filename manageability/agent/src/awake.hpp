// SPDX-License-Identifier: Apache-2.0
//
// Staying awake for clients that come back at once.
#pragma once

#include <chrono>

namespace zpf::agent {

/// How long a thread looks for more to do before it sleeps. Putting a processor to sleep and waking it takes about half
/// of this, longer than a quick client needs for its next request.
inline constexpr std::chrono::microseconds kMostAwake{100};

/// The same for the outcome of the only request under way: long enough for an edit, of which most is the wait for a
/// quick disk. With several under way their work keeps the processors awake.
inline constexpr std::chrono::microseconds kMostAwakeForOne{500};

} // namespace zpf::agent
