// SPDX-License-Identifier: Apache-2.0
//
// `zpf trace`: the lines of a trace ring, newest last.
#pragma once

#include <cstdint>
#include <functional>
#include <iostream>
#include <optional>
#include <string>

namespace zpf::cli {

struct TraceOptions {
    std::string file;
    bool follow = false;                              ///< Goes on with new lines until a signal ends it.
    bool json = false;                                ///< One JSON object a line.
    std::optional<std::uint64_t> last = std::nullopt; ///< At most so many of the lines that are there.
    std::function<bool()> goes_on = {};               ///< Asked while it follows; false ends it. Empty: for ever.
    std::string grep = {};                            ///< Only lines with this text in them; empty admits all.
};

/**
 * Prints a trace ring.
 * @return exit status: 0 done, 1 the output could not be written, 2 no file named, 3 the file is no trace ring
 */
int run_trace(const TraceOptions& options, std::ostream& out = std::cout, std::ostream& err = std::cerr);

} // namespace zpf::cli
