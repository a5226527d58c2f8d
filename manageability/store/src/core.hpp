// SPDX-License-Identifier: Apache-2.0
//
// An open store as its snapshots, transactions and subscriptions share it.
#pragma once

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
    TxnPtr of_volatile; ///< null when the store has no volatile branch
};

class Core {
public:
    Core(const std::string& folder, const Options& options);

    std::unique_ptr<ReadSlot> take_slot();
    void give_back(std::unique_ptr<ReadSlot> slot) noexcept;
    /// The code to fail with, or 0.
    int fault(const char* operation) const;

    const Folder& folder() const { return folder_; }
    const Options& options() const { return options_; }
    bool created() const { return is_created_; }
    const Environment& durable() const { return *durable_; }
    /// Null when there is none: the store was opened read only and no agent has run since it was made.
    const Environment* of_volatile() const { return volatile_ ? &*volatile_ : nullptr; }
    std::mutex& durable_writer() { return durable_writer_; }
    std::mutex& volatile_writer() { return volatile_writer_; }
    Subscribers& subscribers() { return subscribers_; }

private:
    void make_data_file() const;
    void open_durable();
    void open_volatile();
    void make_room_for_one_more();

    Options options_;
    Folder folder_;
    bool is_created_ = false;
    std::optional<Environment> durable_;
    std::optional<Environment> volatile_;
    std::mutex durable_writer_;
    std::mutex volatile_writer_;
    Subscribers subscribers_;
    std::mutex slots_mutex_;
    std::vector<std::unique_ptr<ReadSlot>> idle_slots_;
    std::size_t slots_ = 0;
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
    void remember(std::string_view key);
    Changes changes() const;

    std::shared_ptr<Core> core_;
    const Environment* environment_;
    bool is_volatile_;
    std::unique_lock<std::mutex> turn_;
    TxnPtr txn_;
    bool is_watched_;
    bool is_failed_ = false;
    std::map<std::string, std::optional<std::string>, std::less<>> before_; ///< of records touched, when watched
};

} // namespace kelda::detail
