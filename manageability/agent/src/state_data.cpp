// SPDX-License-Identifier: Apache-2.0
//
// State made of what the agent knows of itself.
#include "state_data.hpp"

#include <cstdlib>
#include <fstream>
#include <iterator>

#include <fmt/format.h>

#include "event.hpp"

namespace zpf::agent {

namespace {

/// Sets leaves below a top node by path.
class Setter {
public:
    Setter(const Yang& yang, const char* top) : yang_(yang)
    {
        lyd_node* made = nullptr;
        lyd_new_path(nullptr, &yang.ctx(), top, nullptr, 0, &made);
        tree_.reset(made);
    }
    template <typename Value>
    void set(const std::string& path, const Value& value)
    {
        lyd_new_path(tree_.get(), &yang_.ctx(), path.c_str(), fmt::format("{}", value).c_str(), LYD_NEW_PATH_UPDATE,
                     nullptr);
    }
    lyd_node* node() { return tree_.get(); }
    bridge::DataPtr take() { return std::move(tree_); }

private:
    const Yang& yang_;
    bridge::DataPtr tree_;
};

std::string quoted(const std::string& value)
{
    return value.find('\'') == std::string::npos ? "'" + value + "'" : "\"" + value + "\"";
}

void set_time(Setter& out, const std::string& path, const TimeSum& sum)
{
    out.set(path + "/count", sum.count.load());
    out.set(path + "/total-time", sum.total_ns.load());
}

} // namespace

bridge::DataPtr StateData::below(const lysc_node& top) const
{
    const std::string_view module = top.module->name;
    if (module == "ietf-netconf-monitoring") {
        return monitoring();
    }
    if (module == "zpf-agent") {
        return agent();
    }
    if (module == "nc-notifications") {
        return streams();
    }
    if (module == "ietf-netconf-acm") {
        return access_counters();
    }
    return module == "ietf-yang-library" ? library(top) : nullptr;
}

/// libyang knows its modules; which datastores show them is the agent's to say, and where files lie is nobody's
/// business.
bridge::DataPtr StateData::library(const lysc_node& top) const
{
    constexpr const char* kFiles = "//ietf-yang-library:location"
                                   "|/ietf-yang-library:modules-state//ietf-yang-library:schema";
    const ly_ctx& ctx = parts_.yang.ctx();
    lyd_node* raw = nullptr;
    ly_ctx_get_yanglib_data(&ctx, &raw, "%s", parts_.yang.content_id().c_str());
    bridge::DataPtr all{raw};
    ly_set* found = nullptr;
    if (raw != nullptr && lyd_find_xpath3(nullptr, raw, kFiles, nullptr, &found) == LY_SUCCESS) {
        for (uint32_t i = 0; i < found->count; ++i) {
            lyd_free_tree(found->dnodes[i]);
        }
        ly_set_free(found, nullptr);
    }
    for (lyd_node* node = raw; node != nullptr; node = node->next) {
        if (node->schema != &top) {
            continue;
        }
        static_cast<void>(all.release());
        lyd_node* const rest = node == raw ? node->next : raw;
        lyd_unlink_tree(node);
        lyd_free_siblings(rest);
        for (const char* datastore : {"running", "candidate", "intended", "operational"}) {
            const std::string path = std::string{"datastore[name='ietf-datastores:"} + datastore + "']/schema";
            lyd_new_path(node, &ctx, path.c_str(), "complete", 0, nullptr); // refused in the older of the two trees
        }
        return bridge::DataPtr{node};
    }
    return nullptr;
}

bool StateData::has_session(uint32_t id) const
{
    for (const auto& session : parts_.sessions.all()) {
        if (session->id == id) {
            return true;
        }
    }
    return false;
}

bridge::DataPtr StateData::monitoring() const
{
    Setter out(parts_.yang, "/ietf-netconf-monitoring:netconf-state");
    for (const std::string& capability : parts_.yang.capabilities()) {
        out.set("capabilities/capability", capability);
    }
    const WriterState writer = parts_.writer.state();
    const auto add_lock = [&](const std::string& datastore, const Lock& lock) {
        const std::string path = "datastores/datastore[name='" + datastore + "']";
        lyd_new_path(out.node(), nullptr, path.c_str(), nullptr, 0, nullptr);
        if (lock.session != 0) {
            out.set(path + "/locks/global-lock/locked-by-session", lock.session);
            out.set(path + "/locks/global-lock/locked-time", date_and_time(lock.since));
        }
    };
    add_lock("running", writer.running_lock);
    add_lock("candidate", writer.candidate_lock);
    uint32_t index = 0;
    while (const lys_module* module = ly_ctx_get_module_iter(&parts_.yang.ctx(), &index)) {
        const std::string path =
            fmt::format("schemas/schema[identifier='{}'][version='{}'][format='ietf-netconf-monitoring:yang']",
                        module->name, module->revision ? module->revision : "");
        out.set(path + "/namespace", module->ns);
        out.set(path + "/location", "NETCONF");
    }
    uint64_t in_rpcs = 0;
    uint64_t bad_rpcs = 0;
    uint64_t rpc_errors = 0;
    uint64_t notifications = 0;
    for (const auto& session : parts_.sessions.all()) {
        const std::string path = fmt::format("sessions/session[session-id='{}']", session->id);
        const bool remote = session->transport != "unix";
        // The model has no identity for a local socket; it is SSH's subsystem that usually stands behind it.
        out.set(path + "/transport",
                "ietf-netconf-monitoring:" + (remote ? session->transport : std::string{"netconf-ssh"}));
        out.set(path + "/username", session->who.user);
        if (!session->host.empty()) {
            out.set(path + "/source-host", session->host);
        }
        out.set(path + "/login-time", date_and_time(session->login));
        out.set(path + "/in-rpcs", session->in_rpcs.load());
        out.set(path + "/in-bad-rpcs", session->in_bad_rpcs.load());
        out.set(path + "/out-rpc-errors", session->out_rpc_errors.load());
        out.set(path + "/out-notifications", session->out_notifications.load());
        in_rpcs += session->in_rpcs;
        bad_rpcs += session->in_bad_rpcs;
        rpc_errors += session->out_rpc_errors;
        notifications += session->out_notifications;
    }
    out.set("statistics/netconf-start-time", date_and_time(started_));
    out.set("statistics/in-bad-hellos", static_cast<uint32_t>(parts_.counters.hellos_bad));
    out.set("statistics/in-sessions", static_cast<uint32_t>(parts_.counters.sessions_opened));
    out.set("statistics/dropped-sessions", static_cast<uint32_t>(parts_.counters.sessions_dropped));
    out.set("statistics/in-rpcs", static_cast<uint32_t>(in_rpcs + parts_.counters.past_in_rpcs));
    out.set("statistics/in-bad-rpcs", static_cast<uint32_t>(bad_rpcs + parts_.counters.past_in_bad_rpcs));
    out.set("statistics/out-rpc-errors", static_cast<uint32_t>(rpc_errors + parts_.counters.past_out_rpc_errors));
    out.set("statistics/out-notifications",
            static_cast<uint32_t>(notifications + parts_.counters.past_out_notifications));
    return out.take();
}

bridge::DataPtr StateData::agent() const
{
    Setter out(parts_.yang, "/zpf-agent:agent");
    out.set("started", date_and_time(started_));
    out.set("version", parts_.version);
    for (const auto& [operation, count] : parts_.counters.requests()) {
        const std::string path = "request[operation=" + quoted(operation) + "]";
        out.set(path + "/done", count.done);
        out.set(path + "/refused", count.refused);
    }
    for (const auto& [tag, count] : parts_.counters.refusals()) {
        out.set("refusal[tag=" + quoted(tag) + "]/count", count);
    }
    out.set("sessions/opened", parts_.counters.sessions_opened.load());
    out.set("sessions/open", parts_.sessions.all().size());
    out.set("sessions/dropped", parts_.counters.sessions_dropped.load());
    set_time(out, "mapping", parts_.counters.mapping);
    out.set("mapping/plans-reused", parts_.counters.cached_plans.load());
    set_time(out, "store", parts_.counters.store);
    out.set("store/edits", parts_.counters.committed_edits.load());
    const kelda::Stat stat = parts_.store.stat();
    out.set("store/records", stat.records);
    out.set("store/file-size", stat.bytes_of_file);
    set_time(out, "device", parts_.counters.device);
    out.set("device/readings-missing", parts_.counters.readings_missing.load());
    out.set("device/readings-invalid", parts_.counters.readings_left_out.load());
    if (parts_.faults != nullptr) {
        for (const auto& [port, kind] : parts_.faults->all()) {
            out.set("device/fault[port=" + quoted(port) + "]/kind", kind);
        }
    }
    const uint32_t levels = parts_.diagnostics.log_levels;
    out.set("diagnostics/log", levels == 0 ? "off" : levels == 1 ? "error" : "trace");
    out.set("diagnostics/trace", parts_.diagnostics.tracing ? "true" : "false");
    if (!parts_.trace_file.empty()) {
        out.set("diagnostics/trace-file", parts_.trace_file);
    }
    return out.take();
}

bridge::DataPtr StateData::streams() const
{
    Setter out(parts_.yang, "/nc-notifications:netconf");
    const std::string path = "streams/stream[name='NETCONF']";
    out.set(path + "/description", "Changes of the configuration, sessions, readings.");
    out.set(path + "/replaySupport", "false");
    return out.take();
}

bridge::DataPtr StateData::access_counters() const
{
    Setter out(parts_.yang, "/ietf-netconf-acm:nacm");
    out.set("denied-operations", parts_.nacm_counters.denied_operations.load());
    out.set("denied-data-writes", parts_.nacm_counters.denied_data_writes.load());
    out.set("denied-notifications", parts_.nacm_counters.denied_notifications.load());
    return out.take();
}

std::string schema_text(const Yang& yang, const std::string& name, const std::string& revision)
{
    const lys_module* module = revision.empty() ? ly_ctx_get_module_implemented(&yang.ctx(), name.c_str())
                                                : ly_ctx_get_module(&yang.ctx(), name.c_str(), revision.c_str());
    if (module == nullptr && revision.empty()) {
        module = ly_ctx_get_module_latest(&yang.ctx(), name.c_str());
    }
    if (module == nullptr) {
        return {};
    }
    if (module->filepath != nullptr) {
        std::ifstream file(module->filepath, std::ios::binary);
        std::string text{std::istreambuf_iterator<char>(file), {}};
        if (!text.empty()) {
            return text;
        }
    }
    char* printed = nullptr; // built into the library, or its file has gone
    lys_print_mem(&printed, module, LYS_OUT_YANG, 0);
    const std::unique_ptr<char, decltype(&std::free)> owned(printed, &std::free);
    return printed ? printed : "";
}

} // namespace zpf::agent
