// SPDX-License-Identifier: Apache-2.0
//
// A libyang context that is filled from the agent as modules are needed.
#include "agent_models.hpp"

#include <fmt/format.h>

#include <cstring>
#include <exception>
#include <set>

#include "zpf_bridge/libyang.hpp"
#include "zpf_map/plugin.hpp"

namespace zpf::cli {

namespace {

constexpr std::string_view kLibraryNamespace = "urn:ietf:params:xml:ns:yang:ietf-yang-library";
constexpr std::string_view kMonitoringNamespace = "urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring";

void collect_namespaces(const XmlElement& element, std::set<std::string>& namespaces)
{
    namespaces.insert(element.ns);
    for (const XmlElement& child : element.children) {
        collect_namespaces(child, namespaces);
    }
}

/// Gives libyang the texts of modules that it asks for, imports among them.
class ModuleSource {
public:
    ModuleSource(AgentClient& agent, ly_ctx& ctx) : agent_(agent)
    {
        ly_ctx_set_module_imp_clb(&ctx, &ModuleSource::import, this);
    }

    /// What went wrong when the agent was asked, if anything did: exceptions do not pass through libyang.
    const std::exception_ptr& failure() const { return failure_; }

private:
    static LY_ERR import(const char* module, const char* revision, const char* submodule, const char*, void* self,
                         LYS_INFORMAT* format, const char** text, ly_module_imp_data_free_clb* free_text)
    {
        auto& source = *static_cast<ModuleSource*>(self);
        try {
            const std::string schema = source.fetch(submodule ? submodule : module, submodule ? nullptr : revision);
            *format = LYS_IN_YANG;
            *text = ::strdup(schema.c_str());
            *free_text = [](void* data, void*) { std::free(data); };
            return *text == nullptr ? LY_EMEM : LY_SUCCESS;
        } catch (...) {
            source.failure_ = std::current_exception();
            return LY_ENOTFOUND;
        }
    }

    std::string fetch(const std::string& name, const char* revision)
    {
        const XmlElement reply = agent_.rpc(
            fmt::format(R"(<get-schema xmlns="{}"><identifier>{}</identifier>{}</get-schema>)", kMonitoringNamespace,
                        name, revision ? fmt::format("<version>{}</version>", revision) : std::string{}));
        return reply.text_at("data");
    }

    AgentClient& agent_;
    std::exception_ptr failure_;
};

bridge::ContextPtr new_context()
{
    ly_log_options(LY_LOSTORE_LAST);
    ly_ctx* ctx = nullptr;
    if (ly_ctx_new(nullptr, LY_CTX_DISABLE_SEARCHDIR_CWD, &ctx) != LY_SUCCESS) {
        throw Failure("no memory for YANG modules");
    }
    return bridge::ContextPtr(ctx);
}

/// Loads the modules that the data are of; those of which the agent says nothing stay unknown.
void load_modules(AgentClient& agent, ly_ctx& ctx, const XmlElement& data)
{
    std::set<std::string> namespaces;
    for (const XmlElement& child : data.children) {
        collect_namespaces(child, namespaces);
    }
    const auto modules = read_modules(agent);
    const ModuleSource source(agent, ctx);
    for (const std::string& ns : namespaces) {
        const auto found = modules.find(ns);
        if (found == modules.end() || ly_ctx_get_module_implemented_ns(&ctx, ns.c_str()) != nullptr) {
            continue;
        }
        const auto& [name, revision] = found->second;
        const char* features[] = {"*", nullptr};
        if (ly_ctx_load_module(&ctx, name.c_str(), revision.empty() ? nullptr : revision.c_str(), features) ==
            nullptr) {
            if (source.failure()) {
                std::rethrow_exception(source.failure());
            }
            throw Failure("the agent's module " + name + " cannot be used: " + bridge::last_complaint(ctx).reason);
        }
    }
    ly_ctx_set_module_imp_clb(&ctx, nullptr, nullptr);
}

} // namespace

std::map<std::string, AgentModule> read_modules(AgentClient& agent)
{
    const XmlElement reply = agent.get(fmt::format(
        R"(<yang-library xmlns="{}"><module-set><module><name/><revision/><namespace/></module></module-set>)"
        "</yang-library>",
        kLibraryNamespace));
    std::map<std::string, AgentModule> modules;
    if (const XmlElement* const library = reply.at("data/yang-library")) {
        for (const XmlElement& set : library->children) {
            for (const XmlElement& module : set.children) {
                if (module.name == "module") {
                    modules[module.text_at("namespace")] = {module.text_at("name"), module.text_at("revision")};
                }
            }
        }
    }
    return modules;
}

std::string to_json(AgentClient& agent, const XmlElement& data)
{
    if (data.children.empty()) {
        return "{}\n";
    }
    const bridge::ContextPtr ctx = new_context();
    load_modules(agent, *ctx, data);
    std::string xml;
    for (const XmlElement& child : data.children) {
        xml += xml_lines(child);
    }
    lyd_node* parsed = nullptr;
    const LY_ERR result =
        lyd_parse_data_mem(ctx.get(), xml.c_str(), LYD_XML, LYD_PARSE_ONLY | LYD_PARSE_OPAQ, 0, &parsed);
    const bridge::DataPtr tree(parsed);
    char* printed = nullptr;
    if (result != LY_SUCCESS || lyd_print_mem(&printed, tree.get(), LYD_JSON, LYD_PRINT_WITHSIBLINGS) != LY_SUCCESS) {
        throw Failure("the reply does not fit the agent's own modules: " + bridge::last_complaint(*ctx).reason);
    }
    const bridge::TextPtr owned(printed);
    return printed;
}

} // namespace zpf::cli
