// SPDX-License-Identifier: Apache-2.0
//
// Operations that change something, or must not run beside one that does.
#include <charconv>

#include "confirmed_record.hpp"
#include "records.hpp"
#include "rpc_error.hpp"
#include "service_request.hpp"

namespace zpf::agent {

namespace {

constexpr std::string_view kNmdaNamespace = "urn:ietf:params:xml:ns:yang:ietf-netconf-nmda";

/// Refuses parameters that the operation does not have or that stand twice: none is dropped silently.
void check_parameters_once(Element operation, std::initializer_list<std::string_view> known)
{
    check_parameters(operation, known);
    for (const Element child : operation.children()) {
        if (operation.child(child.name()).node() != child.node()) {
            throw refused_protocol("bad-element", "The parameter stands twice.", std::string{child.name()});
        }
    }
}

/// What stands in a parameter that holds one element: a datastore or a configuration. Throws Refused.
Element only_child(Element operation, std::string_view parameter)
{
    const Element holder = operation.child(parameter);
    const Element name = holder ? holder.first_child() : Element{};
    if (!name) {
        throw refused_protocol("missing-element", "The request does not say which datastore it means.",
                               std::string{parameter});
    }
    if (name.next()) {
        throw refused_protocol("bad-element", "The parameter \"" + std::string{parameter} + "\" holds one element.",
                               std::string{name.next().name()});
    }
    return name;
}

/// The configuration of a parameter that may name a datastore in its place; none when it does.
Element config_in(Element operation, std::string_view parameter)
{
    const Element only = only_child(operation, parameter);
    return only.is("config", operation.ns()) ? only : Element{};
}

/// Datastore that a parameter names; throws Refused.
bool names_candidate(Element operation, std::string_view parameter)
{
    const Element name = only_child(operation, parameter);
    if (name.is("candidate", operation.ns()) || name.is("running", operation.ns())) {
        return name.name() == "candidate";
    }
    const bool url = name.name() == "url" || name.name() == "startup";
    throw refused_protocol(url ? "operation-not-supported" : "unknown-element",
                           "There is no datastore \"" + std::string{name.name()} + "\" here.",
                           std::string{name.name()});
}

/// Whether the name of a datastore, as NMDA's operations write it, is that of the candidate and not of running.
bool is_candidate(std::string_view name)
{
    name.remove_prefix(name.find(':') == std::string_view::npos ? 0 : name.find(':') + 1);
    if (name != "running" && name != "candidate") {
        throw refused_protocol("invalid-value", "The datastores that can be edited are running and candidate.",
                               "datastore");
    }
    return name == "candidate";
}

/// The same where NMDA adds a way to name the datastore (RFC 8526, 3.2).
bool names_candidate_in_either_way(Element operation, std::string_view parameter)
{
    const Element name = only_child(operation, parameter);
    return name.is("datastore", kNmdaNamespace) ? is_candidate(name.text()) : names_candidate(operation, parameter);
}

/// The configuration that an edit brings along; throws Refused.
Element config_of(Element operation)
{
    if (operation.child("url")) {
        throw refused_protocol("operation-not-supported", "Configuration is not fetched from elsewhere.", "url");
    }
    const Element config = operation.child("config");
    if (!config) {
        throw refused_protocol("missing-element", "The edit has no configuration.", "config");
    }
    return config;
}

Operation default_operation_of(Element operation)
{
    const Element element = operation.child("default-operation");
    if (!element) {
        return Operation::merge;
    }
    const auto found = find_operation(element.text());
    if (!found || (*found != Operation::merge && *found != Operation::replace && *found != Operation::none)) {
        throw refused_protocol("invalid-value",
                               "\"" + std::string{element.text()} + "\" is none of merge, replace and none.",
                               "default-operation");
    }
    return *found;
}

/// Throws unless the element, if it is there, holds one of the words.
std::string_view word_of(Element operation, std::string_view name, std::initializer_list<std::string_view> words)
{
    const Element element = operation.child(name);
    if (!element) {
        return {};
    }
    for (const std::string_view word : words) {
        if (element.text() == word) {
            return word;
        }
    }
    throw refused_protocol("invalid-value", "\"" + std::string{element.text()} + "\" is no value of this parameter.",
                           std::string{name});
}

void change_candidate(WriterTurn& turn, const ChangeSet& set)
{
    for (const auto& [name, value] : set.changes) {
        turn.state().candidate[name] = value;
        if (set.through_client.count(name) != 0) {
            turn.state().through_client.insert(name);
        } else {
            turn.state().through_client.erase(name);
        }
    }
    // What ends up as running has it is no change.
    std::erase_if(turn.state().candidate,
                  [&](const auto& change) { return turn.running().get(change.first) == change.second; });
}

/// Those of the changes whose nodes the author may read. A right on the client's tree is none on the native ones.
kelda::Changes readable(const Yang& yang, kelda::Changes changes, const Author& author)
{
    if (author.who.recovery) {
        return changes;
    }
    TreeBuilder before(yang);
    TreeBuilder after(yang);
    for (const kelda::Change& change : changes) {
        if (change.before) {
            before.add(change.key, *change.before);
        }
        if (change.after) {
            after.add(change.key, *change.after);
        }
    }
    Records seen;
    for (TreeBuilder* const builder : {&before, &after}) {
        lyd_node* first = builder->take().release();
        author.nacm.prune_unreadable(author.who, &first);
        const bridge::DataPtr left{first};
        add_records(left.get(), seen);
    }
    std::erase_if(changes, [&](const kelda::Change& change) { return seen.find(change.key) == seen.end(); });
    return changes;
}

} // namespace

void Service::edit_config(Lane&, const RequestPtr& request, Element operation, bool)
{
    check_parameters_once(operation, {"target", "default-operation", "test-option", "error-option", "config", "url"});
    const bool candidate = names_candidate(operation, "target");
    edit(request, config_of(operation), candidate, operation);
}

void Service::edit_data(Lane&, const RequestPtr& request, Element operation, bool)
{
    check_parameters_once(operation, {"datastore", "default-operation", "config", "url"});
    const Element datastore = operation.child("datastore");
    if (!datastore) {
        throw refused_protocol("missing-element", "The request does not say which datastore it means.", "datastore");
    }
    const bool candidate = is_candidate(datastore.text());
    edit(request, config_of(operation), candidate, operation);
}

void Service::edit(const RequestPtr& request, Element config, bool candidate, Element operation)
{
    const Operation default_operation = default_operation_of(operation);
    const std::string_view test = word_of(operation, "test-option", {"test-then-set", "set", "test-only"});
    word_of(operation, "error-option", {"stop-on-error", "continue-on-error", "rollback-on-error"});
    // A candidate may pass through states that no running configuration may have, unless the client asks.
    const bool judge = !candidate || test == "test-then-set" || test == "test-only";
    write(request, [this, request, config, candidate, default_operation, judge, test](WriterTurn& turn) {
        turn.check_lock(candidate);
        const Author author = request->author(parts_.nacm_counters);
        ChangeSet set;
        {
            const Stopwatch time(parts_.counters.mapping);
            const Overlay over = turn.candidate();
            const kelda::Reader& base = candidate ? static_cast<const kelda::Reader&>(over) : turn.running();
            set = change_of(turn.mapper(), base, config, default_operation, judge, author);
        }
        if (test != "test-only") {
            candidate ? change_candidate(turn, set) : turn.change_running(set.changes);
        }
        return std::string{};
    });
}

void Service::preview_edit(Lane&, const RequestPtr& request, Element operation, bool)
{
    check_parameters_once(operation, {"default-operation", "config"});
    const Element config = config_of(operation);
    const Operation default_operation = default_operation_of(operation);
    write(request, [this, request, config, default_operation](WriterTurn& turn) {
        const Author author = request->author(parts_.nacm_counters);
        const ChangeMap changes =
            change_of(turn.mapper(), turn.running(), config, default_operation, true, author).changes;
        std::string reply;
        const auto add = [&](const char* name, std::string_view text) {
            reply.append("<").append(name).append(">");
            append_escaped(reply, text);
            reply.append("</").append(name).append(">");
        };
        for (const kelda::Change& change :
             readable(turn.mapper().yang(), differences(turn.running(), changes), author)) {
            reply.append("<change xmlns=\"urn:zpf:yang:zpf-agent\">");
            add("path", instance_identifier(turn.mapper().yang(), change.key));
            if (change.before) {
                add("before", *change.before);
            }
            if (change.after) {
                add("after", *change.after);
            }
            reply.append("</change>");
        }
        return reply;
    });
}

void Service::copy_config(Lane&, const RequestPtr& request, Element operation, bool)
{
    check_parameters_once(operation, {"target", "source", "with-defaults"});
    const bool to_candidate = names_candidate(operation, "target");
    const Element config = config_in(operation, "source");
    const bool from_candidate = !config && names_candidate(operation, "source");
    if (!config && from_candidate == to_candidate) {
        throw refused_protocol("invalid-value", "Source and target are the same.", "source");
    }
    write(request, [this, request, config, to_candidate, from_candidate](WriterTurn& turn) {
        turn.check_lock(to_candidate);
        const Author author = request->author(parts_.nacm_counters);
        const Overlay over = turn.candidate();
        const kelda::Reader& target = to_candidate ? static_cast<const kelda::Reader&>(over) : turn.running();
        ChangeSet set;
        if (config) {
            const Who everyone{"", {}, true}; // rules and models judge the difference, below
            set = replacement_of(turn.mapper(), target, config, {everyone, author.nacm, author.counters});
        } else {
            set.changes = change_to(target, from_candidate ? static_cast<const kelda::Reader&>(over) : turn.running());
            set.through_client = turn.state().through_client;
        }
        check_access(turn.mapper(), target, set, author);
        if (to_candidate) {
            change_candidate(turn, set);
        } else {
            validate(turn.mapper().yang(), Overlay(turn.running(), set.changes), set.changes);
            turn.change_running(set.changes);
        }
        return std::string{};
    });
}

void Service::delete_config(Lane&, const RequestPtr&, Element operation, bool)
{
    check_parameters_once(operation, {"target"});
    const Element target = operation.child("target");
    const Element name = target ? target.first_child() : Element{};
    throw refused_protocol(name ? "operation-not-supported" : "missing-element",
                           "The device has no datastore that can be deleted.",
                           name ? std::string{name.name()} : "target");
}

void Service::lock(Lane&, const RequestPtr& request, Element operation, bool)
{
    check_parameters_once(operation, {"target"});
    const bool candidate = names_candidate_in_either_way(operation, "target");
    write(request, [candidate](WriterTurn& turn) {
        WriterState& state = turn.state();
        Lock& lock = candidate ? state.candidate_lock : state.running_lock;
        const uint32_t id = turn.session().id;
        const auto deny = [](uint32_t holder, const std::string& message) {
            RpcError error = refused_protocol("lock-denied", message).errors().front();
            error.info.emplace_back("session-id", std::to_string(holder));
            return Refused(std::move(error));
        };
        if (lock.session != 0) {
            throw deny(lock.session, lock.session == id
                                         ? "This session holds the lock already."
                                         : "Session " + std::to_string(lock.session) + " holds the lock.");
        }
        if (candidate && !state.candidate.empty()) {
            throw deny(0, "The candidate configuration has changes that are neither committed nor discarded.");
        }
        if (!candidate && state.confirmed && state.confirmed->session != id) {
            throw deny(state.confirmed->session, "A commit of session " + std::to_string(state.confirmed->session) +
                                                     " is waiting to be confirmed.");
        }
        lock = {id, std::chrono::system_clock::now()};
        return std::string{};
    });
}

void Service::unlock(Lane&, const RequestPtr& request, Element operation, bool)
{
    check_parameters_once(operation, {"target"});
    const bool candidate = names_candidate_in_either_way(operation, "target");
    write(request, [candidate](WriterTurn& turn) {
        Lock& lock = candidate ? turn.state().candidate_lock : turn.state().running_lock;
        if (lock.session != turn.session().id) {
            throw refused_protocol("operation-failed",
                                   lock.session == 0 ? "There is no lock."
                                                     : "Session " + std::to_string(lock.session) + " holds the lock.");
        }
        lock = {};
        if (candidate) {
            turn.state().drop_candidate();
        }
        return std::string{};
    });
}

void Service::discard_changes(Lane&, const RequestPtr& request, Element operation, bool)
{
    check_parameters_once(operation, {});
    write(request, [](WriterTurn& turn) {
        turn.check_lock(true);
        turn.state().drop_candidate();
        return std::string{};
    });
}

namespace {

struct CommitOptions {
    bool confirmed = false;
    unsigned timeout_s = 600; // RFC 6241, 8.4.5
    std::string persist;
    std::string persist_id;
    bool has_persist_id = false;
};

CommitOptions commit_options(Element operation)
{
    check_parameters_once(operation, {"confirmed", "confirm-timeout", "persist", "persist-id"});
    CommitOptions options;
    options.confirmed = static_cast<bool>(operation.child("confirmed"));
    if (const Element timeout = operation.child("confirm-timeout")) {
        const std::string_view text = timeout.text();
        const auto end = std::from_chars(text.data(), text.data() + text.size(), options.timeout_s);
        if (end.ec != std::errc{} || end.ptr != text.data() + text.size() || options.timeout_s == 0) {
            throw refused_protocol("invalid-value", "The timeout is a number of seconds, at least 1.",
                                   "confirm-timeout");
        }
    }
    if (const Element persist = operation.child("persist")) {
        options.persist = persist.text();
    }
    if (const Element id = operation.child("persist-id")) {
        options.persist_id = id.text();
        options.has_persist_id = true;
    }
    return options;
}

/// Throws unless the session may go on with the commit that waits to be confirmed.
void check_confirmed(const WriterTurn& turn, const std::optional<Confirmed>& confirmed, const std::string& persist_id,
                     bool has_persist_id)
{
    if (has_persist_id && (!confirmed || confirmed->persist.empty() || confirmed->persist != persist_id)) {
        throw refused_protocol("invalid-value", "No commit with this persist-id is waiting to be confirmed.",
                               "persist-id");
    }
    if (confirmed && !has_persist_id && (!confirmed->persist.empty() || confirmed->session != turn.session().id)) {
        throw refused_protocol("in-use", confirmed->persist.empty()
                                             ? "A commit of session " + std::to_string(confirmed->session) +
                                                   " is waiting to be confirmed."
                                             : "A commit is waiting to be confirmed; its persist-id is needed.");
    }
}

} // namespace

void Service::commit(Lane&, const RequestPtr& request, Element operation, bool)
{
    const CommitOptions options = commit_options(operation);
    write(request, [this, request, options](WriterTurn& turn) {
        turn.check_lock(false);
        turn.check_lock(true);
        WriterState& state = turn.state();
        const Yang& yang = turn.mapper().yang();
        check_confirmed(turn, state.confirmed, options.persist_id, options.has_persist_id);
        {
            const Stopwatch time(parts_.counters.mapping);
            validate(yang, turn.candidate(), state.candidate);
            check_access(turn.mapper(), turn.running(), {state.candidate, state.through_client},
                         request->author(parts_.nacm_counters));
        }
        const std::optional<Confirmed> before = state.confirmed;
        const bool pending = before.has_value();
        // What changes nothing takes no right, so it must not begin to wait: its end would undo the edits of others.
        const bool waits = options.confirmed && (pending || !differences(turn.running(), state.candidate).empty());
        if (waits) {
            if (!state.confirmed) {
                state.confirmed.emplace();
            }
            state.confirmed->session = turn.session().id;
            state.confirmed->persist = options.persist;
            state.confirmed->deadline = std::chrono::system_clock::now() + std::chrono::seconds{options.timeout_s};
        }
        try {
            turn.commit_candidate();
        } catch (...) {
            state.confirmed = before;
            throw;
        }
        if (!options.confirmed && pending) {
            turn.confirm();
        } else if (waits) {
            turn.keep_confirmed();
        }
        if (waits || pending) {
            turn.announce(confirmed_commit(yang, &turn.session(),
                                           !options.confirmed ? "complete"
                                           : pending          ? "extend"
                                                              : "start",
                                           options.timeout_s));
        }
        return std::string{};
    });
}

void Service::cancel_commit(Lane&, const RequestPtr& request, Element operation, bool)
{
    check_parameters_once(operation, {"persist-id"});
    const Element id = operation.child("persist-id");
    write(request, [id](WriterTurn& turn) {
        if (!turn.state().confirmed) {
            throw id ? refused_protocol("invalid-value", "No commit with this persist-id is waiting to be confirmed.",
                                        "persist-id")
                     : refused_protocol("operation-failed", "No commit is waiting to be confirmed.");
        }
        // Whoever runs the agent can end any, also one whose persist-id nobody remembers.
        if (id || !turn.session().who.recovery) {
            check_confirmed(turn, turn.state().confirmed, id ? std::string{id.text()} : "", static_cast<bool>(id));
        }
        turn.roll_back();
        turn.announce(confirmed_commit(turn.mapper().yang(), &turn.session(), "cancel", 0));
        return std::string{};
    });
}

void Service::validate_config(Lane&, const RequestPtr& request, Element operation, bool)
{
    check_parameters_once(operation, {"source"});
    const Element config = config_in(operation, "source");
    const bool candidate = !config && names_candidate_in_either_way(operation, "source");
    write(request, [this, request, config, candidate](WriterTurn& turn) {
        const Yang& yang = turn.mapper().yang();
        if (config) {
            const Nothing nothing;
            const Who everyone{"", {}, true}; // nothing is written
            change_of(turn.mapper(), nothing, config, Operation::merge, true,
                      {everyone, *request->nacm, parts_.nacm_counters});
        } else if (candidate) {
            validate_all(yang, turn.candidate());
            check_rule_paths(yang, turn.state().candidate);
        } else {
            validate_all(yang, turn.running());
        }
        return std::string{};
    });
}

} // namespace zpf::agent
