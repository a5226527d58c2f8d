// SPDX-License-Identifier: Apache-2.0
//
// Who allocates: every call of the C library's allocator while a piece of work runs is put down to the nearest of our
// own libraries on the call stack. A call that the plug-in makes by way of the C or C++ library is the plug-in's; one
// that it makes by way of a framework operation is the framework's.
#pragma once

#include <cstddef>
#include <functional>

namespace zpf::bench {

struct Allocations {
    std::size_t by_plugin = 0;
    std::size_t by_framework = 0;
    std::size_t by_program = 0; ///< none of our libraries is on the stack
    std::size_t bytes = 0;      ///< asked for, by all of them
};

/// Runs the work once on this thread and counts. Throws when the libraries are not loaded.
Allocations count_allocations(const std::function<void()>& work);

/// Throws when the count would miss what it is there to find: calls of every kind from a function that is known.
void check_that_allocations_are_counted();

} // namespace zpf::bench
