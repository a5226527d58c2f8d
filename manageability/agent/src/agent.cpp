// SPDX-License-Identifier: Apache-2.0
//
// Starting and ending the agent.
#include "agent.hpp"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

#include "local_user.hpp"
#include "readings.hpp"
#include "seed.hpp"
#include "zpf_map/plugin.hpp"

namespace zpf::agent {

namespace {

constexpr std::chrono::seconds kFirstReportTime{2};
constexpr std::chrono::milliseconds kReportGap{5}; ///< under a stream of edits; a single change is reported at once

/// The plug-in of the folder. One client model is served, so there is one.
std::string plugin_in(const std::string& folder)
{
    std::vector<std::string> files;
    std::error_code error;
    for (const auto& file : std::filesystem::directory_iterator(folder, error)) {
        if (file.path().extension() == ".so") {
            files.push_back(file.path());
        }
    }
    if (files.size() != 1) {
        throw Failure(folder + ": " +
                      (error           ? "cannot be read as a folder of plug-ins: " + error.message()
                       : files.empty() ? std::string{"holds no plug-in (*.so)"}
                                       : "holds more than one plug-in; name a folder with the one to use"));
    }
    return files.front();
}

kelda::Options store_options(const Options& options)
{
    kelda::Options made;
    made.sync = options.relaxed ? kelda::Sync::relaxed : kelda::Sync::full;
    made.map_bytes = std::size_t{1} << 34;
    return made;
}

kelda::Store open_store(const Options& options, const Agent::Log& log)
{
    kelda::Store store = kelda::Store::open(options.store, store_options(options));
    if (!store.undone().empty()) {
        log(1, store.undone());
    }
    return store;
}

bool seed_if_told(const Yang& yang, kelda::Store& store, const Options& options, const Agent::Log& log)
{
    if (options.seed.empty()) {
        return false;
    }
    const bool done = seed(yang, store, options.seed);
    log(2, done ? "the store begins with " + options.seed
                : "the store has data already; " + options.seed + " is not used");
    return done;
}

} // namespace

Agent::Agent(const Options& options, Log log)
    : log_(std::move(log)),
      limits_(options.limits),
      yang_(options.yang_dirs, options.protocol_yang_dirs),
      mapping_(yang_, plugin_in(options.plugin_dir), diagnostics_),
      store_(open_store(options, log_)),
      seeded_(seed_if_told(yang_, store_, options, log_)),
      keeper_(store_, counters_, log_),
      device_(options.slew_db_per_s * 10, device::steady_clock(), kReportGap),
      faults_(device_),
      writer_({store_, mapping_, device_, rules_, nacm_counters_, counters_,
               [this](std::shared_ptr<const Event> event) {
                   if (announce_) {
                       announce_(std::move(event));
                   }
               },
               subscribers_, log_}),
      state_({yang_, store_, writer_, sessions_, counters_, nacm_counters_, diagnostics_, &faults_, options.trace_file,
              ZPF_VERSION}),
      pool_(mapping_, options.threads),
      service_({store_, mapping_, writer_, pool_, rules_, nacm_counters_, counters_, state_, &faults_, diagnostics_,
                options.keep_answers, log_}),
      loop_({service_, mapping_, writer_, rules_, nacm_counters_, counters_, sessions_, subscribers_, log_}, limits_)
{
    announce_ = [this](std::shared_ptr<const Event> event) { loop_.announce(std::move(event)); };
    open_diagnostics(options);
    kelda::set_process_store(&store_);
    start_device();
    listen(options);
}

/// Zeros where there is nothing.
Agent::FileIdentity Agent::identity_of(const std::string& path)
{
    struct stat file {};
    return ::stat(path.c_str(), &file) == 0 ? FileIdentity{file.st_dev, file.st_ino} : FileIdentity{};
}

Agent::~Agent()
{
    for (auto& transport : transports_) {
        transport->stop();
    }
    device_.stop();
    pool_.stop();
    writer_.stop(); // what it announces goes to the loop, which must be there
    for (const auto& [path, made] : sockets_) {
        if (identity_of(path) == made) { // and not that of an agent that has begun since this one stopped listening
            ::unlink(path.c_str());
        }
    }
    kelda::set_process_store(nullptr);
    if (diagnostics_.ring != nullptr) {
        diagnostics_.tracing = false;
    }
}

void Agent::open_diagnostics(const Options& options)
{
    uint32_t levels = 0;
    zpf_log_filter_set(&levels, options.mapping_log.c_str());
    diagnostics_.log_levels = levels;
    if (!options.trace_file.empty()) {
        std::array<char, 256> why{};
        diagnostics_.ring = zpf_trace_ring_open(options.trace_file.c_str(), 0, why.data(), why.size());
        if (diagnostics_.ring == nullptr) {
            throw Failure(why.data());
        }
        diagnostics_.tracing = options.trace;
    }
}

void Agent::start_device()
{
    const auto first = first_readings(store_.snapshot());
    std::future<void> reported = first_report_.get_future();
    device_.start(first, [this](std::span<const device::Reading> readings) { take_readings(readings); });
    // Whoever is let in finds the device as it is; one that does not report keeps nobody waiting for long.
    if (reported.wait_for(kFirstReportTime) != std::future_status::ready) {
        log_(1, "the device has not reported its readings yet");
    }
}

/// On a thread of the device's.
void Agent::take_readings(std::span<const device::Reading> readings)
{
    keeper_.keep(readings);
    if (!std::exchange(reported_, true)) {
        first_report_.set_value();
    }
    for (const device::Reading& reading : subscribers_ > 0 ? readings : std::span<const device::Reading>{}) {
        loop_.announce(reading_change(yang_, reading.port));
    }
}

void Agent::listen(const Options& options)
{
    const Arrival arrival = [this](UniqueFd stream, Peer peer) { loop_.arrive(std::move(stream), std::move(peer)); };
    const LogSink log = [this](int level, std::string_view text) { log_(level, std::string{text}); };
    for (const auto& [user, file] : options.authorized_keys) {
        if (::access(file.c_str(), R_OK) != 0) {
            throw Failure(fmt::format("{}: the keys of {} cannot be read: {}", file, user, std::strerror(errno)));
        }
    }
    for (const std::string& text : options.listen) {
        const ListenAddress address = parse_listen(text);
        if (address.kind == "unix") {
            loop_.listen(listen_unix(address.place));
            sockets_.emplace_back(address.place, identity_of(address.place));
            addresses_.push_back(text);
        } else if (address.kind == "ssh") {
            SshOptions ssh;
            ssh.host_key_dir = options.store;
            ssh.authorized_keys = options.authorized_keys;
            transports_.push_back(listen_ssh(address.place, address.port, std::move(ssh), arrival, log));
            addresses_.push_back(transports_.back()->where());
        } else {
            TlsOptions tls;
            tls.state_dir = options.store;
            tls.certificate_file = options.tls_certificate;
            tls.key_file = options.tls_key;
            tls.ca_file = options.tls_ca;
            tls.users = options.tls_users;
            transports_.push_back(listen_tls(address.place, address.port, tls, arrival, log));
            addresses_.push_back(transports_.back()->where());
        }
    }
}

std::vector<std::string> Agent::addresses() const
{
    return addresses_;
}

void Agent::run(int signals)
{
    loop_.run(signals);
}

} // namespace zpf::agent
