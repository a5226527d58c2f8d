// SPDX-License-Identifier: Apache-2.0
//
// Sessions with the agent.
#include "agent_client.hpp"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace zpf::cli {

namespace {

using Json = nlohmann::ordered_json;

RpcError decode(const XmlElement& element)
{
    RpcError error;
    error.refusal.type = element.text_at("error-type");
    error.refusal.tag = element.text_at("error-tag");
    error.refusal.app_tag = element.text_at("error-app-tag");
    error.refusal.path = element.text_at("error-path");
    error.refusal.message = element.text_at("error-message");
    if (const XmlElement* const info = element.child("error-info")) {
        for (const XmlElement& each : info->children) {
            if (each.name == "bad-element") {
                error.refusal.bad_element = each.text;
            } else {
                error.info.emplace_back(each.name, each.text);
            }
        }
    }
    return error;
}

Json json_of(const RpcError& error)
{
    Json object;
    const auto add = [&object](const char* name, const std::string& value) {
        if (!value.empty()) {
            object[name] = value;
        }
    };
    add("error-type", error.refusal.type);
    add("error-tag", error.refusal.tag);
    add("error-app-tag", error.refusal.app_tag);
    add("error-path", error.refusal.path);
    add("error-message", error.refusal.message);
    add("bad-element", error.refusal.bad_element);
    for (const auto& [name, value] : error.info) {
        object[name] = value;
    }
    return object;
}

/// On standard error, as every refusal; one object with --json.
void print_refused(const RefusedByAgent& refused, const AgentOptions& options)
{
    Json list = Json::array();
    for (const RpcError& error : refused.errors()) {
        if (options.json) {
            list.push_back(json_of(error));
            continue;
        }
        print_refusal(error.refusal, options.colour);
        for (const auto& [name, value] : error.info) {
            fmt::print(stderr, "  {:<14}{}\n", name, value);
        }
    }
    if (options.json) {
        fmt::print(stderr, "{}\n", Json{{"errors", list}}.dump(2, ' ', false, Json::error_handler_t::replace));
    }
}

} // namespace

RefusedByAgent::RefusedByAgent(std::vector<RpcError> errors)
    : std::runtime_error(errors.front().refusal.message), errors_(std::move(errors))
{}

XmlElement AgentClient::rpc(std::string_view operation)
{
    XmlElement reply = std::move(parse_xml(client_.request(operation)).children.front());
    std::vector<RpcError> errors;
    for (const XmlElement& element : reply.children) {
        if (element.name == "rpc-error" && element.text_at("error-severity") != "warning") {
            errors.push_back(decode(element));
        }
    }
    if (!errors.empty()) {
        throw RefusedByAgent(std::move(errors));
    }
    return reply;
}

XmlElement AgentClient::get(std::string_view filter)
{
    return rpc(fmt::format("<get><filter>{}</filter></get>", filter));
}

XmlElement AgentClient::get_config(std::string_view filter)
{
    return rpc(fmt::format("<get-config><source><running/></source><filter>{}</filter></get-config>", filter));
}

void AgentClient::close()
{
    try {
        client_.request("<close-session/>");
    } catch (const netconf::ConnectionError&) { // everything has been answered before
    }
}

XmlElement read_agent_state(AgentClient& agent)
{
    const XmlElement reply = agent.get(fmt::format(R"(<agent xmlns="{}"/>)", kAgentNamespace));
    const XmlElement* const state = reply.at("data/agent");
    return state == nullptr ? XmlElement{} : *state;
}

void add_agent_options(CLI::App& command, AgentOptions& options)
{
    command.add_option("--socket", options.socket, "Socket of the agent")
        ->type_name("PATH")
        ->envname("ZPF_SOCKET")
        ->capture_default_str();
    command.add_flag("--json", options.json, "As JSON");
    command.footer(kAgentExitStatuses);
}

int with_agent(const AgentOptions& options, const std::function<int(AgentClient&)>& work)
{
    try {
        AgentClient agent(options);
        int status = kRefused;
        try {
            status = work(agent);
        } catch (const RefusedByAgent& refused) {
            print_refused(refused, options);
        }
        agent.close();
        return status;
    } catch (const BadXml& error) {
        print_error(options.socket + ": the agent's reply cannot be read: " + error.what(), options.colour);
    } catch (const netconf::ConnectionError& error) {
        // Some of these say where already.
        const std::string what = error.what();
        print_error(what.starts_with(options.socket) ? what : options.socket + ": " + what, options.colour);
    }
    return kBadInput;
}

} // namespace zpf::cli
