// SPDX-License-Identifier: Apache-2.0
//
// A program with counted_new.cpp sees what its libraries allocate with operator new, and can refuse it.
#pragma once

#include <cstddef>

namespace zpf::test {

extern constinit thread_local std::size_t news_of_thread; ///< Calls of any operator new so far.
extern constinit thread_local bool refuse_news;           ///< While set, the nothrow operators give null.

} // namespace zpf::test
