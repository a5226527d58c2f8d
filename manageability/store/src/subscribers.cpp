// SPDX-License-Identifier: Apache-2.0
//
// Telling subscribers. A subscriber's own mutex is held during its call and not the list's, so that calls may subscribe
// and unsubscribe.
#include "subscribers.hpp"

#include <algorithm>

namespace kelda::detail {

void Subscriber::tell(const Changes& changes) noexcept
{
    const auto first = std::ranges::lower_bound(changes, prefix_, {}, &Change::key);
    const auto last = std::find_if(first, changes.end(), [&](const Change& c) { return !c.key.starts_with(prefix_); });
    if (first == last) {
        return;
    }
    const std::lock_guard guard{mutex_};
    if (is_ended_) {
        return;
    }
    if (first == changes.begin() && last == changes.end()) {
        call_(changes);
    } else {
        call_(Changes(first, last));
    }
}

void Subscriber::end() noexcept
{
    const std::lock_guard guard{mutex_};
    is_ended_ = true;
}

void Subscribers::add(std::shared_ptr<Subscriber> subscriber)
{
    const std::lock_guard guard{mutex_};
    all_.push_back(std::move(subscriber));
    count_ = all_.size();
}

void Subscribers::remove(const std::shared_ptr<Subscriber>& subscriber) noexcept
{
    const std::lock_guard guard{mutex_};
    std::erase(all_, subscriber);
    count_ = all_.size();
}

void Subscribers::tell(const Changes& changes) noexcept
{
    std::vector<std::shared_ptr<Subscriber>> present;
    {
        const std::lock_guard guard{mutex_};
        present = all_;
    }
    for (const auto& subscriber : present) {
        subscriber->tell(changes);
    }
}

} // namespace kelda::detail
