// SPDX-License-Identifier: Apache-2.0
//
// Keeps the whole run within its time, ends it when it is interrupted, and tells a person at a terminal how far it is.
#pragma once

#include <chrono>
#include <string>

namespace zpf::bench {

using Clock = std::chrono::steady_clock;

class Watch {
public:
    /// Takes SIGINT and SIGTERM over: check() throws after one, so that everything started is stopped in order.
    explicit Watch(std::chrono::seconds limit);

    /// Throws std::runtime_error when the time is used up or the run was interrupted.
    void check() const;
    /// Sleeps, however long the rest of the run may take. Throws as check().
    void sleep(std::chrono::milliseconds time) const;
    /// Shows what is done now, if standard error is a terminal.
    void show(const std::string& step) const;
    /// Takes the last step off the screen.
    void clear() const;

    static bool interrupted();

private:
    std::chrono::seconds limit_;
    Clock::time_point begin_ = Clock::now();
    bool terminal_;
};

} // namespace zpf::bench
