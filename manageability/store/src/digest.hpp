// SPDX-License-Identifier: Apache-2.0
//
// A digest of all records of the durable branch, kept in the store and carried along by each commit. By it an opening
// tells a commit that is whole on disk from one that a power cut has torn, and damage inside values is found.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kelda::detail {

/// The sum of the hashes of the records: what is in the store decides it, not the way there. 128 bits, against
/// accidents; nobody who forges a store is kept from it.
class Digest {
public:
    void add(std::string_view key, std::string_view value);
    void remove(std::string_view key, std::string_view value);

    /// As the store keeps it, with the number of the commit that it was made for: without that, pages of an earlier
    /// commit that are met where the last one's should be would pass, digest and all. Least significant bytes first.
    std::string record(std::uint64_t commit) const;
    /// Nothing when it cannot be a record.
    static std::optional<Digest> from_record(std::string_view record);

private:
    std::uint64_t low_ = 0;
    std::uint64_t high_ = 0;
};

} // namespace kelda::detail
