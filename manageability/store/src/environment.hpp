// SPDX-License-Identifier: Apache-2.0
//
// Owners of the database's handles, and the one way to walk records.
#pragma once

#include <lmdb.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "digest.hpp"
#include "kelda/reader.hpp"

namespace kelda::detail {

struct AbortTxn {
    void operator()(MDB_txn* txn) const noexcept { mdb_txn_abort(txn); }
};
using TxnPtr = std::unique_ptr<MDB_txn, AbortTxn>;

struct CloseCursor {
    void operator()(MDB_cursor* cursor) const noexcept { mdb_cursor_close(cursor); }
};
using CursorPtr = std::unique_ptr<MDB_cursor, CloseCursor>;

/// One database file: named database "records" with the records, and "meta" with name and version of the format; beside
/// them, in the durable branch's, the digest of the records.
class Environment {
public:
    enum class Use { read, write, make };
    /// Opens the file at `path`, or makes it. `map_bytes` 0 takes what the file says. Throws StoreError.
    Environment(std::string path, Use use, unsigned flags, std::size_t map_bytes);

    const std::string& path() const { return path_; }
    MDB_env* raw() const { return env_.get(); }
    MDB_dbi records() const { return records_; }
    /// Number of the last commit.
    std::uint64_t last_commit() const;

    TxnPtr begin(unsigned flags) const;
    /// Gives the file the length that it says it has, if it can. To be called after each commit.
    void lengthen() noexcept;

    /// Of the records. Throws StoreError when there is none.
    Digest digest(MDB_txn* txn) const;
    /// To be called in each transaction that changes anything.
    void set_digest(MDB_txn* txn, const Digest& digest) const;

private:
    struct Close {
        void operator()(MDB_env* env) const noexcept { mdb_env_close(env); }
    };
    void open_databases(Use use);

    std::string path_;
    std::unique_ptr<MDB_env, Close> env_;
    MDB_dbi tables_ = 0;
    MDB_dbi records_ = 0;
    std::uint64_t length_ = 0; ///< of the file, as last seen: it never gets shorter
};

inline MDB_val to_val(std::string_view text)
{
    return {text.size(), const_cast<char*>(text.data())}; // LMDB takes, but does not change, what it is given
}
inline std::string_view to_view(const MDB_val& value)
{
    return {static_cast<const char*>(value.mv_data), value.mv_size};
}

std::optional<std::string_view> get_record(MDB_txn* txn, const Environment& env, std::string_view key);

/// Where a walk goes: keys that begin with `prefix`, from `first` (inclusive), up to `end` (exclusive; empty: no end).
struct Range {
    std::string_view prefix;
    std::string_view first;
    std::string_view end = {};
};

/// False when the visitor ended the walk.
bool walk_records(MDB_txn* txn, const Environment& env, const Range& range, Visitor visit);

} // namespace kelda::detail
