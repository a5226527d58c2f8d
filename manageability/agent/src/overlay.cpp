// SPDX-License-Identifier: Apache-2.0
//
// Two sorted sequences as one: the store's records, and the changes over them.
#include "overlay.hpp"

namespace zpf::agent {

std::optional<std::string_view> Overlay::get(std::string_view key) const
{
    if (const auto found = changes_.find(key); found != changes_.end()) {
        return found->second ? std::optional<std::string_view>{*found->second} : std::nullopt;
    }
    return base_.get(key);
}

void Overlay::scan_from(std::string_view prefix, std::string_view first_key, kelda::Visitor visit) const
{
    auto change = changes_.lower_bound(std::max(prefix, first_key));
    const auto at_end = [&] { return change == changes_.end() || !change->first.starts_with(prefix); };
    bool go_on = true;
    base_.scan_from(prefix, first_key, [&](std::string_view key, std::string_view value) {
        for (; !at_end() && change->first < key; ++change) {
            if (change->second && !visit(change->first, *change->second)) {
                return go_on = false;
            }
        }
        if (!at_end() && change->first == key) {
            const auto& replaced = (change++)->second;
            return go_on = !replaced || visit(key, *replaced);
        }
        return go_on = visit(key, value);
    });
    for (; go_on && !at_end(); ++change) {
        go_on = !change->second || visit(change->first, *change->second);
    }
}

kelda::Changes differences(const kelda::Reader& base, const ChangeMap& changes)
{
    kelda::Changes made;
    for (const auto& [key, after] : changes) {
        const auto before = base.get(key);
        if (before != after) {
            made.push_back({key, before ? std::optional<std::string>{*before} : std::nullopt, after});
        }
    }
    return made;
}

} // namespace zpf::agent
