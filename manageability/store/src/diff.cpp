// SPDX-License-Identifier: Apache-2.0
//
// Comparison of two readers, side by side.
#include <ostream>
#include <utility>
#include <vector>

#include "kelda/tools.hpp"

namespace kelda {

namespace {

/// Records of a reader one after the other, fetched in batches.
class Records {
public:
    explicit Records(const Reader& reader) : reader_{reader} { fetch({}); }

    bool at_end() const { return next_ == batch_.size(); }
    const std::string& key() const { return batch_[next_].first; }
    const std::string& value() const { return batch_[next_].second; }

    void advance()
    {
        if (++next_ == batch_.size()) {
            fetch(batch_.back().first + '\0'); // the first text after that key
        }
    }

private:
    void fetch(const std::string& from)
    {
        constexpr std::size_t kBatch = 1000;
        batch_.clear();
        next_ = 0;
        reader_.scan_from({}, from, [&](std::string_view key, std::string_view value) {
            batch_.emplace_back(key, value);
            return batch_.size() < kBatch;
        });
    }

    const Reader& reader_;
    std::vector<std::pair<std::string, std::string>> batch_;
    std::size_t next_ = 0;
};

} // namespace

std::uint64_t diff(const Reader& before, const Reader& after, FunctionRef<void(const Difference&)> take)
{
    std::uint64_t count = 0;
    Records old{before};
    Records fresh{after};
    while (!old.at_end() || !fresh.at_end()) {
        const bool has_old = !old.at_end() && (fresh.at_end() || old.key() <= fresh.key());
        const bool has_fresh = !fresh.at_end() && (old.at_end() || fresh.key() <= old.key());
        const Difference difference{has_old ? old.key() : fresh.key(),
                                    has_old ? std::optional<std::string_view>{old.value()} : std::nullopt,
                                    has_fresh ? std::optional<std::string_view>{fresh.value()} : std::nullopt};
        if (difference.before != difference.after) {
            ++count;
            take(difference);
        }
        if (has_old) {
            old.advance();
        }
        if (has_fresh) {
            fresh.advance();
        }
    }
    return count;
}

std::uint64_t diff(const Reader& before, const Reader& after, std::ostream& out)
{
    return diff(before, after, [&](const Difference& difference) {
        for (const auto& [sign, value] : {std::pair{'-', difference.before}, std::pair{'+', difference.after}}) {
            if (value) {
                out << sign << escape(difference.key) << '\t' << escape(*value) << '\n';
            }
        }
    });
}

} // namespace kelda
