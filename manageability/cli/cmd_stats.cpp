// SPDX-License-Identifier: Apache-2.0
//
// `zpf stats`: the agent's counters.
#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "agent_client.hpp"
#include "json_values.hpp"
#include "on_chosen.hpp"
#include "table.hpp"

namespace zpf::cli {

namespace {

using Json = nlohmann::ordered_json;

/// A counter in the reply; 0 for one that is missing.
std::uint64_t count_at(const XmlElement& agent, std::string_view path)
{
    const Json value = json_count(agent.text_at(path));
    return value.is_null() ? 0 : value.get<std::uint64_t>();
}

/// How long one of them took on average, in microseconds; nothing when there was none.
std::optional<double> mean_us(const XmlElement& agent, const std::string& group)
{
    const std::uint64_t count = count_at(agent, group + "/count");
    if (count == 0) {
        return std::nullopt;
    }
    constexpr double kNsPerUs = 1000;
    return static_cast<double>(count_at(agent, group + "/total-time")) / static_cast<double>(count) / kNsPerUs;
}

template <typename Visit>
void for_each(const XmlElement& agent, std::string_view list, Visit visit)
{
    for (const XmlElement& entry : agent.children) {
        if (entry.name == list) {
            visit(entry);
        }
    }
}

/// A duration of the model, with its mean.
Json json_of_group(const XmlElement& agent, const std::string& group)
{
    Json object{{"count", count_at(agent, group + "/count")},
                {"total-time-ns", count_at(agent, group + "/total-time")},
                {"mean-time-us", nullptr}};
    if (const auto mean = mean_us(agent, group)) {
        object["mean-time-us"] = *mean;
    }
    return object;
}

Json json_of(const XmlElement& agent)
{
    Json requests = Json::object();
    for_each(agent, "request", [&](const XmlElement& entry) {
        requests[entry.text_at("operation")] = {{"done", count_at(entry, "done")},
                                                {"refused", count_at(entry, "refused")}};
    });
    Json refusals = Json::object();
    for_each(agent, "refusal",
             [&](const XmlElement& entry) { refusals[entry.text_at("tag")] = count_at(entry, "count"); });
    Json result{{"started", agent.text_at("started")},
                {"version", agent.text_at("version")},
                {"requests", requests},
                {"refusals", refusals},
                {"sessions",
                 {{"opened", count_at(agent, "sessions/opened")},
                  {"open", count_at(agent, "sessions/open")},
                  {"dropped", count_at(agent, "sessions/dropped")}}}};
    for (const char* const group : {"mapping", "store", "device"}) {
        result[group] = json_of_group(agent, group);
    }
    result["mapping"]["plans-reused"] = count_at(agent, "mapping/plans-reused");
    for (const char* const leaf : {"edits", "records", "file-size"}) {
        result["store"][leaf] = count_at(agent, std::string{"store/"} + leaf);
    }
    for (const char* const leaf : {"readings-missing", "readings-invalid"}) {
        result["device"][leaf] = count_at(agent, std::string{"device/"} + leaf);
    }
    return result;
}

std::string time_of(const XmlElement& agent, const std::string& group)
{
    const auto mean = mean_us(agent, group);
    return mean ? fmt::format("{}, {:.1f} us each", count_at(agent, group + "/count"), *mean) : "0";
}

void print_lists(const XmlElement& agent, Colour colour)
{
    std::vector<std::vector<std::string>> requests;
    for_each(agent, "request", [&](const XmlElement& entry) {
        requests.push_back({entry.text_at("operation"), entry.text_at("done"), entry.text_at("refused")});
    });
    fmt::print("\n");
    print_table({{"REQUESTS"}, {"DONE", Align::right}, {"REFUSED", Align::right}}, requests, colour);
    std::vector<std::vector<std::string>> refusals;
    for_each(agent, "refusal", [&](const XmlElement& entry) {
        refusals.push_back({entry.text_at("tag"), entry.text_at("count")});
    });
    if (!refusals.empty()) {
        fmt::print("\n");
        print_table({{"REFUSALS"}, {"COUNT", Align::right}}, refusals, colour);
    }
}

void print_text(const XmlElement& agent, Colour colour)
{
    const auto line = [](const char* name, const std::string& value) { fmt::print("{:<10}{}\n", name, value); };
    line("agent", fmt::format("version {}, since {}", agent.text_at("version"), agent.text_at("started")));
    line("sessions", fmt::format("{} open, {} since the start, {} dropped", count_at(agent, "sessions/open"),
                                 count_at(agent, "sessions/opened"), count_at(agent, "sessions/dropped")));
    line("mappings",
         fmt::format("{}; {} plans reused", time_of(agent, "mapping"), count_at(agent, "mapping/plans-reused")));
    line("commits", fmt::format("{}; {} edits in them", time_of(agent, "store"), count_at(agent, "store/edits")));
    line("store",
         fmt::format("{} records, {} bytes", count_at(agent, "store/records"), count_at(agent, "store/file-size")));
    line("device", fmt::format("{}; readings: {} missing, {} invalid", time_of(agent, "device"),
                               count_at(agent, "device/readings-missing"), count_at(agent, "device/readings-invalid")));
    print_lists(agent, colour);
}

int stats(const AgentOptions& options)
{
    return with_agent(options, [&](AgentClient& client) {
        const XmlElement agent = read_agent_state(client);
        if (options.json) {
            fmt::print("{}\n", json_of(agent).dump(2, ' ', false, Json::error_handler_t::replace));
        } else {
            print_text(agent, options.colour);
        }
        return kDone;
    });
}

} // namespace

void add_stats(CLI::App& app, Chosen& chosen)
{
    const auto options = std::make_shared<AgentOptions>();
    CLI::App& command = *app.add_subcommand("stats", "Shows what the agent has counted since its start");
    add_agent_options(command, *options);
    on_chosen(command, chosen, options, stats);
}

} // namespace zpf::cli
