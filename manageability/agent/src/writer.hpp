// SPDX-License-Identifier: Apache-2.0
//
// Everything that changes configuration, one after the other on a thread of its own: locks, edits, the candidate,
// confirmed commits. What waits together is committed together, so that many edits share one wait for the disk.
//
// An edit is mapped and judged against the state that the edits before it leave, then the device is asked to take it,
// then it goes to disk with its batch; only then is it acknowledged. When the disk refuses, the device is taken back
// and everything of the batch is refused.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "counters.hpp"
#include "event.hpp"
#include "mapper.hpp"
#include "overlay.hpp"
#include "rpc_error.hpp"
#include "session_registry.hpp"
#include "zpf_device/driver.hpp"

namespace zpf::agent {

/// Access rules in force; replaced as a whole when they change.
class Rules {
public:
    std::shared_ptr<const Nacm> get() const
    {
        const std::lock_guard lock(mutex_);
        return rules_;
    }
    void set(std::shared_ptr<const Nacm> rules)
    {
        const std::lock_guard lock(mutex_);
        rules_ = std::move(rules);
    }

private:
    mutable std::mutex mutex_;
    std::shared_ptr<const Nacm> rules_;
};

struct Lock {
    uint32_t session = 0; ///< 0: not locked
    std::chrono::system_clock::time_point since;
};

/// A commit that is undone unless it is confirmed.
struct Confirmed {
    uint32_t session = 0;
    std::string persist; ///< empty: ends with its session
    std::chrono::system_clock::time_point deadline;
    ChangeMap undo; ///< what the configuration was before
};

/// What there is beside the running configuration. A batch that fails restores it.
struct WriterState {
    ChangeMap candidate; ///< over the running configuration: what it does not name follows that
    std::set<std::string, std::less<>> through_client; ///< changes of the candidate made through the client model
    Lock running_lock;
    Lock candidate_lock;
    std::optional<Confirmed> confirmed;

    void drop_candidate()
    {
        candidate.clear();
        through_client.clear();
    }
};

struct WriterParts {
    kelda::Store& store;
    const Mapping& mapping;
    device::Driver& device;
    Rules& rules;
    NacmCounters& nacm_counters;
    Counters& counters;
    EventSink events;
    const std::atomic<int>& subscribers; ///< nobody: events need not be made
    std::function<void(int level, const std::string&)> log;
    std::chrono::milliseconds device_limit{5000};
};

class Writer;

/// What a job may do; its calls happen on the writer's thread, one job after the other. All throw Refused.
class WriterTurn {
public:
    const SessionInfo& session() const { return *session_; }
    Mapper& mapper();
    /// Configuration as the jobs before have left it.
    const kelda::Reader& running();
    /// The candidate over it. The view is good until the next change.
    Overlay candidate();
    WriterState& state();
    const WriterParts& parts() const;

    /// Throws unless the datastore may be changed by this session.
    void check_lock(bool candidate) const;
    /// Hands the changes to the device and takes them into the batch.
    void change_running(const ChangeMap& changes);
    /// Everything that the candidate holds becomes running.
    void commit_candidate();
    /// Undoes the commit that waits to be confirmed.
    void roll_back();
    /// It is confirmed.
    void confirm();
    /// Writes down what undoes it.
    void keep_confirmed();
    void announce(std::shared_ptr<const Event> event);

private:
    friend class Writer;
    WriterTurn(Writer& writer, std::shared_ptr<const SessionInfo> session)
        : writer_(writer), session_(std::move(session))
    {}
    Writer& writer_;
    std::shared_ptr<const SessionInfo> session_;
};

class Writer {
public:
    /// What is done; what it returns becomes the reply.
    using Work = std::function<std::string(WriterTurn&)>;
    /// Called on the writer's thread when the outcome is on disk; errors empty: done.
    using Done = std::function<void(std::string reply, const std::vector<RpcError>& errors)>;

    /// Hands the stored configuration to the device and undoes a commit that was never confirmed. Throws.
    explicit Writer(WriterParts parts);
    ~Writer();
    /// Finishes what was submitted, and takes no more.
    void stop();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    void submit(std::shared_ptr<const SessionInfo> session, std::string message_id, std::string operation, Work work,
                Done done);
    /// Gives back what a session held. Ends its unconfirmed commit.
    void session_ended(const std::shared_ptr<const SessionInfo>& session);

    /// The candidate's changes as of the last batch, for readers.
    std::shared_ptr<const ChangeMap> candidate() const;
    /// Locks and such as of the last batch.
    WriterState state() const;

private:
    friend class WriterTurn;
    struct Job {
        std::shared_ptr<const SessionInfo> session;
        std::string message_id;
        std::string operation;
        Work work;
        Done done;
    };
    struct Ended {
        Done done;
        std::string reply;
        std::vector<RpcError> errors;
    };

    void run();
    using Clock = std::chrono::steady_clock;

    bool await_job(std::unique_lock<std::mutex>& lock, Clock::time_point awake_until, Clock::time_point until);
    bool take_more(std::vector<Job>& jobs);
    /// Runs the jobs, and if it `is_open` those that come meanwhile, commits once, and answers all of them.
    void run_batch(std::vector<Job> jobs, bool is_open);
    void run_job(Job& job, std::vector<Ended>& ended);
    void commit_batch();
    void restore(const WriterState& before, const std::vector<Job>& jobs);
    bool is_overdue() const;
    void undo_device();
    void publish();
    void expire_confirmed();
    void restore_at_start();
    void give_all_to_device();
    std::shared_ptr<const Nacm> rules_in(const kelda::Reader& config) const;
    void write_confirmed();

    WriterParts parts_;
    std::unique_ptr<Mapper> mapper_;
    WriterState state_;

    // The batch at hand.
    std::optional<kelda::Transaction> transaction_;
    kelda::Changes taken_; ///< by the device and the transaction, in order
    std::vector<std::shared_ptr<const Event>> announced_;
    uint64_t edits_ = 0;
    bool touched_ = false; ///< there is something to commit

    Clock::time_point batch_begin_;

    // The batch before it.
    Clock::duration commit_time_{}; ///< none: there was nothing to commit
    Clock::time_point batch_end_;
    std::size_t expected_ = 0; ///< how many jobs it had: as many may come

    mutable std::mutex published_mutex_;
    std::shared_ptr<const ChangeMap> published_candidate_;
    WriterState published_;

    std::mutex mutex_;
    std::condition_variable wake_;
    std::vector<Job> queue_;
    std::atomic<std::size_t> waiting_{0}; ///< jobs in the queue, for a look without the mutex
    bool stopping_ = false;
    std::thread thread_;
};

} // namespace zpf::agent
