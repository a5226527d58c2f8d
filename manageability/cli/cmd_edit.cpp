// SPDX-License-Identifier: Apache-2.0
//
// `zpf edit`: an edit from a file, or what it would change natively.
#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "agent_client.hpp"
#include "edit_file.hpp"
#include "on_chosen.hpp"
#include "read_file.hpp"
#include "short_path.hpp"
#include "zpf_map/plugin.hpp"

namespace zpf::cli {

namespace {

using Json = nlohmann::ordered_json;

struct EditOptions : AgentOptions {
    std::string file;
    bool dry_run = false;
    std::string default_operation; ///< empty: as the file says, else merge
    std::string target;            ///< empty: as the file says, else running
};

std::string element(std::string_view name, const std::string& text)
{
    return text.empty() ? std::string{} : fmt::format("<{0}>{1}</{0}>", name, xml_escaped(text));
}

Json text_or_null(const XmlElement* leaf)
{
    return leaf == nullptr ? Json(nullptr) : Json(leaf->text);
}

void print_changes(const XmlElement& reply, const EditOptions& options)
{
    const Style style = Style::of(stdout, options.colour);
    Json list = Json::array();
    bool changes = false;
    for (const XmlElement& change : reply.children) {
        if (change.name != "change") {
            continue;
        }
        changes = true;
        const std::string path = short_path(change.text_at("path"));
        const XmlElement* const before = change.child("before");
        const XmlElement* const after = change.child("after");
        if (options.json) {
            list.push_back({{"path", path}, {"before", text_or_null(before)}, {"after", text_or_null(after)}});
            continue;
        }
        if (before != nullptr) {
            fmt::print("{}-{} = \"{}\"{}\n", style.bad, path, before->text, style.off);
        }
        if (after != nullptr) {
            fmt::print("{}+{} = \"{}\"{}\n", style.good, path, after->text, style.off);
        }
    }
    if (options.json) {
        fmt::print("{}\n", list.dump(2, ' ', false, Json::error_handler_t::replace));
    } else if (!changes) {
        fmt::print("nothing would change\n");
    }
}

int preview(AgentClient& agent, const EditFile& file, const EditOptions& options)
{
    const XmlElement reply = agent.rpc(fmt::format(R"(<preview-edit xmlns="{}">{}{}</preview-edit>)", kAgentNamespace,
                                                   element("default-operation", file.default_operation),
                                                   config_element(file, kAgentNamespace)));
    print_changes(reply, options);
    return kDone;
}

int apply(AgentClient& agent, const EditFile& file, const EditOptions& options)
{
    agent.rpc(fmt::format("<edit-config><target><{}/></target>{}{}{}{}</edit-config>", file.target,
                          element("default-operation", file.default_operation),
                          element("test-option", file.test_option), element("error-option", file.error_option),
                          config_element(file, kNetconfNamespace)));
    if (options.json) {
        fmt::print("{}\n", Json{{"target", file.target}, {"done", true}}.dump(2));
    } else {
        fmt::print("{}: done{}\n", file.target,
                   file.target == "candidate" ? "; it takes effect when it is committed" : "");
    }
    return kDone;
}

EditFile read(const EditOptions& options)
{
    const std::string shown = options.file == "-" ? "(standard input)" : options.file;
    EditFile file;
    try {
        file = read_edit(read_file(options.file));
    } catch (const BadXml& error) {
        throw Failure(shown + ": " + error.what());
    }
    if (!options.default_operation.empty()) {
        file.default_operation = options.default_operation;
    }
    if (!options.target.empty()) {
        file.target = options.target;
    }
    if (file.target.empty()) {
        file.target = "running";
    }
    if (options.dry_run && file.target != "running") {
        throw Failure(shown + ": a dry run is against running, and the edit is of " + file.target);
    }
    return file;
}

int edit(const EditOptions& options)
{
    const EditFile file = read(options);
    return with_agent(options, [&](AgentClient& agent) {
        return options.dry_run ? preview(agent, file, options) : apply(agent, file, options);
    });
}

} // namespace

void add_edit(CLI::App& app, Chosen& chosen)
{
    const auto options = std::make_shared<EditOptions>();
    CLI::App& command = *app.add_subcommand("edit", "Sends an edit of a file to the agent");
    command
        .add_option("FILE", options->file,
                    "XML: the top element of a model, or config or edit-config around it (\"-\": standard input)")
        ->required()
        ->type_name("FILE");
    command.add_flag("--dry-run", options->dry_run, "Prints what would change natively, and changes nothing");
    command
        .add_option("--default-operation", options->default_operation,
                    "For parts without an operation (default: as the file says, else merge)")
        ->check(CLI::IsMember({"merge", "replace", "none"}));
    command.add_option("--target", options->target, "What is edited (default: as the file says, else running)")
        ->check(CLI::IsMember({"running", "candidate"}));
    add_agent_options(command, *options);
    on_chosen(command, chosen, options, edit);
}

} // namespace zpf::cli
