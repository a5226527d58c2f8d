// SPDX-License-Identifier: Apache-2.0
//
// Who wants to hear of commits.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "kelda/store.hpp"

namespace kelda::detail {

class Subscriber {
public:
    Subscriber(std::string prefix, Subscribed call) : prefix_{std::move(prefix)}, call_{std::move(call)} {}

    /// Calls, if any of the changes is under the prefix and end() has not been called.
    void tell(const Changes& changes) noexcept;
    /// Waits for a call under way, unless it is this very call that ends it.
    void end() noexcept;

private:
    std::string prefix_;
    Subscribed call_;
    std::recursive_mutex mutex_;
    bool is_ended_ = false;
};

class Subscribers {
public:
    void add(std::shared_ptr<Subscriber> subscriber);
    void remove(const std::shared_ptr<Subscriber>& subscriber) noexcept;
    bool any() const { return count_.load(std::memory_order_relaxed) != 0; }
    void tell(const Changes& changes) noexcept;

private:
    std::mutex mutex_;
    std::vector<std::shared_ptr<Subscriber>> all_;
    std::atomic<std::size_t> count_{0};
};

} // namespace kelda::detail
