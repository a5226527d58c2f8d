// SPDX-License-Identifier: Apache-2.0
//
// `zpf get`: whatever a path selects, of any of the agent's models.
#include <fmt/format.h>

#include <set>

#include "agent_client.hpp"
#include "agent_models.hpp"
#include "on_chosen.hpp"
#include "zpf_map/plugin.hpp"

namespace zpf::cli {

namespace {

struct GetOptions : AgentOptions {
    std::string path;
    bool config = false;
    std::string format = "tree";
};

bool is_name_character(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return std::isalnum(byte) != 0 || c == '_' || c == '-' || c == '.' || byte >= 0x80;
}

/// Prefixes of the expression: names before a single colon, outside of quotes.
std::set<std::string> prefixes_of(std::string_view xpath)
{
    std::set<std::string> prefixes;
    char quote = '\0';
    std::size_t name_begin = 0;
    for (std::size_t i = 0; i < xpath.size(); ++i) {
        const char c = xpath[i];
        if (quote != '\0') {
            quote = c == quote ? '\0' : quote;
        } else if (c == '\'' || c == '"') {
            quote = c;
        } else if (c == ':' && xpath.substr(i, 2) == "::") {
            ++i; // an axis
        } else if (c == ':' && name_begin < i) {
            prefixes.emplace(xpath.substr(name_begin, i - name_begin));
        }
        if (quote != '\0' || !is_name_character(xpath[i])) {
            name_begin = i + 1;
        }
    }
    return prefixes;
}

/// Declarations of the prefixes, which are names of the agent's modules.
std::string declarations_of(AgentClient& agent, const std::set<std::string>& prefixes)
{
    if (prefixes.empty()) {
        return {};
    }
    std::map<std::string, std::string> namespaces;
    for (const auto& [ns, module] : read_modules(agent)) {
        namespaces[module.name] = ns;
    }
    std::string text;
    for (const std::string& prefix : prefixes) {
        const auto found = namespaces.find(prefix);
        if (found == namespaces.end()) {
            throw Failure("the agent has no module \"" + prefix + "\"; prefixes of a path are names of modules");
        }
        text += fmt::format(R"( xmlns:{}="{}")", prefix, xml_escaped(found->second));
    }
    return text;
}

std::string filter_of(AgentClient& agent, const std::string& path)
{
    if (path.empty() || path == "/") {
        return {};
    }
    const std::string xpath = path.front() == '/' || path.front() == '(' ? path : "/" + path;
    return fmt::format(R"(<filter type="xpath"{} select="{}"/>)", declarations_of(agent, prefixes_of(xpath)),
                       xml_escaped(xpath));
}

void print_tree(const XmlElement& element, std::size_t indent, const Style& style)
{
    const std::string margin(indent, ' ');
    if (element.children.empty()) {
        const std::string value = element.text.empty() ? "" : fmt::format(" = \"{}\"", element.text);
        fmt::print("{}{}{}\n", margin, element.name, value);
        return;
    }
    fmt::print("{}{}{}{}\n", margin, style.heading, element.name, style.off);
    for (const XmlElement& child : element.children) {
        print_tree(child, indent + 2, style);
    }
}

void print_data(AgentClient& agent, const XmlElement& data, const GetOptions& options)
{
    if (options.json || options.format == "json") {
        fmt::print("{}", to_json(agent, data));
    } else if (options.format == "xml") {
        fmt::print("{}", xml_lines(data));
    } else {
        const Style style = Style::of(stdout, options.colour);
        for (const XmlElement& child : data.children) {
            print_tree(child, 0, style);
        }
    }
}

int get(const GetOptions& options)
{
    return with_agent(options, [&](AgentClient& agent) {
        const std::string filter = filter_of(agent, options.path);
        const XmlElement reply =
            agent.rpc(options.config ? "<get-config><source><running/></source>" + filter + "</get-config>"
                                     : "<get>" + filter + "</get>");
        const XmlElement* const data = reply.child("data");
        if (data == nullptr) {
            throw Failure(options.socket + ": the agent answers a read without data");
        }
        print_data(agent, *data, options);
        if (data->children.empty()) {
            print_error("there is nothing" + (options.path.empty() ? "" : " at " + options.path), options.colour);
        }
        return kDone;
    });
}

} // namespace

void add_get(CLI::App& app, Chosen& chosen)
{
    const auto options = std::make_shared<GetOptions>();
    CLI::App& command = *app.add_subcommand("get", "Prints configuration and state of any model");
    command.add_option("PATH", options->path,
                       "XPath, names of modules as prefixes where they are needed, such as "
                       "optical-attenuator/attenuators (default: everything)");
    command.add_flag("--config", options->config, "Only configuration");
    command.add_option("--format", options->format, "How it is printed (default: tree)")
        ->check(CLI::IsMember({"tree", "xml", "json"}));
    add_agent_options(command, *options);
    command.footer(std::string{"A path where nothing is prints nothing and says so on standard error; that is no "
                               "error.\n"} +
                   kAgentExitStatuses);
    on_chosen(command, chosen, options, get);
}

} // namespace zpf::cli
