// SPDX-License-Identifier: Apache-2.0
//
// `zpf sessions`: who is connected, and ending a session.
#include <fmt/format.h>

#include <cstdint>
#include <nlohmann/json.hpp>

#include "agent_client.hpp"
#include "json_values.hpp"
#include "on_chosen.hpp"
#include "table.hpp"

namespace zpf::cli {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kSessionsFilter =
    R"(<netconf-state xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"><sessions/></netconf-state>)";

struct KillOptions : AgentOptions {
    std::uint32_t id = 0;
};

std::string without_prefix(const std::string& identity)
{
    return identity.substr(identity.find(':') + 1); // all of it when there is none
}

Json json_of(const XmlElement& session, bool is_own)
{
    const auto text = [&](const char* leaf) {
        const XmlElement* const element = session.child(leaf);
        return element == nullptr ? Json(nullptr) : Json(element->text);
    };
    const auto count = [&](const char* leaf) { return json_count(session.text_at(leaf)); };
    return {{"session-id", count("session-id")},
            {"username", text("username")},
            {"transport", without_prefix(session.text_at("transport"))},
            {"source-host", text("source-host")},
            {"login-time", text("login-time")},
            {"in-rpcs", count("in-rpcs")},
            {"in-bad-rpcs", count("in-bad-rpcs")},
            {"out-rpc-errors", count("out-rpc-errors")},
            {"out-notifications", count("out-notifications")},
            {"own", is_own}};
}

std::vector<std::string> row_of(const XmlElement& session, bool is_own)
{
    return {session.text_at("session-id") + (is_own ? "*" : ""),
            session.text_at("username"),
            without_prefix(session.text_at("transport")),
            session.text_at("source-host"),
            session.text_at("login-time"),
            session.text_at("in-rpcs"),
            session.text_at("out-rpc-errors"),
            session.text_at("out-notifications")};
}

int sessions(const AgentOptions& options)
{
    return with_agent(options, [&](AgentClient& agent) {
        const XmlElement reply = agent.get(kSessionsFilter);
        const XmlElement* const list = reply.at("data/netconf-state/sessions");
        Json json = Json::array();
        std::vector<std::vector<std::string>> rows;
        for (const XmlElement& session : list ? list->children : std::vector<XmlElement>{}) {
            const bool is_own = session.text_at("session-id") == std::to_string(agent.session().session_id());
            json.push_back(json_of(session, is_own));
            rows.push_back(row_of(session, is_own));
        }
        if (options.json) {
            fmt::print("{}\n", json.dump(2, ' ', false, Json::error_handler_t::replace));
            return kDone;
        }
        print_table({{"ID", Align::right},
                     {"USER"},
                     {"TRANSPORT"},
                     {"FROM"},
                     {"SINCE"},
                     {"REQUESTS", Align::right},
                     {"REFUSED", Align::right},
                     {"NOTIFICATIONS", Align::right}},
                    rows, options.colour);
        return kDone;
    });
}

int kill(const KillOptions& options)
{
    return with_agent(options, [&](AgentClient& agent) {
        agent.rpc(fmt::format("<kill-session><session-id>{}</session-id></kill-session>", options.id));
        if (options.json) {
            fmt::print("{}\n", Json{{"session-id", options.id}, {"killed", true}}.dump(2));
        } else {
            fmt::print("session {} has been ended\n", options.id);
        }
        return kDone;
    });
}

} // namespace

void add_sessions(CLI::App& app, Chosen& chosen)
{
    const auto options = std::make_shared<AgentOptions>();
    CLI::App& command = *app.add_subcommand("sessions", "Shows who has a session with the agent");
    add_agent_options(command, *options);
    command.footer(std::string{"\"*\": the session that asks. A local socket is shown as SSH, the model having no "
                               "word for it.\n"} +
                   kAgentExitStatuses);
    const auto kill_options = std::make_shared<KillOptions>();
    CLI::App& kill_command = *command.add_subcommand("kill", "Ends a session");
    kill_command.add_option("ID", kill_options->id, "Its number")->required();
    add_agent_options(kill_command, *kill_options);
    on_chosen(command, chosen, options, sessions);
    on_chosen(kill_command, chosen, kill_options, kill);
}

} // namespace zpf::cli
