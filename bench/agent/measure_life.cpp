// SPDX-License-Identifier: Apache-2.0
//
// Start, memory, idleness.
#include "measure.hpp"

#include <fmt/format.h>

#include "process_stats.hpp"
#include "requests.hpp"

namespace zpf::bench {

namespace {

constexpr double kMostStart_ms = 150;
constexpr double kMostResident_mb = 25;
constexpr double kFlat_kib = 256; ///< what the allocator may round, far below a byte a request
constexpr double kBytesPerMb = 1e6;

/// An agent that listens on everything it can.
struct Reachable {
    Reachable(const Setting& setting, const Credentials& credentials, const std::string& name)
        : ssh_port(free_port()),
          tls_port(free_port()),
          agent(setting, {.name = name,
                          .arguments = {"--listen", fmt::format("ssh:127.0.0.1:{}", ssh_port), "--listen",
                                        fmt::format("tls:127.0.0.1:{}", tls_port), "--authorized-keys",
                                        setting.user + ":" + credentials.ssh_public_key, "--tls-user",
                                        credentials.tls_fingerprint + ":" + setting.user}})
    {}

    uint16_t ssh_port;
    uint16_t tls_port;
    AgentServer agent;
};

double resident_mb(const Server& server)
{
    return static_cast<double>(resident_bytes(server.pid())) / kBytesPerMb;
}

} // namespace

void measure_start(const Setting& setting, Rows& rows)
{
    static const AgentOptions options{.name = "start"};
    setting.watch.show("start");
    const double new_store_ms = AgentServer(setting, options).start_time().count();
    std::vector<double> times_ms;
    for (int i = 0; i < setting.amount.starts; ++i) {
        times_ms.push_back(AgentServer(setting, options).start_time().count());
    }
    rows.push_back(figure_row("start to \"ready\"", median_of(times_ms), "ms", at_most(kMostStart_ms),
                              fmt::format("{:.4g} ms with a new store and a seed", new_store_ms)));
}

void measure_memory(const Setting& setting, const Field& field, Rows& rows)
{
    const Reachable reachable(setting, field.credentials, "memory");
    const AgentServer& agent = reachable.agent;
    rows.push_back(figure_row("resident memory after start, all transports", resident_mb(agent), "MB",
                              at_most(kMostResident_mb),
                              fmt::format("netconfd {:.4g} MB", resident_mb(field.reference))));
    const uint64_t requests = setting.amount.memory_requests;
    const std::string name = fmt::format("resident memory after {} requests", requests);
    setting.watch.show(name);
    auto clients = connect_all(8, [&] { return agent.connect(); });
    static constexpr uint64_t kEditEvery = 50;
    const std::array<std::string, 2> reads{get_all(), get_config_one()};
    std::string edit;
    uint64_t number = 0;
    const NextOperation next = [&]() -> std::string_view {
        ++number;
        return number % kEditEvery == 0 ? edit = edit_one(number / kEditEvery) : reads[number % reads.size()];
    };
    static constexpr std::chrono::minutes kUnlimited{60}; // the watch ends it
    run_load(clients, next, {kUnlimited, requests / 10}, agent.pid(), setting.watch);
    const double begin_mb = resident_mb(agent);
    run_load(clients, next, {kUnlimited, requests - requests / 10}, agent.pid(), setting.watch);
    const double end_mb = resident_mb(agent);
    rows.push_back(figure_row(name, end_mb, "MB", at_most(kMostResident_mb),
                              fmt::format("{:.4g} MB after the first tenth", begin_mb)));
    rows.push_back(figure_row("  growth since the first tenth", (end_mb - begin_mb) * kBytesPerMb / 1024, "KiB",
                              at_most(kFlat_kib)));
}

void measure_idle(const Setting& setting, const Credentials& credentials, Rows& rows)
{
    const std::string name = "idle with sessions by UNIX socket, SSH and TLS";
    setting.watch.show(name);
    const Reachable reachable(setting, credentials, "idle");
    const pid_t pid = reachable.agent.pid();
    std::vector<Client> clients;
    clients.push_back(reachable.agent.connect());
    clients.push_back(connect_ssh(setting, credentials, reachable.ssh_port, "netconf", std::chrono::milliseconds{0}));
    clients.push_back(connect_tls(setting, credentials, reachable.tls_port));
    for (Client& client : clients) {
        client.session.request(get_all(), setting.watch);
    }
    setting.watch.sleep(std::chrono::seconds{1}); // until what the requests left behind is done
    const uint64_t ticks_before = processor_ticks(pid);
    const auto time_before = processor_time(pid);
    setting.watch.sleep(setting.amount.idle);
    const auto time_us = std::chrono::duration<double, std::micro>(processor_time(pid) - time_before).count();
    const auto ticks = static_cast<double>(processor_ticks(pid) - ticks_before);
    rows.push_back(
        figure_row(name, ticks, "ticks", at_most(0),
                   fmt::format("{:.4g} us by the scheduler's count, in {} s", time_us, setting.amount.idle.count())));
    for (Client& client : clients) {
        client.session.request(get_all(), setting.watch); // they were alive all the time
    }
}

} // namespace zpf::bench
