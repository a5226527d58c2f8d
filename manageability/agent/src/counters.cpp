// SPDX-License-Identifier: Apache-2.0
//
// Counters by name.
#include "counters.hpp"

namespace zpf::agent {

void Counters::count_request(std::string_view operation, bool done)
{
    const std::lock_guard lock(mutex_);
    auto found = requests_.find(operation);
    if (found == requests_.end()) {
        found = requests_.emplace(operation, OperationCount{}).first;
    }
    ++(done ? found->second.done : found->second.refused);
}

void Counters::count_refusal(std::string_view tag)
{
    const std::lock_guard lock(mutex_);
    auto found = refusals_.find(tag);
    if (found == refusals_.end()) {
        found = refusals_.emplace(tag, 0).first;
    }
    ++found->second;
}

std::map<std::string, OperationCount, std::less<>> Counters::requests() const
{
    const std::lock_guard lock(mutex_);
    return requests_;
}

std::map<std::string, uint64_t, std::less<>> Counters::refusals() const
{
    const std::lock_guard lock(mutex_);
    return refusals_;
}

} // namespace zpf::agent
