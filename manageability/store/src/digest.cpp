// SPDX-License-Identifier: Apache-2.0
//
// Sums of 128 bits as two of 64 that know nothing of each other: a carry would not make them any better.
#include "digest.hpp"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <endian.h>

#include <array>
#include <cstring>

namespace kelda::detail {

namespace {

using Record = std::array<std::uint64_t, 3>;

XXH128_hash_t hash_of(std::string_view key, std::string_view value)
{
    return XXH3_128bits_withSeed(value.data(), value.size(), XXH3_64bits(key.data(), key.size()));
}

} // namespace

void Digest::add(std::string_view key, std::string_view value)
{
    const XXH128_hash_t hash = hash_of(key, value);
    low_ += hash.low64;
    high_ += hash.high64;
}

void Digest::remove(std::string_view key, std::string_view value)
{
    const XXH128_hash_t hash = hash_of(key, value);
    low_ -= hash.low64;
    high_ -= hash.high64;
}

std::string Digest::record(std::uint64_t commit) const
{
    const Record record{htole64(low_), htole64(high_), htole64(commit)};
    return {reinterpret_cast<const char*>(record.data()), sizeof record};
}

std::optional<Digest> Digest::from_record(std::string_view bytes)
{
    Record record{};
    if (bytes.size() != sizeof record) {
        return std::nullopt;
    }
    std::memcpy(record.data(), bytes.data(), sizeof record);
    Digest digest;
    digest.low_ = le64toh(record[0]);
    digest.high_ = le64toh(record[1]);
    return digest;
}

} // namespace kelda::detail
