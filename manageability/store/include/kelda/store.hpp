// SPDX-License-Identifier: Apache-2.0
//
// The data store: hierarchical keys with text values, in two branches.
// The durable branch holds everything that does not begin with kVolatilePrefix and survives power cuts. The volatile
// branch holds what does, is never forced to disk, and is empty each time the store is opened for writing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelda/api.hpp"
#include "kelda/error.hpp"
#include "kelda/reader.hpp"

namespace kelda {

namespace detail {
class Core;
class Subscriber;
class Write;
struct ReadSlot;
} // namespace detail

/// Where the agent keeps its store unless told otherwise.
inline constexpr const char* kDefaultFolder = "/var/lib/zpfd";

/// Keys of the volatile branch begin with this.
inline constexpr std::string_view kVolatilePrefix = "/oper/";

/// Longer keys are refused with StoreError::Kind::too_long.
inline constexpr std::size_t kMaxKeyBytes = 511;

/// Data types that kelda_list_next() reports.
inline constexpr std::int32_t kTypeBranch = 1; ///< records stand below the object; its name ends with "/"
inline constexpr std::int32_t kTypeValue = 2;  ///< the object is a record

/// How far a commit of the durable branch goes before it returns.
enum class Sync {
    full,    ///< What was committed survives a power cut. Readers may see it a moment before it is that safe.
    relaxed, ///< A power cut may undo the last commits, newest first, but never leaves half of one or a damaged file.
             ///< What a process that is killed has committed stays in both.
};

/// Makes operations fail, to test what becomes of failures. Asked before "put", "erase", "commit" and "sync"; of these,
/// a commit that waits for the disk asks for the last two.
struct Faults {
    /// 0 to go on, or an errno or code of the database to fail with just there. Called on the thread of the operation.
    std::function<int(const char* operation)> before;
};

struct Options {
    Sync sync = Sync::full;
    bool create = true;                           ///< Makes the store when the folder is missing or empty.
    bool read_only = false;                       ///< Beside a running agent, too. Creates nothing.
    std::size_t map_bytes = std::size_t{1} << 30; ///< Limit of each branch, up to 2^40; address space until used.
    Faults* faults = nullptr;                     ///< Borrowed; outlives the store.
};

/// What a commit did to a record. Absent before: added; absent after: removed.
struct Change {
    std::string key;
    std::optional<std::string> before;
    std::optional<std::string> after;
};
/// In byte order of the keys, each once; records that were written but are as before are left out.
using Changes = std::vector<Change>;

/**
 * A consistent view of each branch, unmoved by later commits. Cheap to take and to drop; a long-lived one keeps the
 * space of records that were overwritten meanwhile from being used again. May be handed from thread to thread, but is
 * used on one at a time. Outlives the Store object if need be.
 */
class KELDA_API Snapshot final : public Reader {
public:
    Snapshot(Snapshot&&) noexcept;
    Snapshot& operator=(Snapshot&&) noexcept;
    ~Snapshot() override;

    std::optional<std::string_view> get(std::string_view key) const override;
    void scan_from(std::string_view prefix, std::string_view first_key, Visitor visit) const override;

    /// Number of the last commit of the durable branch that it sees.
    std::uint64_t generation() const;
    /// The same of the volatile branch; 0 when there is none.
    std::uint64_t volatile_generation() const;

private:
    friend class Store;
    Snapshot(std::shared_ptr<detail::Core> core, std::unique_ptr<detail::ReadSlot> slot);
    void give_back() noexcept;

    std::shared_ptr<detail::Core> core_;
    std::unique_ptr<detail::ReadSlot> slot_;
};

/**
 * Changes of one branch that are applied together or not at all. Reads see that branch only, with the own changes.
 * Used and ended on the thread that began it. Dropped when destroyed uncommitted.
 */
class KELDA_API Transaction final : public Reader {
public:
    Transaction(Transaction&&) noexcept;
    Transaction& operator=(Transaction&&) noexcept;
    ~Transaction() override;

    std::optional<std::string_view> get(std::string_view key) const override;
    void scan_from(std::string_view prefix, std::string_view first_key, Visitor visit) const override;

    // These throw StoreError, after which the transaction can only be dropped (but for a key that is too long: then it
    // is as before), and std::invalid_argument for an empty key or one of the other branch.

    void put(std::string_view key, std::string_view value);
    /// False when there was no such record.
    bool erase(std::string_view key);
    /// Removes every record whose key begins with `prefix`. Returns how many there were.
    std::size_t erase_all(std::string_view prefix);

    /// Applies the changes, waits until they are as safe as the store's Sync says, and calls the subscribers. Throws
    /// StoreError when nothing was applied, or when it was taken back because the disk failed. The transaction is over
    /// in all cases.
    void commit();

private:
    friend class Store;
    explicit Transaction(std::unique_ptr<detail::Write> write);
    detail::Write& open_write() const;

    std::unique_ptr<detail::Write> write_;
};

/// Unsubscribes when destroyed: no call begins after that, and one under way in another thread is waited for.
class KELDA_API Subscription {
public:
    Subscription() = default;
    Subscription(Subscription&&) noexcept;
    Subscription& operator=(Subscription&&) noexcept;
    ~Subscription();

private:
    friend class Store;
    Subscription(std::shared_ptr<detail::Core> core, std::shared_ptr<detail::Subscriber> subscriber);
    void end() noexcept;

    std::shared_ptr<detail::Core> core_;
    std::shared_ptr<detail::Subscriber> subscriber_;
};

/// Called with the changes under the prefix. Must not throw (the process would end) nor begin a transaction of the same
/// branch.
using Subscribed = std::function<void(const Changes&)>;

struct Stat {
    std::uint64_t records = 0;          ///< of the durable branch
    std::uint64_t volatile_records = 0; ///< of the volatile branch
    std::uint64_t bytes_used = 0;       ///< of the durable branch's file, without what is free for later records
    std::uint64_t bytes_of_file = 0;    ///< of the durable branch's file
    std::uint64_t map_bytes = 0;        ///< what the file may grow to
};

/**
 * An open store. All members may be called from any thread.
 * Only one process at a time may open a folder for writing; any number may read beside it. A process opens a folder
 * once.
 */
class KELDA_API Store {
public:
    /// Opens the store in `folder`. Throws StoreError; never makes anew what should be there.
    static Store open(const std::string& folder, const Options& options = {});

    Store(Store&&) noexcept;
    Store& operator=(Store&&) noexcept;
    ~Store();

    const std::string& folder() const;
    /// Whether open() made it.
    bool created() const;
    /// What open() undid because a power cut had cut it short, in words; empty: nothing.
    const std::string& undone() const;

    /// Takes well under a microsecond once as many snapshots as are used at the same time have been taken.
    /// Throws StoreError.
    Snapshot snapshot() const;

    /// Begins changes of the durable branch; waits for the transaction of another thread. Throws StoreError.
    Transaction write();
    /// The same for the volatile branch.
    Transaction write_volatile();

    /// Grows with each commit that changed the durable branch.
    std::uint64_t generation() const;

    /// Calls `subscriber` after each commit that changed records under `prefix`, in the committing thread, in the order
    /// of the commits of a branch. Hears of transactions that begin after this call.
    [[nodiscard]] Subscription subscribe(std::string prefix, Subscribed subscriber);

    /// Forces what relaxed commits wrote to disk. Throws StoreError.
    void sync();

    Stat stat() const;

private:
    explicit Store(std::shared_ptr<detail::Core> core);

    std::shared_ptr<detail::Core> core_;
};

/**
 * Makes an open store the one that plug-ins of this process reach through kelda/kelda.h; null takes it back and waits
 * for their calls under way. Borrowed: to be taken back before the store ends. Without one, plug-ins reach the folder
 * named by the environment variable KELDA_STORE (default: kDefaultFolder), read only.
 */
KELDA_API void set_process_store(Store* store);

} // namespace kelda
