// SPDX-License-Identifier: Apache-2.0
//
// Notifications as libyang data.
#include "event.hpp"

#include <ctime>
#include <set>

#include <fmt/chrono.h>
#include <fmt/format.h>

#include "record_path.hpp"
#include "rpc_error.hpp"
#include "subtree_filter.hpp"

namespace zpf::agent {

namespace {

constexpr std::size_t kMostEdits = 200; ///< listed in one notification; a longer list says less than a read

/// Builds the node below /module:name by paths.
class Builder {
public:
    Builder(const Yang& yang, const char* top) : yang_(yang)
    {
        lyd_node* made = nullptr;
        lyd_new_path(nullptr, &yang.ctx(), top, nullptr, 0, &made);
        node_.reset(made);
    }
    Builder& set(const std::string& path, const std::string& value)
    {
        lyd_new_path(node_.get(), &yang_.ctx(), path.c_str(), value.c_str(), 0, nullptr);
        return *this;
    }
    lyd_node* node() { return node_.get(); }
    std::shared_ptr<const Event> take()
    {
        auto event = std::make_shared<Event>();
        event->content = std::move(node_);
        return event;
    }

private:
    const Yang& yang_;
    bridge::DataPtr node_;
};

void add_session(Builder& builder, const SessionInfo& session, const std::string& above)
{
    builder.set(above + "username", session.who.user);
    builder.set(above + "session-id", std::to_string(session.id));
    if (!session.host.empty()) {
        builder.set(above + "source-host", session.host);
    }
}

/// The list `edit` of a change.
class EditList {
public:
    explicit EditList(lyd_node* change) : change_(change) {}

    void add(const std::string& target, const char* operation)
    {
        if (++listed_ > kMostEdits) {
            return;
        }
        lyd_node* edit = nullptr;
        lyd_new_list(change_, nullptr, "edit", 0, &edit);
        lyd_new_term(edit, nullptr, "target", target.c_str(), 0, nullptr);
        lyd_new_term(edit, nullptr, "operation", operation, 0, nullptr);
    }

private:
    lyd_node* change_;
    std::size_t listed_ = 0;
};

/// Adds the outermost nodes that a difference creates, replaces or deletes.
void add_edits(const lyd_node* siblings, EditList& edits)
{
    for (const lyd_node* node = siblings; node != nullptr; node = node->next) {
        const lyd_meta* const mark = lyd_find_meta(node->meta, nullptr, "yang:operation");
        const std::string operation = mark != nullptr ? lyd_get_meta_value(mark) : "none";
        if (operation == "none") {
            add_edits(lyd_child_no_keys(node), edits);
            continue;
        }
        char* path = lyd_path(node, LYD_PATH_STD, nullptr, 0);
        const bridge::TextPtr owned{path};
        edits.add(path != nullptr ? path : "", operation.c_str());
    }
}

void add_author(Builder& builder, const SessionInfo* by)
{
    if (by != nullptr) {
        add_session(builder, *by, "changed-by/");
    } else {
        builder.set("changed-by/server", "");
    }
}

} // namespace

std::string date_and_time(std::chrono::system_clock::time_point time)
{
    const auto since = time.time_since_epoch();
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(since).count();
    const std::time_t seconds = static_cast<std::time_t>(ms / 1000);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z", utc, ms % 1000);
}

std::string instance_identifier(const Yang& yang, std::string_view record_name)
{
    std::string path;
    const lysc_node* schema = nullptr;
    const lys_module* above = nullptr;
    std::string_view rest = record_name.substr(std::min(record_name.size(), kConfigBranch.size()));
    while (!rest.empty()) {
        const std::size_t slash = rest.find('/');
        const PathStep step = parse_step(rest.substr(0, slash));
        rest = slash == std::string_view::npos ? std::string_view{} : rest.substr(slash + 1);
        const lys_module* const module = step.module.empty() && schema ? schema->module : yang.module(step.module);
        schema = module == nullptr ? nullptr
                 : schema          ? Yang::child(*schema, step.name, module)
                                   : Yang::top(*module, step.name);
        if (schema == nullptr) {
            break;
        }
        // Modules are named where they change (RFC 7951, 6.11).
        path += module == above ? fmt::format("/{}", step.name) : fmt::format("/{}:{}", module->name, step.name);
        above = module;
        const auto quoted = [](const std::string& value) {
            return value.find('\'') == std::string::npos ? "'" + value + "'" : "\"" + value + "\"";
        };
        if (schema->nodetype == LYS_LEAFLIST && !step.keys.empty()) {
            path += "[.=" + quoted(step.keys.front()) + "]";
        }
        const lysc_node* key = schema->nodetype == LYS_LIST ? lysc_node_child(schema) : nullptr;
        for (std::size_t i = 0; key != nullptr && is_key(*key) && i < step.keys.size(); key = key->next, ++i) {
            path += fmt::format("[{}={}]", key->name, quoted(step.keys[i]));
        }
    }
    return path;
}

std::shared_ptr<const Event> config_change(const Yang& yang, const SessionInfo* by, const ClientView& view,
                                           const kelda::Changes& changes)
{
    Builder builder(yang, "/ietf-netconf-notifications:netconf-config-change");
    add_author(builder, by);
    EditList edits(builder.node());
    lyd_node* diff = nullptr;
    if (lyd_diff_siblings(view.before, view.after, 0, &diff) == LY_SUCCESS) {
        const bridge::DataPtr owned{diff};
        add_edits(diff, edits);
    }
    for (const kelda::Change& change : changes) {
        if (change.key.starts_with(kConfigBranch)) {
            edits.add(instance_identifier(yang, change.key), !change.before ? "create"
                                                             : change.after ? "replace"
                                                                            : "delete");
        }
    }
    return builder.take();
}

std::shared_ptr<const Event> session_start(const Yang& yang, const SessionInfo& session)
{
    Builder builder(yang, "/ietf-netconf-notifications:netconf-session-start");
    add_session(builder, session, "");
    return builder.take();
}

std::shared_ptr<const Event> session_end(const Yang& yang, const SessionInfo& session, const std::string& reason,
                                         uint32_t killed_by)
{
    Builder builder(yang, "/ietf-netconf-notifications:netconf-session-end");
    add_session(builder, session, "");
    if (killed_by != 0) {
        builder.set("killed-by", std::to_string(killed_by));
    }
    builder.set("termination-reason", reason);
    return builder.take();
}

std::shared_ptr<const Event> confirmed_commit(const Yang& yang, const SessionInfo* by, const std::string& what,
                                              unsigned timeout_s)
{
    Builder builder(yang, "/ietf-netconf-notifications:netconf-confirmed-commit");
    if (by != nullptr && what != "timeout") {
        add_session(builder, *by, "");
    }
    builder.set("confirm-event", what);
    if (what == "start" || what == "extend") {
        builder.set("timeout", std::to_string(timeout_s));
    }
    return builder.take();
}

bool passes(const Yang& yang, const Subscribed& subscription, const Event& event)
{
    if (subscription.xpath.empty() && !subscription.filter) {
        return true;
    }
    lyd_node* copy = nullptr;
    lyd_dup_single(event.content.get(), nullptr, LYD_DUP_RECURSIVE, &copy);
    bridge::DataPtr content{copy};
    if (subscription.filter) {
        keep_subtrees(yang, subscription.filter, content);
        return content != nullptr;
    }
    try {
        keep_selected(yang, subscription.xpath, content);
        return content != nullptr;
    } catch (const Refused&) {
        return false; // an expression that cannot be evaluated selects nothing
    }
}

std::string print_notification(const Event& event)
{
    char* text = nullptr;
    lyd_print_mem(&text, event.content.get(), LYD_XML, LYD_PRINT_SHRINK);
    const bridge::TextPtr owned{text};
    return "<notification xmlns=\"urn:ietf:params:xml:ns:netconf:notification:1.0\"><eventTime>" +
           date_and_time(event.time) + "</eventTime>" + (text ? text : "") + "</notification>";
}

std::shared_ptr<const Event> reading_change(const Yang& yang, const std::string& port)
{
    Builder builder(yang, "/zpf-agent:reading-change");
    builder.set("port", port);
    return builder.take();
}

} // namespace zpf::agent
