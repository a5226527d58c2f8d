// SPDX-License-Identifier: Apache-2.0
//
// An open store as its snapshots, transactions and subscriptions share it.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "environment.hpp"
#include "folder.hpp"
#include "kelda/store.hpp"
#include "subscribers.hpp"

namespace kelda::detail {

/// A pair of read transactions, used again and again: to begin one anew costs a system call, to renew one does not.
struct ReadSlot {
    TxnPtr durable;
    TxnPtr of_volatile;           ///< null when the store has no volatile branch
    std::uint64_t epoch = 0;      ///< of the core, when it began to read
    std::uint64_t generation = 0; ///< of the durable branch
};

class Core {
public:
    Core(const std::string& folder, const Options& options);
    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;
    ~Core();

    std::unique_ptr<ReadSlot> take_slot();
    void give_back(std::unique_ptr<ReadSlot> slot) noexcept;
    /// The code to fail with, or 0.
    int fault(const char* operation) const;

    const Folder& folder() const { return folder_; }
    const Options& options() const { return options_; }
    bool created() const { return is_created_; }
    const std::string& undone() const { return undone_; }
    const Environment& durable() const { return *durable_; }
    /// Null when there is none: the store was opened read only and no agent has run since it was made.
    const Environment* of_volatile() const { return volatile_ ? &*volatile_ : nullptr; }
    std::mutex& durable_writer() { return durable_writer_; }
    std::mutex& volatile_writer() { return volatile_writer_; }
    Subscribers& subscribers() { return subscribers_; }

    /// Begins changes of the durable branch. To be called, as commit_durable(), by who holds the writer's mutex.
    TxnPtr begin_durable_changes();
    /// Commits them and waits until they are as safe as the options say. Returns the database's code when nothing was
    /// committed. When the disk fails afterwards, takes the commit back, so that nobody reads it any longer, and throws
    /// StoreError.
    int commit_durable(TxnPtr txn);
    /// A number for what is seen by who begins to read `commit` in an epoch: the number of a commit that was taken back
    /// stays taken.
    static std::uint64_t generation(std::uint64_t commit, std::uint64_t epoch);
    std::uint64_t epoch() const { return epoch_; }

private:
    void make_data_file() const;
    void look_over(const std::string& file);
    void open_durable();
    void open_volatile();
    std::unique_ptr<ReadSlot> idle_or_new_slot();
    void begin_to_read(std::unique_ptr<ReadSlot>& slot);
    void make_safe(std::uint64_t commit);
    bool has_stale_slots();
    bool is_read_elsewhere(std::uint64_t commit) const;
    static bool is_readable_volatile(const std::string& file);
    void take_back(std::uint64_t commit);

    Options options_;
    Folder folder_;
    bool is_created_ = false;
    std::string undone_;
    bool is_first_commit_ = true; ///< since the opening, or since one that failed
    bool is_disk_behind_ = false; ///< it does not have the taking back of `failed_commit_` yet
    bool is_taken_back_ = false;
    std::uint64_t failed_commit_ = 0;
    bool is_beside_writer_ = false;       ///< of another process
    std::atomic<std::uint64_t> epoch_{0}; ///< grows by two with each commit that is taken back; odd: one is just being
    std::optional<Environment> durable_;
    std::optional<Environment> volatile_;
    std::mutex durable_writer_;
    std::mutex volatile_writer_;
    Subscribers subscribers_;
    std::mutex slots_mutex_;
    std::vector<std::unique_ptr<ReadSlot>> idle_slots_;
    std::size_t slots_ = 0;
    std::size_t stale_slots_ = 0; ///< in use since before the last commit that was taken back
};

/// Changes under way.
class Write {
public:
    Write(std::shared_ptr<Core> core, bool is_volatile);

    const Environment& environment() const { return *environment_; }
    MDB_txn* txn() const { return txn_.get(); }

    void put(std::string_view key, std::string_view value);
    bool erase(std::string_view key);
    std::size_t erase_all(std::string_view prefix);
    void commit();

private:
    void require_own(std::string_view key) const;
    void require_no_fault(const char* operation);
    void remember(std::string_view key, std::optional<std::string_view> before);
    Changes changes() const;
    void count(std::string_view key, std::optional<std::string_view> before, std::optional<std::string_view> after);

    std::shared_ptr<Core> core_;
    const Environment* environment_;
    bool is_volatile_;
    std::unique_lock<std::mutex> turn_;
    TxnPtr txn_;
    bool is_watched_;
    bool is_failed_ = false;
    bool is_changed_ = false;
    Digest digest_; ///< of the durable branch's records, with the changes
    std::map<std::string, std::optional<std::string>, std::less<>> before_; ///< of records touched, when watched
};

} // namespace kelda::detail
