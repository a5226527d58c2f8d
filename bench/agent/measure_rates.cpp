// SPDX-License-Identifier: Apache-2.0
//
// Requests a second.
#include "measure.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <optional>
#include <stdexcept>

#include "process_stats.hpp"
#include "requests.hpp"

namespace zpf::bench {

namespace {

constexpr const char* kReference = "netconfd";
constexpr std::array<std::size_t, 2> kSessions{1, 8};
constexpr std::chrono::milliseconds kWarmUp{20};
constexpr double kFasterThanReference = 1.2;
constexpr double kMostTail = 5; ///< p99 to p50
constexpr double kLeastOfDisk = 0.4;
constexpr double kLeastEditsTogether = 10'000;

std::string case_name(const std::string& what, std::size_t sessions, const char* where)
{
    return fmt::format("{}, {} session{}, {}", what, sessions, sessions == 1 ? "" : "s", where);
}

/// Keeps the longest tail of several measurements.
class Tail {
public:
    void add(const std::string& what, const Sample& sample)
    {
        if (const double ratio = sample.p99_us / sample.p50_us; ratio > worst_) {
            worst_ = ratio;
            where_ = what;
        }
    }
    Row row(const std::string& of) const
    {
        return figure_row("longest tail of " + of + ", p99 to p50", worst_, "x", at_most(kMostTail), where_);
    }

private:
    double worst_ = 0;
    std::string where_;
};

/// The same operation over and over.
Turn reading(const Setting& setting, const Server& server, std::vector<Client>& clients, const std::string& operation,
             bool pinned)
{
    return [&setting, &server, &clients, operation, pinned] {
        std::optional<Pinned> one;
        if (pinned) {
            one.emplace(std::vector<pid_t>{::getpid(), server.pid()});
        }
        const NextOperation next = [&operation]() -> std::string_view { return operation; };
        run_load(clients, next, {kWarmUp}, server.pid(), setting.watch);
        return run_load(clients, next, {setting.amount.slice}, server.pid(), setting.watch);
    };
}

/// One row for the agent as it is, and one for what it costs to map every request anew.
void measure_read(const Setting& setting, const Field& field, const std::string& what, const std::string& operation,
                  std::size_t sessions, bool pinned, Tail& tail, Rows& rows)
{
    const std::string name = case_name(what, sessions, pinned ? "one processor" : "free");
    setting.watch.show(name);
    auto agent = connect_all(sessions, [&] { return field.agent.connect(); });
    auto unaided = connect_all(sessions, [&] { return field.unaided.connect(); });
    auto reference = connect_all(sessions, [&] { return field.reference.connect(); });
    const auto samples = take_turns(setting, {reading(setting, field.agent, agent, operation, pinned),
                                              reading(setting, field.unaided, unaided, operation, pinned),
                                              reading(setting, field.reference, reference, operation, pinned)});
    const bool wakes = sessions == 1 && !pinned; // then it is mostly an idle processor's waking that is measured
    rows.push_back(rate_row(name, samples[0], kReference, samples[2], at_least(wakes ? 1.0 : kFasterThanReference)));
    rows.push_back(rate_row("  every one mapped anew", samples[1], kReference, samples[2], {}));
    tail.add(name, samples[0]);
}

/// Edits that each change the value, and the last of which is looked for afterwards.
class Editing {
public:
    Editing(const Setting& setting, const Server& server, std::size_t sessions)
        : setting_(setting), server_(server), clients_(connect_all(sessions, [&server] { return server.connect(); }))
    {}

    Sample run()
    {
        const NextOperation next = [this]() -> std::string_view { return operation_ = edit_one(++number_); };
        const LoadLimit limit{setting_.amount.edit_slice};
        const Sample sample = run_load(clients_, next, limit, server_.pid(), setting_.watch);
        check();
        return sample;
    }

private:
    /// What stands there must be one of the values that were under way last.
    void check()
    {
        const std::string reply = clients_.front().session.request(get_config_one(), setting_.watch);
        static const std::string kLeaf = "<attenuation>";
        const auto found = reply.find(kLeaf);
        const double there = found == std::string::npos ? -1 : std::stod(reply.substr(found + kLeaf.size()));
        for (uint64_t back = 0; back < clients_.size(); ++back) {
            if (std::abs(there - std::stod(edited_db(number_ - back))) < 0.001) {
                return;
            }
        }
        throw std::runtime_error(fmt::format("after edit {} a read answers {}", number_, reply));
    }

    const Setting& setting_;
    const Server& server_;
    std::vector<Client> clients_;
    std::string operation_;
    uint64_t number_ = 0;
};

} // namespace

std::vector<Sample> take_turns(const Setting& setting, const std::vector<Turn>& contenders)
{
    std::vector<std::vector<Sample>> samples(contenders.size());
    for (int round = 0; round < setting.amount.rounds; ++round) {
        for (std::size_t i = 0; i < contenders.size(); ++i) {
            const std::size_t turn = (i + static_cast<std::size_t>(round)) % contenders.size();
            samples[turn].push_back(contenders[turn]());
        }
    }
    std::vector<Sample> medians;
    for (const auto& rounds : samples) {
        medians.push_back(median_of(rounds));
    }
    return medians;
}

std::vector<Client> connect_all(std::size_t sessions, const std::function<Client()>& connect)
{
    std::vector<Client> clients;
    for (std::size_t i = 0; i < sessions; ++i) {
        clients.push_back(connect());
    }
    return clients;
}

Field::Field(const Setting& setting)
    : credentials(setting),
      ssh_port(free_port()),
      agent(setting, {}),
      unaided(setting, {.name = "unaided", .arguments = {"--no-kept-answers"}}),
      reference(setting, ssh_port),
      ssh(setting, credentials, ssh_port, agent.socket(), reference.socket())
{}

void measure_reads(const Setting& setting, const Field& field, Rows& rows)
{
    const std::array<std::pair<const char*, std::string>, 2> operations{
        {{"get of all", get_all()}, {"get-config of one", get_config_one()}}};
    Tail tail;
    for (const auto& [what, operation] : operations) {
        for (const bool pinned : {false, true}) {
            for (const std::size_t sessions : kSessions) {
                measure_read(setting, field, what, operation, sessions, pinned, tail, rows);
            }
        }
    }
    rows.push_back(tail.row("reads"));
}

void measure_ssh(const Setting& setting, const Field& field, Rows& rows)
{
    for (const std::size_t sessions : kSessions) {
        const std::string name = case_name("get-config of one", sessions, "by sshd");
        setting.watch.show(name);
        const auto connect = [&](const char* subsystem, std::chrono::milliseconds pause) {
            return connect_all(sessions, [&, subsystem, pause] {
                return connect_ssh(setting, field.credentials, field.ssh_port, subsystem, pause);
            });
        };
        auto agent = connect(SshFront::kAgentSubsystem, std::chrono::milliseconds{0});
        auto reference = connect(SshFront::kReferenceSubsystem, ReferenceServer::kPauseAfterHello);
        const auto samples =
            take_turns(setting, {reading(setting, field.agent, agent, get_config_one(), false),
                                 reading(setting, field.reference, reference, get_config_one(), false)});
        rows.push_back(rate_row(name, samples[0], kReference, samples[1], at_least(1.0)));
    }
}

void measure_edits(const Setting& setting, const Field& field, Rows& rows)
{
    const RawSync disk(setting.folder.path());
    Tail tail;
    for (const std::size_t sessions : kSessions) {
        const std::string name = case_name("edit of one leaf", sessions, "free");
        setting.watch.show(name);
        Editing agent(setting, field.agent, sessions);
        Editing reference(setting, field.reference, sessions);
        const auto samples = take_turns(setting, {[&] { return agent.run(); }, [&] { return reference.run(); },
                                                  [&] { return disk.run(setting.amount.edit_slice, setting.watch); }});
        rows.push_back(rate_row(name, samples[0], kReference, samples[1], at_least(1.0)));
        const Aim of_disk = sessions == 1 ? at_least(kLeastOfDisk) : Aim{};
        rows.push_back(rate_row("  beside fdatasync of the disk", samples[0], "fdatasync", samples[2], of_disk));
        if (sessions > 1) {
            rows.push_back(figure_row("  edits committed together", samples[0].per_second, "a second",
                                      at_least(kLeastEditsTogether)));
        }
        tail.add(name, samples[0]);
    }
    rows.push_back(tail.row("edits"));
}

void measure_interfaces(const Setting& setting, Rows& rows)
{
    static constexpr std::size_t kFew = 10;
    static constexpr double kMostDearer = 1.2;
    const std::size_t many_count = setting.amount.many_interfaces;
    const std::string name = fmt::format("get of one among {} interfaces", many_count);
    setting.watch.show(name + ", making them");
    const AgentServer few(setting, {.name = "few", .interfaces = kFew, .arguments = {"--no-kept-answers"}});
    const AgentServer many(setting, {.name = "many", .interfaces = many_count, .arguments = {"--no-kept-answers"}});
    setting.watch.show(name);
    auto few_clients = connect_all(1, [&] { return few.connect(); });
    auto many_clients = connect_all(1, [&] { return many.connect(); });
    const auto samples = take_turns(setting, {reading(setting, many, many_clients, get_one(), true),
                                              reading(setting, few, few_clients, get_one(), true)});
    const std::string among = fmt::format("among {}", kFew);
    rows.push_back(rate_row(name, samples[0], among, samples[1], {}));
    rows.push_back(figure_row("  processor time, many to few", samples[0].server_us / samples[1].server_us, "x",
                              at_most(kMostDearer)));
    Editing edit_few(setting, few, 1);
    Editing edit_many(setting, many, 1);
    const auto edits = take_turns(setting, {[&] { return edit_many.run(); }, [&] { return edit_few.run(); }});
    rows.push_back(rate_row("edit of one among as many", edits[0], among, edits[1], {}));
}

} // namespace zpf::bench
