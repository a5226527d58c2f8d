// SPDX-License-Identifier: Apache-2.0
//
// `zpf watch`: a line for each change of an attenuator, as it happens.
// The agent says that something has changed and where; what it is now is read, and compared with what it was.
#include <fmt/format.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <optional>

#include "agent_client.hpp"
#include "attenuators.hpp"
#include "json_values.hpp"
#include "on_chosen.hpp"
#include "short_path.hpp"
#include "signals_blocked.hpp"
#include "zpf_map/plugin.hpp"

namespace zpf::cli {

namespace {

using Json = nlohmann::ordered_json;

struct WatchOptions : AgentOptions {
    std::optional<std::uint64_t> count; ///< lines after which it ends
};

/// One thing that was one way and is another way now.
struct Change {
    std::string subject; ///< attenuator, or path of native configuration
    std::string what;    ///< configured, actual, enabled; or the operation on native configuration
    std::string before, after;
};

/// The signals as something that can be waited for beside the session.
class EndSignals {
public:
    EndSignals() : descriptor_(::signalfd(-1, &blocked_.signals(), SFD_CLOEXEC | SFD_NONBLOCK))
    {
        if (descriptor_ < 0) {
            throw Failure("no descriptor left for signals");
        }
    }
    ~EndSignals() { ::close(descriptor_); }
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

    /// Waits until the session has something, or a signal came. @return false when a signal came
    bool wait_for(int session) const
    {
        std::array<pollfd, 2> waited{pollfd{session, POLLIN, 0}, pollfd{descriptor_, POLLIN, 0}};
        ::poll(waited.data(), waited.size(), -1);
        signalfd_siginfo taken; // one that is not taken would end the program once it is let through again
        return ::read(descriptor_, &taken, sizeof(taken)) != static_cast<ssize_t>(sizeof(taken));
    }

private:
    SignalsBlocked blocked_;
    int descriptor_;
};

class Watch {
public:
    Watch(AgentClient& agent, const WatchOptions& options)
        : agent_(agent),
          options_(options),
          style_(Style::of(stdout, options.colour)),
          left_(options.count.value_or(std::numeric_limits<std::uint64_t>::max()))
    {}

    int run()
    {
        const EndSignals signals;
        agent_.rpc(R"(<create-subscription xmlns="urn:ietf:params:xml:ns:netconf:notification:1.0"/>)");
        now_ = read_attenuators(agent_); // after the subscription, so that nothing falls between
        fmt::print(stderr, "zpf: watching {} attenuators; ends on ^C\n", now_.size());
        while (left_ > 0) {
            const std::string text = agent_.session().next_notification(std::chrono::milliseconds{0});
            if (!text.empty()) {
                take(parse_xml(text).children.front());
            } else if (!signals.wait_for(agent_.session().descriptor())) {
                break;
            }
        }
        return kDone;
    }

private:
    void take(const XmlElement& notification)
    {
        const std::string time = notification.text_at("eventTime");
        const XmlElement* const change = notification.child("netconf-config-change");
        if (change == nullptr && notification.child("reading-change") == nullptr) {
            return;
        }
        const std::vector<Attenuator> before = std::exchange(now_, read_attenuators(agent_));
        for (const Attenuator& each : now_) {
            compare(time, find(before, each.name), each);
        }
        for (const Attenuator& each : before) {
            if (std::none_of(now_.begin(), now_.end(), [&](const Attenuator& now) { return now.name == each.name; })) {
                compare(time, each, {each.name, "", "", "", ""});
            }
        }
        if (change != nullptr) {
            tell_of_others(time, *change, before);
        }
    }

    static Attenuator find(const std::vector<Attenuator>& list, const std::string& name)
    {
        const auto found =
            std::find_if(list.begin(), list.end(), [&](const Attenuator& each) { return each.name == name; });
        return found == list.end() ? Attenuator{name, "", "", "", ""} : *found;
    }

    void compare(const std::string& time, const Attenuator& before, const Attenuator& after)
    {
        const auto tell_if_other = [&](const char* what, const std::string& was, const std::string& is) {
            if (was != is) {
                tell(time, {after.name, what, was, is});
            }
        };
        tell_if_other("configured", before.configured_db, after.configured_db);
        tell_if_other("actual", before.actual_db, after.actual_db);
        tell_if_other("enabled", before.enabled, after.enabled);
    }

    /// True for configuration that these attenuators stand for: of the port behind one, or of one in the client model.
    static bool stand_for(const std::vector<Attenuator>& list, const std::string& target)
    {
        const bool own = top_of(target) == "optical-attenuator";
        const std::string key = key_in_path(target, own ? "name" : "interface-name");
        if (key.empty()) {
            return own; // all of them at once
        }
        return std::any_of(list.begin(), list.end(),
                           [&](const Attenuator& each) { return key == (own ? each.name : controller_of(each.name)); });
    }

    /// Configuration that no attenuator stands for, nor did before.
    void tell_of_others(const std::string& time, const XmlElement& change, const std::vector<Attenuator>& before)
    {
        for (const XmlElement& edit : change.children) {
            const std::string target = edit.text_at("target");
            const bool seen = stand_for(now_, target) || stand_for(before, target);
            if (edit.name == "edit" && !target.empty() && !seen) {
                tell(time, {short_path(target), edit.text_at("operation"), "", ""});
            }
        }
    }

    void tell(const std::string& time, const Change& change)
    {
        if (left_ == 0) {
            return;
        }
        --left_;
        if (options_.json) {
            fmt::print("{}\n", json_of(time, change).dump(-1, ' ', false, Json::error_handler_t::replace));
        } else {
            const auto shown = [](const std::string& value) { return value.empty() ? std::string{"-"} : value; };
            const bool values = !change.before.empty() || !change.after.empty();
            fmt::print("{}{}{}  {}  {}{}\n", style_.dim, time, style_.off, change.subject, change.what,
                       values ? "  " + shown(change.before) + " -> " + shown(change.after) : "");
        }
        std::fflush(stdout);
    }

    static Json json_of(const std::string& time, const Change& change)
    {
        const auto value = [&](const std::string& text) {
            return change.what == "enabled" ? json_boolean(text) : json_number(text);
        };
        if (change.subject.starts_with("/")) {
            return {{"time", time}, {"path", change.subject}, {"operation", change.what}};
        }
        return {{"time", time},
                {"attenuator", change.subject},
                {"what", change.what},
                {"before", value(change.before)},
                {"after", value(change.after)}};
    }

    AgentClient& agent_;
    const WatchOptions& options_;
    const Style style_;
    std::uint64_t left_;
    std::vector<Attenuator> now_;
};

int watch(const WatchOptions& options)
{
    return with_agent(options, [&](AgentClient& agent) { return Watch(agent, options).run(); });
}

} // namespace

void add_watch(CLI::App& app, Chosen& chosen)
{
    const auto options = std::make_shared<WatchOptions>();
    CLI::App& command = *app.add_subcommand("watch", "Prints changes of the attenuators as they happen");
    command.add_option("--count", options->count, "Ends after so many lines (default: on ^C)")
        ->type_name("N")
        ->check([](const std::string& text) {
            // A negative number would be taken for the rest of all that there are.
            return json_count(text).is_null() ? "\"" + text + "\" is no number of lines" : std::string{};
        });
    add_agent_options(command, *options);
    command.footer(std::string{"A line is time, attenuator, what (configured, actual, enabled), before -> after; or "
                               "time, path and\noperation for configuration that no attenuator stands for. With "
                               "--json one object a line.\n"} +
                   kAgentExitStatuses);
    on_chosen(command, chosen, options, watch);
}

} // namespace zpf::cli
