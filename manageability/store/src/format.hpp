// SPDX-License-Identifier: Apache-2.0
//
// Names of the store's files, and what its format is called. See the folder's README for what each file is for.
#pragma once

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

/// Stands beside the named databases, on a page that each commit writes anyway.
inline constexpr std::string_view kDigestKey = "digest";
inline constexpr std::string_view kRecordsTable = "records";
inline constexpr std::string_view kMetaTable = "meta";

} // namespace kelda::detail
