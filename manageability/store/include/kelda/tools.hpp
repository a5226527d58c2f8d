// SPDX-License-Identifier: Apache-2.0
//
// What is done to a whole store by hand: dump, load, check, compact, compare.
//
// A dump is a text of ASCII characters: a first line "kelda-dump 1"; a line for each record, key and value separated by
// a tab, sorted by key in byte order; a last line "end N" with the number of records. Backslash, tab, line end, and
// every byte that is no printable ASCII character stand as \\, \t, \n, and \xHH with two hexadecimal digits.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "kelda/store.hpp"

namespace kelda {

/// Text as a dump has it.
KELDA_API std::string escape(std::string_view text);

/// A dump that cannot be read back; what() names the line.
class KELDA_API BadDump : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Writes the records whose keys begin with `prefix`. Returns how many. Whether all could be written tells the stream.
KELDA_API std::uint64_t dump(const Reader& reader, std::ostream& out, std::string_view prefix = {});

enum class LoadMode {
    replace, ///< the store has afterwards what the dump has and nothing else
    merge,   ///< records that the dump does not name stay
};

/// Reads a dump record by record. Returns how many there were. Throws BadDump; what was read by then is not to be
/// trusted.
KELDA_API std::uint64_t read_dump(std::istream& in,
                                  FunctionRef<void(std::string_view key, std::string_view value)> take);

/// Reads a dump into the store, each record into its branch: all of it or, when it throws BadDump or StoreError,
/// nothing. Returns how many records there were.
KELDA_API std::uint64_t load(Store& store, std::istream& in, LoadMode mode);

struct CheckReport {
    bool is_sound = false;
    std::string problem;       ///< what is wrong, unless it is sound
    bool is_written = false;   ///< somebody writes it: its pages were not looked at one by one, its records were read
    std::uint64_t pages = 0;   ///< looked at one by one
    std::uint64_t records = 0; ///< read, of the durable branch
    std::uint64_t value_bytes = 0; ///< of them
};

/// Reads all of a store in a child process, so that no damage can end the caller; works beside an agent. Throws
/// StoreError when it cannot be looked at (missing, no right to read). To be called while no other thread runs, since
/// it forks.
KELDA_API CheckReport check(const std::string& folder);

struct Compacted {
    std::uint64_t bytes_before = 0;
    std::uint64_t bytes_after = 0;
    std::string undone; ///< what a power cut had cut short and is undone, in words; empty: nothing
};

/// Rewrites the durable branch's file without its free pages. Nobody else may have the store open. Who is killed
/// meanwhile leaves the old file or the new one. Throws StoreError.
KELDA_API Compacted compact(const std::string& folder);

/// A record that two readers have not alike. The views are good during the call.
struct Difference {
    std::string_view key;
    std::optional<std::string_view> before;
    std::optional<std::string_view> after;
};

/// Calls `take` for each difference, in order of the keys. Returns how many there were.
KELDA_API std::uint64_t diff(const Reader& before, const Reader& after, FunctionRef<void(const Difference&)> take);

/// Writes a line for each record that only `before` ("-") or only `after` ("+") has, keys and values as in a dump; a
/// changed record is both. Returns how many records differ.
KELDA_API std::uint64_t diff(const Reader& before, const Reader& after, std::ostream& out);

} // namespace kelda
