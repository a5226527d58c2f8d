// SPDX-License-Identifier: Apache-2.0
//
// What is wrong with a file that came from outside: which one, where, what.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace zpf::bridge {

class BadInput : public std::runtime_error {
public:
    /// @param line 1-based, or 0 where none can be told; @param path data path, or empty
    BadInput(const std::string& source, std::size_t line, const std::string& path, const std::string& reason)
        : std::runtime_error(source + (line > 0 ? ":" + std::to_string(line) : std::string{}) + ": " +
                             (path.empty() ? std::string{} : path + ": ") + reason),
          line_(line)
    {}

    std::size_t line() const { return line_; }

private:
    std::size_t line_;
};

} // namespace zpf::bridge
