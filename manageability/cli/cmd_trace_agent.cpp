// SPDX-License-Identifier: Apache-2.0
//
// `zpf trace` from its command line: a ring's file, or the ring of the running agent.
#include <fmt/format.h>
#include <poll.h>

#include "agent_client.hpp"
#include "cmd_trace.hpp"
#include "on_chosen.hpp"
#include "signals_blocked.hpp"
#include "zpf_map/plugin.hpp"

namespace zpf::cli {

namespace {

struct TraceCommandOptions : AgentOptions {
    TraceOptions trace;
};

void switch_tracing(AgentClient& agent, bool on)
{
    agent.rpc(fmt::format(R"(<set-diagnostics xmlns="{}"><trace>{}</trace></set-diagnostics>)", kAgentNamespace, on));
}

/// Nothing is sent that was not asked for: whatever there is to receive is the end.
bool has_ended(AgentClient& agent)
{
    pollfd session{agent.session().descriptor(), POLLIN, 0};
    return ::poll(&session, 1, 0) > 0;
}

/// Follows the agent's ring, which is written meanwhile even if it was not before.
int follow_agent(AgentClient& agent, const TraceCommandOptions& options)
{
    const SignalsBlocked blocked; // from here on, so that the agent does not go on tracing for nobody
    const XmlElement state = read_agent_state(agent);
    TraceOptions trace = options.trace;
    trace.file = state.text_at("diagnostics/trace-file");
    if (trace.file.empty()) {
        throw Failure(options.socket + ": the agent has no trace ring");
    }
    const bool was_on = state.text_at("diagnostics/trace") == "true";
    if (!was_on) {
        switch_tracing(agent, true);
    }
    trace.goes_on = [&agent] { return !has_ended(agent); };
    const int status = run_trace(trace);
    if (has_ended(agent)) {
        read_agent_state(agent); // tells that it has
    }
    if (!was_on) {
        switch_tracing(agent, false);
    }
    return status;
}

int trace(const TraceCommandOptions& options)
{
    TraceOptions of_file = options.trace;
    of_file.json = options.json;
    if (!of_file.file.empty()) {
        return run_trace(of_file);
    }
    TraceCommandOptions of_agent = options;
    of_agent.trace = of_file;
    return with_agent(options, [&](AgentClient& agent) { return follow_agent(agent, of_agent); });
}

} // namespace

void add_trace(CLI::App& app, Chosen& chosen)
{
    const auto options = std::make_shared<TraceCommandOptions>();
    TraceOptions& trace_options = options->trace;
    CLI::App& command = *app.add_subcommand("trace", "Prints the lines of a trace ring, newest last");
    command.add_option("FILE", trace_options.file, "The ring's file (with --follow, default: the running agent's)");
    command.add_flag("-f,--follow", trace_options.follow, "Goes on with new lines until interrupted");
    command.add_option("-n,--last", trace_options.last, "At most so many of the lines that are there")->type_name("N");
    command.add_option("--grep", trace_options.grep, "Only lines with this text in them")->type_name("TEXT");
    add_agent_options(command, *options);
    command.footer(std::string{"Without FILE the agent writes its ring while it is followed, and stops at the end if "
                               "it did not\nbefore. With --json one object a line.\n"} +
                   kAgentExitStatuses);
    command.parse_complete_callback([options] {
        if (options->trace.file.empty() && !options->trace.follow) {
            throw CLI::ValidationError("FILE", "which one? With --follow it may be left out: the running agent's");
        }
    });
    on_chosen(command, chosen, options, trace);
}

} // namespace zpf::cli
