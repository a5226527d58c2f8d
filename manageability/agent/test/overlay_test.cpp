// SPDX-License-Identifier: Apache-2.0
//
// The store with changes over it, against a map that has them in it.
#include "overlay.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace {

using namespace zpf::agent;

class MapReader final : public kelda::Reader {
public:
    std::map<std::string, std::string, std::less<>> records;

    std::optional<std::string_view> get(std::string_view key) const override
    {
        const auto found = records.find(key);
        return found == records.end() ? std::nullopt : std::optional<std::string_view>{found->second};
    }
    void scan_from(std::string_view prefix, std::string_view first, kelda::Visitor visit) const override
    {
        for (auto at = records.lower_bound(std::max(prefix, first)); at != records.end(); ++at) {
            if (!at->first.starts_with(prefix) || !visit(at->first, at->second)) {
                return;
            }
        }
    }
};

std::vector<std::pair<std::string, std::string>> scanned(const kelda::Reader& reader, const std::string& prefix,
                                                         const std::string& first, std::size_t most)
{
    std::vector<std::pair<std::string, std::string>> seen;
    reader.scan_from(prefix, first, [&](std::string_view key, std::string_view value) {
        seen.emplace_back(key, value);
        return seen.size() < most;
    });
    return seen;
}

TEST(Overlay, ShowsWhatTheStoreWouldHold)
{
    std::mt19937 random(3);
    const auto key = [&] { return "/" + std::string(1, "abc"[random() % 3]) + std::to_string(random() % 30); };
    for (int round = 0; round < 200; ++round) {
        MapReader base;
        for (int i = 0; i < 20; ++i) {
            base.records[key()] = std::to_string(random() % 5);
        }
        ChangeMap changes;
        MapReader expected;
        expected.records = base.records;
        for (int i = 0; i < 20; ++i) {
            const std::string changed = key();
            if (random() % 2 == 0) {
                changes[changed] = std::nullopt;
                expected.records.erase(changed);
            } else {
                const std::string value = std::to_string(random() % 5);
                changes[changed] = value;
                expected.records[changed] = value;
            }
        }
        const Overlay overlay(base, changes);
        for (const char* prefix : {"/", "/a", "/b1", "/x"}) {
            const std::string first = key();
            const std::size_t most = 1 + random() % 40;
            EXPECT_EQ(scanned(overlay, prefix, first, most), scanned(expected, prefix, first, most));
        }
        const std::string asked = key();
        EXPECT_EQ(overlay.get(asked), expected.get(asked));
        for (const kelda::Change& change : differences(base, changes)) {
            EXPECT_EQ(base.get(change.key), change.before);
            EXPECT_EQ(expected.get(change.key), change.after);
            EXPECT_NE(change.before, change.after);
        }
    }
}

} // namespace
