// SPDX-License-Identifier: Apache-2.0
//
// The writer's thread: batches, commits, time.
#include "writer.hpp"

#include <algorithm>

#include "awake.hpp"
#include "config_change.hpp"
#include "confirmed_record.hpp"
#include "record_path.hpp"
#include "records.hpp"

namespace zpf::agent {

namespace {

constexpr std::string_view kRulesBranch = "/config/ietf-netconf-acm:nacm";
constexpr const char* kSessionEnd = "session end";
constexpr std::size_t kMostJobs = 512; ///< in one batch: none waits long for those before it
constexpr int kGatherShare = 4;        ///< one part in so many of a commit's time
constexpr std::chrono::milliseconds kMostGathering{5};

std::vector<device::Change> for_device(const kelda::Changes& changes)
{
    std::vector<device::Change> made;
    made.reserve(changes.size());
    for (const kelda::Change& change : changes) {
        made.push_back({change.key, change.before, change.after});
    }
    return made;
}

kelda::Changes reversed(const kelda::Changes& changes)
{
    kelda::Changes back;
    for (auto change = changes.rbegin(); change != changes.rend(); ++change) {
        back.push_back({change->key, change->after, change->before});
    }
    return back;
}

/// The store's limit is checked before anything is touched.
void check_names(const Yang& yang, const kelda::Changes& changes)
{
    for (const kelda::Change& change : changes) {
        if (change.key.size() > kelda::kMaxKeyBytes) {
            throw refused("too-big",
                          "The names and keys that lead to the data are " + std::to_string(change.key.size()) +
                              " bytes long; at most " + std::to_string(kelda::kMaxKeyBytes) + " can be stored.",
                          instance_identifier(yang, change.key));
        }
    }
}

/// For those who are told of a change; what cannot be shown, nothing, must not stop the change itself.
std::optional<bridge::DataPtr> client_view(Mapper& mapper, const kelda::Reader& config)
{
    try {
        return client_config(mapper, config);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

/// Locks of a session, and what was begun under them.
void give_back(WriterState& state, uint32_t session)
{
    if (state.running_lock.session == session) {
        state.running_lock = {};
    }
    if (state.candidate_lock.session == session) {
        state.candidate_lock = {};
        state.drop_candidate(); // nobody else could finish it
    }
}

/// Whether a commit waits to be confirmed by this session and no other.
bool is_unconfirmed_of(const WriterState& state, uint32_t session)
{
    return state.confirmed && state.confirmed->persist.empty() && state.confirmed->session == session;
}

RpcError store_error(const kelda::StoreError& error)
{
    RpcError told;
    told.tag = error.kind() == kelda::StoreError::Kind::disk_full ? "resource-denied" : "operation-failed";
    told.message = std::string{"Nothing was changed: "} + error.what();
    return told;
}

} // namespace

Mapper& WriterTurn::mapper()
{
    return *writer_.mapper_;
}
const kelda::Reader& WriterTurn::running()
{
    return *writer_.transaction_;
}
Overlay WriterTurn::candidate()
{
    return Overlay(*writer_.transaction_, writer_.state_.candidate);
}
WriterState& WriterTurn::state()
{
    return writer_.state_;
}
const WriterParts& WriterTurn::parts() const
{
    return writer_.parts_;
}

void WriterTurn::check_lock(bool candidate) const
{
    const Lock& lock = candidate ? writer_.state_.candidate_lock : writer_.state_.running_lock;
    if (lock.session != 0 && lock.session != session_->id) {
        throw refused_protocol("in-use", "Session " + std::to_string(lock.session) + " has locked the " +
                                             (candidate ? "candidate" : "running") + " configuration.");
    }
}

void WriterTurn::change_running(const ChangeMap& changes)
{
    const kelda::Changes made = differences(running(), changes);
    if (made.empty()) {
        return;
    }
    check_names(mapper().yang(), made);
    const bool told = writer_.parts_.subscribers > 0;
    const auto before = told ? client_view(mapper(), running()) : std::nullopt;
    {
        const Stopwatch time(writer_.parts_.counters.device);
        const auto as_seen = for_device(made);
        if (const auto refusal = writer_.parts_.device.apply(as_seen, writer_.parts_.device_limit)) {
            RpcError error;
            error.tag = "operation-failed";
            error.app_tag = refusal->no_answer ? "device-no-answer" : "device-refused";
            error.path = instance_identifier(mapper().yang(), refusal->key);
            error.message = refusal->message;
            throw Refused(std::move(error));
        }
    }
    // From here on the batch owns the change: a failure of the disk takes the device back.
    writer_.taken_.insert(writer_.taken_.end(), made.begin(), made.end());
    writer_.touched_ = true;
    ++writer_.edits_;
    for (const kelda::Change& change : made) {
        change.after ? writer_.transaction_->put(change.key, *change.after)
                     : static_cast<void>(writer_.transaction_->erase(change.key));
        if (writer_.state_.confirmed) { // the oldest value counts
            writer_.state_.confirmed->undo.emplace(change.key, change.before);
        }
    }
    if (writer_.state_.confirmed) {
        writer_.write_confirmed();
    }
    if (told) {
        const auto after = client_view(mapper(), running());
        const ClientView view =
            before && after ? ClientView{before->get(), after->get()} : ClientView{nullptr, nullptr};
        announce(
            config_change(mapper().yang(), session_->id != 0 ? session_.get() : nullptr, view, made)); // 0: the agent
    }
}

void WriterTurn::commit_candidate()
{
    const ChangeMap changes = writer_.state_.candidate;
    change_running(changes);
    writer_.state_.drop_candidate();
}

void WriterTurn::roll_back()
{
    if (!writer_.state_.confirmed) {
        return;
    }
    const Confirmed confirmed = std::move(*writer_.state_.confirmed);
    writer_.state_.confirmed.reset();
    try {
        change_running(confirmed.undo);
    } catch (...) {
        writer_.state_.confirmed = confirmed;
        throw;
    }
    writer_.write_confirmed();
}

void WriterTurn::confirm()
{
    writer_.state_.confirmed.reset();
    writer_.write_confirmed();
}

void WriterTurn::keep_confirmed()
{
    writer_.write_confirmed();
}

void WriterTurn::announce(std::shared_ptr<const Event> event)
{
    writer_.announced_.push_back(std::move(event));
}

Writer::Writer(WriterParts parts)
    : parts_(std::move(parts)),
      mapper_(std::make_unique<Mapper>(parts_.mapping)),
      published_candidate_(std::make_shared<const ChangeMap>())
{
    restore_at_start();
    give_all_to_device();
    parts_.rules.set(rules_in(parts_.store.snapshot()));
    thread_ = std::thread([this] { run(); });
}

Writer::~Writer()
{
    stop();
}

void Writer::stop()
{
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void Writer::submit(std::shared_ptr<const SessionInfo> session, std::string message_id, std::string operation,
                    Work work, Done done)
{
    {
        const std::lock_guard lock(mutex_);
        queue_.push_back(
            {std::move(session), std::move(message_id), std::move(operation), std::move(work), std::move(done)});
        waiting_ = queue_.size();
    }
    wake_.notify_one();
}

/// Waits for a job, the first moments awake: putting a processor to sleep and waking it takes longer than a client that
/// was just answered needs for its next edit. False when there is none by then.
bool Writer::await_job(std::unique_lock<std::mutex>& lock, Clock::time_point awake_until, Clock::time_point until)
{
    if (queue_.empty() && !stopping_) {
        lock.unlock();
        while (waiting_ == 0 && Clock::now() < awake_until) {
            std::this_thread::yield();
        }
        lock.lock();
    }
    const auto ready = [this] { return stopping_ || !queue_.empty(); };
    if (until == Clock::time_point::max()) {
        wake_.wait(lock, ready);
    } else {
        wake_.wait_until(lock, until, ready);
    }
    return !queue_.empty();
}

void Writer::run()
{
    std::unique_lock lock(mutex_);
    while (!stopping_ || !queue_.empty()) {
        if (is_overdue()) { // first: there may always be jobs
            lock.unlock();
            expire_confirmed();
            lock.lock();
            continue;
        }
        const bool is_edited = commit_time_.count() != 0;
        const auto awake_until = batch_end_ + (is_edited ? kMostAwake : std::chrono::microseconds{0});
        const auto until = state_.confirmed
                               ? Clock::now() + (state_.confirmed->deadline - std::chrono::system_clock::now())
                               : Clock::time_point::max();
        if (await_job(lock, awake_until, until)) {
            lock.unlock();
            run_batch({}, true);
            lock.lock();
        }
    }
}

/// Whether the time to confirm a commit is over.
bool Writer::is_overdue() const
{
    return state_.confirmed && state_.confirmed->deadline <= std::chrono::system_clock::now();
}

/// Puts what waits into the batch. Clients whose edits were just answered will most likely send the next at once:
/// waiting for them, for a small part of what a commit takes, lets them share one commit with those who were quicker;
/// else the two halves take turns. False: the batch is to be committed.
bool Writer::take_more(std::vector<Job>& jobs)
{
    std::unique_lock lock(mutex_);
    if (queue_.empty() && jobs.size() < expected_) {
        const Clock::time_point end =
            batch_begin_ + std::min<Clock::duration>(commit_time_ / kGatherShare, kMostGathering);
        await_job(lock, std::min(end, batch_begin_ + kMostAwake), end);
    }
    if (queue_.empty() || jobs.size() >= kMostJobs || is_overdue()) {
        return false;
    }
    const std::size_t count = std::min(queue_.size(), kMostJobs - jobs.size());
    const auto end = queue_.begin() + static_cast<std::ptrdiff_t>(count);
    std::move(queue_.begin(), end, std::back_inserter(jobs));
    queue_.erase(queue_.begin(), end);
    waiting_ = queue_.size();
    return true;
}

void Writer::run_batch(std::vector<Job> jobs, bool is_open)
{
    const WriterState before = state_;
    batch_begin_ = Clock::now();
    std::vector<Ended> ended;
    std::vector<RpcError> failure;
    try {
        if (is_open) {
            take_more(jobs); // before anything can fail: whoever waits is answered
        }
        transaction_.emplace(parts_.store.write());
        while (ended.size() < jobs.size() || (is_open && take_more(jobs))) {
            run_job(jobs[ended.size()], ended);
        }
        commit_time_ = {};
        commit_batch();
    } catch (const kelda::StoreError& error) {
        parts_.log(1, error.what());
        failure.push_back(store_error(error));
        undo_device();
        restore(before, jobs);
    }
    transaction_.reset();
    taken_.clear();
    edits_ = 0;
    touched_ = false;
    publish();
    if (failure.empty()) {
        for (auto& event : announced_) {
            parts_.events(std::move(event));
        }
    }
    announced_.clear();
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        // Jobs that had not begun when the store failed are told the same.
        Done& done = i < ended.size() ? ended[i].done : jobs[i].done;
        if (!failure.empty()) {
            done("", i < ended.size() && !ended[i].errors.empty() ? ended[i].errors : failure);
        } else {
            done(std::move(ended[i].reply), ended[i].errors);
        }
    }
    expected_ = jobs.size();
    batch_end_ = Clock::now();
}

/// What a batch that failed has done to locks and the candidate is undone, but for what sessions held that have ended:
/// nobody would give that back any more.
void Writer::restore(const WriterState& before, const std::vector<Job>& jobs)
{
    state_ = before;
    for (const Job& job : jobs) {
        if (job.operation == kSessionEnd) {
            give_back(state_, job.session->id);
            if (is_unconfirmed_of(state_, job.session->id)) {
                state_.confirmed->deadline = std::chrono::system_clock::now();
            }
        }
    }
}

void Writer::run_job(Job& job, std::vector<Ended>& ended)
{
    Ended outcome;
    mapper_->begin(job.session->id, job.message_id, job.operation);
    WriterTurn turn(*this, job.session);
    try {
        outcome.reply = job.work(turn);
    } catch (const Refused& refusal) {
        outcome.errors = refusal.errors();
    } catch (const kelda::StoreError&) {
        throw;
    } catch (const std::exception& error) {
        parts_.log(1, job.operation + ": " + error.what());
        RpcError told;
        told.tag = "operation-failed";
        told.message = error.what();
        outcome.errors.push_back(std::move(told));
    }
    outcome.done = std::move(job.done);
    ended.push_back(std::move(outcome));
}

void Writer::commit_batch()
{
    if (!touched_) {
        transaction_.reset(); // nothing but questions, locks and changes of the candidate
        return;
    }
    const bool has_rules = std::any_of(taken_.begin(), taken_.end(), [](const kelda::Change& change) {
        return is_at_or_below(change.key, kRulesBranch);
    });
    auto rules = has_rules ? rules_in(*transaction_) : nullptr; // before the commit: after it, nothing may fail
    const Stopwatch time(parts_.counters.store);
    const Clock::time_point begin = Clock::now();
    transaction_->commit();
    transaction_.reset();
    commit_time_ = Clock::now() - begin;
    parts_.counters.committed_edits += edits_;
    if (rules != nullptr) {
        parts_.rules.set(std::move(rules));
    }
}

/// The disk has refused what the device has taken already.
void Writer::undo_device()
{
    if (taken_.empty()) {
        return;
    }
    const kelda::Changes back = reversed(taken_);
    const auto as_seen = for_device(back);
    if (const auto refusal = parts_.device.apply(as_seen, parts_.device_limit)) {
        parts_.log(1, "the device does not go back to the stored configuration: " + refusal->message +
                          "; it gets it again at the next start");
    }
}

void Writer::publish()
{
    const std::lock_guard lock(published_mutex_);
    if (*published_candidate_ != state_.candidate) {
        published_candidate_ = std::make_shared<const ChangeMap>(state_.candidate);
    }
    published_.running_lock = state_.running_lock;
    published_.candidate_lock = state_.candidate_lock;
    published_.confirmed = state_.confirmed;
}

std::shared_ptr<const ChangeMap> Writer::candidate() const
{
    const std::lock_guard lock(published_mutex_);
    return published_candidate_;
}

WriterState Writer::state() const
{
    const std::lock_guard lock(published_mutex_);
    return published_;
}

void Writer::session_ended(const std::shared_ptr<const SessionInfo>& session)
{
    submit(
        session, "", kSessionEnd,
        [](WriterTurn& turn) {
            give_back(turn.state(), turn.session().id);
            if (is_unconfirmed_of(turn.state(), turn.session().id)) {
                turn.roll_back();
                turn.announce(confirmed_commit(turn.mapper().yang(), &turn.session(), "cancel", 0));
            }
            return std::string{};
        },
        [log = parts_.log](const std::string&, const std::vector<RpcError>& errors) {
            for (const RpcError& error : errors) {
                log(1, "a session's end: " + error.message);
            }
        });
}

void Writer::expire_confirmed()
{
    parts_.log(2, "a commit was not confirmed in time; the configuration before it is restored");
    auto agent = std::make_shared<SessionInfo>();
    agent->who = {"agent", {}, true};
    bool failed = false;
    std::vector<Job> jobs;
    jobs.push_back({agent, "", "confirmed commit's end",
                    [](WriterTurn& turn) {
                        turn.roll_back();
                        turn.announce(confirmed_commit(turn.mapper().yang(), nullptr, "timeout", 0));
                        return std::string{};
                    },
                    [&](const std::string&, const std::vector<RpcError>& errors) {
                        for (const RpcError& error : errors) {
                            parts_.log(1, "cannot restore the configuration: " + error.message);
                            failed = true;
                        }
                    }});
    run_batch(std::move(jobs), false);
    if (failed && state_.confirmed) {
        state_.confirmed->deadline = std::chrono::system_clock::now() + std::chrono::seconds{5}; // tries again
    }
}

void Writer::write_confirmed()
{
    touched_ = true;
    if (state_.confirmed) {
        transaction_->put(kConfirmedRecord, to_record(*state_.confirmed));
    } else {
        transaction_->erase(kConfirmedRecord);
    }
}

/// A commit that was waiting to be confirmed when the agent ended is taken back: whoever made it has lost the way in.
void Writer::restore_at_start()
{
    kelda::Transaction transaction = parts_.store.write();
    const auto record = transaction.get(kConfirmedRecord);
    if (!record) {
        return;
    }
    parts_.log(2, "a commit was not confirmed before the agent ended; the configuration before it is restored");
    const Confirmed confirmed = from_record(*record);
    for (const auto& [name, value] : confirmed.undo) {
        value ? transaction.put(name, *value) : static_cast<void>(transaction.erase(name));
    }
    transaction.erase(kConfirmedRecord);
    transaction.commit();
}

void Writer::give_all_to_device()
{
    kelda::Changes all;
    parts_.store.snapshot().scan(kConfigBranch, [&](std::string_view key, std::string_view value) {
        all.push_back({std::string{key}, std::nullopt, std::string{value}});
        return true;
    });
    if (const auto refusal = parts_.device.apply(for_device(all), parts_.device_limit)) {
        parts_.log(1, "the device does not take the stored configuration: " + refusal->message);
    }
}

std::shared_ptr<const Nacm> Writer::rules_in(const kelda::Reader& config) const
{
    TreeBuilder builder(parts_.mapping.yang());
    builder.load(config, kRulesBranch);
    const bridge::DataPtr data = builder.take();
    auto rules = Nacm::compile(parts_.mapping.yang().ctx(), data.get());
    for (const std::string& problem : rules->problems()) {
        parts_.log(1, "access rule ignored: " + problem);
    }
    return rules;
}

} // namespace zpf::agent
