// SPDX-License-Identifier: Apache-2.0
//
// The simulated device: changes come in through apply(), readings go out from a thread.
#include "zpf_device/simulation.hpp"

#include <algorithm>
#include <charconv>
#include <utility>

#include "config_key.hpp"
#include "plant.hpp"

namespace zpf::device {

namespace {

constexpr int kMaxTenths = 200; // 20.0 dB: the most that the attenuators can do

/// One change as understood.
struct Setting {
    ConfigKey target;
    std::optional<int> tenths; ///< attenuation; nothing: deleted
};

std::optional<int> attenuation(std::string_view text)
{
    int tenths = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), tenths);
    const bool good = error == std::errc{} && end == text.data() + text.size() && tenths >= 0 && tenths <= kMaxTenths;
    return good ? std::optional(tenths) : std::nullopt;
}

bool is_refused(const std::vector<Fault>& faults, const std::string& port, int tenths)
{
    return std::any_of(faults.begin(), faults.end(), [&](const Fault& fault) {
        return fault.kind == Fault::refuse_value && fault.port == port && fault.value_tenths.value_or(tenths) == tenths;
    });
}

/// Understands one change; nothing if it is none of an OTS port's, a refusal in `refusal` if the device cannot take it.
std::optional<Setting> setting_of(const Change& change, const std::vector<Fault>& faults,
                                  std::optional<Refusal>& refusal)
{
    std::optional<ConfigKey> target = parse_config_key(change.key);
    if (!target) {
        return std::nullopt;
    }
    Setting setting{std::move(*target), std::nullopt};
    if (!setting.target.attenuation || !change.after) {
        return setting;
    }
    setting.tenths = attenuation(*change.after);
    if (!setting.tenths) {
        refusal = Refusal{std::string(change.key), setting.target.port +
                                                       " takes attenuations of 0 to 200 tenths of a dB, not " +
                                                       std::string(*change.after)};
    } else if (is_refused(faults, setting.target.port, *setting.tenths)) {
        refusal = Refusal{std::string(change.key), setting.target.port + " refuses an attenuation of " +
                                                       std::string(*change.after) + " tenths of a dB"};
    }
    return setting;
}

} // namespace

Simulation::Simulation(double slew_tenths_per_s, Clock& clock, std::chrono::milliseconds report_gap)
    : clock_(clock), report_gap_(report_gap), plant_(std::make_unique<Plant>(slew_tenths_per_s))
{}

Simulation::~Simulation()
{
    stop();
}

std::optional<Refusal> Simulation::apply(std::span<const Change> changes, std::chrono::milliseconds limit)
{
    std::unique_lock lock(mutex_);
    if (std::optional<Refusal> refusal = wait_for_answer(changes, limit, lock)) {
        return refusal;
    }
    std::vector<Setting> settings;
    for (const Change& change : changes) {
        std::optional<Refusal> refusal;
        std::optional<Setting> setting = setting_of(change, faults_, refusal);
        if (refusal) {
            return refusal;
        }
        if (setting) {
            settings.push_back(std::move(*setting));
        }
    }
    const Clock::Time now = clock_.now();
    for (const Setting& setting : settings) {
        if (setting.target.attenuation) {
            plant_->configure(setting.target.port, setting.tenths, now);
        } else {
            plant_->add_port(setting.target.port, now);
        }
    }
    if (!resting_) {
        changed_.notify_all();
    }
    return std::nullopt;
}

std::optional<Refusal> Simulation::wait_for_answer(std::span<const Change> changes, std::chrono::milliseconds limit,
                                                   std::unique_lock<std::mutex>& lock)
{
    const Clock::Time deadline = clock_.now() + limit;
    for (const Change& change : changes) {
        const std::optional<ConfigKey> target = parse_config_key(change.key);
        while (target && !answers(target->port)) {
            if (clock_.now() >= deadline) {
                return Refusal{std::string(change.key),
                               target->port + " did not answer within " + std::to_string(limit.count()) + " ms", true};
            }
            clock_.wait_until(changed_, lock, deadline);
        }
    }
    return std::nullopt;
}

bool Simulation::answers(const std::string& port) const
{
    return std::none_of(faults_.begin(), faults_.end(),
                        [&port](const Fault& fault) { return fault.kind == Fault::no_answer && fault.port == port; });
}

void Simulation::start(std::span<const Reading> first, Report report)
{
    stop();
    {
        const std::lock_guard lock(mutex_);
        plant_->power_up(first, clock_.now());
        running_ = true;
    }
    report_ = std::move(report);
    thread_ = std::thread([this] { report_changes(); });
}

void Simulation::stop()
{
    {
        const std::lock_guard lock(mutex_);
        running_ = false;
    }
    changed_.notify_all();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void Simulation::report_changes()
{
    std::unique_lock lock(mutex_);
    while (running_) {
        const std::vector<Reading> due = plant_->take_due(clock_.now());
        if (!due.empty()) {
            lock.unlock();
            report_(due);
            lock.lock();
            rest(lock);
        } else if (const std::optional<Clock::Time> next = plant_->next_event()) {
            clock_.wait_until(changed_, lock, *next);
        } else {
            changed_.wait(lock);
        }
    }
}

/// A stream of changes must not become a stream of reports as long: each costs the host a transaction.
void Simulation::rest(std::unique_lock<std::mutex>& lock)
{
    const Clock::Time end = clock_.now() + report_gap_;
    resting_ = true;
    while (running_ && clock_.now() < end) {
        clock_.wait_until(changed_, lock, end);
    }
    resting_ = false;
}

void Simulation::set_slew(double tenths_per_s)
{
    const std::lock_guard lock(mutex_);
    plant_->set_slew(tenths_per_s, clock_.now());
    changed_.notify_all();
}

void Simulation::inject(const Fault& fault)
{
    const std::lock_guard lock(mutex_);
    faults_.push_back(fault);
    spread_faults();
    changed_.notify_all();
}

void Simulation::clear(std::string_view port)
{
    const std::lock_guard lock(mutex_);
    std::erase_if(faults_, [port](const Fault& fault) { return fault.port == port; });
    spread_faults();
    changed_.notify_all();
}

void Simulation::spread_faults()
{
    std::map<std::string, ReadingFault> by_port;
    for (const Fault& fault : faults_) {
        if (fault.kind == Fault::reads_nothing) {
            by_port[fault.port].unreadable = true;
        } else if (fault.kind == Fault::reads_slowly) {
            by_port[fault.port].delay = std::max(by_port[fault.port].delay, fault.delay);
        }
    }
    plant_->set_reading_faults(std::move(by_port), clock_.now());
}

std::vector<Fault> Simulation::faults() const
{
    const std::lock_guard lock(mutex_);
    return faults_;
}

} // namespace zpf::device
