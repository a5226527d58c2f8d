// SPDX-License-Identifier: Apache-2.0
//
// Names of the store's files, and what its format is called. See the folder's README for what each file is for.
#pragma once

#include <cstdint>
#include <string_view>

#include "kelda/store.hpp"

namespace kelda::detail {

inline constexpr const char* kDataFile = "data.mdb";
inline constexpr const char* kDataLockFile = "data.mdb-lock";
inline constexpr const char* kNewDataFile = "data.mdb.new";
inline constexpr const char* kVolatileFile = "oper.mdb";
inline constexpr const char* kVolatileLockFile = "oper.mdb-lock";
inline constexpr const char* kWriterFile = "lock";

inline constexpr std::string_view kFormatKey = "format";
inline constexpr std::string_view kFormatName = "kelda";
inline constexpr std::string_view kVersionKey = "version";
inline constexpr std::string_view kFormatVersion = "2"; // 1 had no digest

/// What a file may grow to, at most: far more than any device has to keep, and a small part of the address space
/// of 47 bits that a process usually has. A header that says more is wrecked.
inline constexpr std::uint64_t kMaxMapBytes = std::uint64_t{1} << 40;

/// Stands beside the named databases, on a page that each commit writes anyway.
inline constexpr std::string_view kDigestKey = "digest";
inline constexpr std::string_view kRecordsTable = "records";
inline constexpr std::string_view kMetaTable = "meta";

} // namespace kelda::detail
