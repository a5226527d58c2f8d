// SPDX-License-Identifier: Apache-2.0
//
// zpfd: the command line, logs and signals of the agent.
#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <sys/signalfd.h>
#include <unistd.h>

#include "agent.hpp"
#include "places.hpp"
#include "zpf_netconf/client.hpp"

namespace {

using zpf::agent::Agent;
using zpf::agent::Options;

/// "USER:FILE" or "FINGERPRINT:USER"; a fingerprint may hold colons itself, so the last one separates.
CLI::Option* add_pairs(CLI::App& app, const std::string& name, std::vector<std::pair<std::string, std::string>>& pairs,
                       bool last_colon, const std::string& help)
{
    return app.add_option_function<std::vector<std::string>>(
        name,
        [&pairs, name, last_colon](const std::vector<std::string>& texts) {
            for (const std::string& text : texts) {
                const auto colon = last_colon ? text.rfind(':') : text.find(':');
                if (colon == std::string::npos || colon == 0 || colon + 1 == text.size()) {
                    throw CLI::ValidationError(name, "\"" + text + "\" is no pair with a colon between");
                }
                pairs.emplace_back(text.substr(0, colon), text.substr(colon + 1));
            }
        },
        help);
}

/// Refuses numbers outside of the range. CLI11's own check lets through what is no number and takes -1 for a huge one.
template <typename Number>
std::function<std::string(const std::string&)> in(const zpf::agent::NumberRange<Number>& range)
{
    return [&range](const std::string& text) { return zpf::agent::complaint_of(text, range); };
}

CLI::Option* add_ms(CLI::App& app, const std::string& name, std::chrono::milliseconds& time, const std::string& help)
{
    return app
        .add_option_function<double>(
            name, [&time](double seconds) { time = std::chrono::milliseconds{static_cast<long long>(seconds * 1000)}; },
            help + fmt::format(" [{} s]", time.count() / 1000))
        ->check(in(zpf::agent::kSecondsRange))
        ->type_name("SECONDS");
}

void add_options(CLI::App& app, Options& options, std::string& level)
{
    app.add_option("--store", options.store, "Folder of the data store; made if it is missing")
        ->required()
        ->type_name("DIR");
    app.add_option("--listen", options.listen,
                   fmt::format("unix:PATH, ssh:ADDRESS:PORT or tls:ADDRESS:PORT; several times [unix:{}]",
                               zpf::netconf::kDefaultSocket))
        ->type_name("WHERE");
    app.add_option("--seed", options.seed, "Native data, XML or JSON, for a store that is new")->type_name("FILE");
    add_pairs(app, "--authorized-keys", options.authorized_keys, false,
              "Public keys, in OpenSSH's form, that let a user in by SSH; several times")
        ->type_name("USER:FILE");
    add_pairs(app, "--tls-user", options.tls_users, true,
              "SHA-256 fingerprint of a client's certificate, and the user it stands for; several times")
        ->type_name("FINGERPRINT:USER");
    app.add_option("--tls-ca", options.tls_ca, "Authorities, PEM, that vouch for clients' certificates")
        ->type_name("FILE");
    app.add_option("--tls-certificate", options.tls_certificate, "The agent's certificate, PEM [made in the store]")
        ->type_name("FILE");
    app.add_option("--tls-key", options.tls_key, "Its key, PEM")->type_name("FILE");
    app.add_option("--plugin-dir", options.plugin_dir, "Folder of the mapping plug-in [the one that came along]")
        ->type_name("DIR");
    app.add_option("--yang-dir", options.yang_dirs, "Folder of the device's models [those that came along]")
        ->type_name("DIR");
    app.add_option("--protocol-yang-dir", options.protocol_yang_dirs,
                   "Folder of the protocol's modules [those that came along, and Debian's]")
        ->type_name("DIR");
    app.add_option("--device", options.device, "The device's driver [sim]")->check(CLI::IsMember({"sim"}));
    app.add_option("--slew", options.slew_db_per_s,
                   "How fast the simulated attenuators move, dB a second; 0: at once [0]")
        ->check(in(zpf::agent::kSlewRange))
        ->type_name("RATE");
    app.add_option_function<std::string>(
           "--sync", [&options](const std::string& word) { options.relaxed = word == "relaxed"; },
           "full: what was acknowledged survives a power cut; relaxed: a power cut may undo the last "
           "edits, but never leaves half of one [full]")
        ->check(CLI::IsMember({"full", "relaxed"}));
    app.add_option("--log", level, "error, info or debug, on standard error [info]")
        ->check(CLI::IsMember({"error", "info", "debug"}));
    app.add_option("--mapping-log", options.mapping_log, "Debug log of framework and plug-in [off]")
        ->check(CLI::IsMember({"off", "error", "trace"}));
    app.add_option("--trace-file", options.trace_file, "Trace ring; see zpf trace [STORE/trace]")->type_name("FILE");
    app.add_flag("--trace", options.trace, "Writes the ring from the start, not only once it is switched on");
    app.add_option("--threads", options.threads, "Threads for long reads [2]")->check(CLI::Range(1, 64));
    app.add_flag_callback(
        "--no-kept-answers", [&options] { options.keep_answers = false; },
        "Maps every read anew, even when nothing has changed since the same one");
    app.add_option("--max-sessions", options.limits.sessions, "Sessions at a time [256]")
        ->check(in(zpf::agent::kSessionsRange));
    app.add_option("--max-message", options.limits.message_bytes, "Longest message, bytes [16 MiB]")
        ->check(in(zpf::agent::kMessageBytesRange));
    app.add_option("--max-unsent", options.limits.unsent_bytes,
                   "Bytes that may wait for a client that does not read [64 MiB]")
        ->check(in(zpf::agent::kUnsentBytesRange));
    add_ms(app, "--hello-time", options.limits.hello_time, "Time for a client's hello");
    add_ms(app, "--message-time", options.limits.message_time, "Time for the rest of a message");
    add_ms(app, "--unsent-time", options.limits.unsent_time, "Time for a client to read on");
    app.footer(
        "Prints one line beginning with \"ready\" once it accepts sessions. Ends on SIGTERM, SIGINT and SIGHUP,\n"
        "sessions first. Exit status: 0 ended as told, 1 could not start or go on, 2 usage.");
}

/// Lines for people, or with priorities for the journal when that is what reads them.
Agent::Log log_to_stderr(int most)
{
    const bool journal = std::getenv("JOURNAL_STREAM") != nullptr;
    return [most, journal](int level, const std::string& text) {
        if (level > most) {
            return;
        }
        static constexpr std::array kPriorities{"<3>", "<3>", "<6>", "<7>"};
        static constexpr std::array kWords{"error", "error", "info", "debug"};
        const auto index = static_cast<std::size_t>(level < 0 ? 0 : level > 3 ? 3 : level);
        const std::string line = journal ? fmt::format("{}{}\n", kPriorities[index], text)
                                         : fmt::format("zpfd: {}: {}\n", kWords[index], text);
        static_cast<void>(!::write(STDERR_FILENO, line.data(), line.size())); // one call: lines are never mixed
    };
}

/// Files that are opened must not get the numbers of standard streams that whoever started this has closed: what is
/// printed would end up in them.
void open_standard_streams()
{
    for (int fd = 0; fd <= STDERR_FILENO;) {
        fd = ::open("/dev/null", O_RDWR);
        if (fd < 0) {
            return;
        }
        if (fd > STDERR_FILENO) {
            ::close(fd);
        }
    }
}

int run(const Options& options)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGHUP);                 // of a terminal that is closed
    ::sigprocmask(SIG_BLOCK, &signals, nullptr); // before there are threads, so that none takes them
    ::signal(SIGPIPE, SIG_IGN);
    const zpf::agent::UniqueFd ended(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    const Agent::Log log = log_to_stderr(options.log_level);
    try {
        Agent agent(options, log);
        std::string line = "ready";
        for (const std::string& address : agent.addresses()) {
            line += " " + address;
        }
        std::puts(line.c_str());
        std::fflush(stdout);
        agent.run(ended.get());
        log(2, "ended");
    } catch (const std::exception& error) {
        log(1, error.what());
        return 1;
    }
    return 0;
}

int start(int argc, char** argv)
{
    open_standard_streams();
    CLI::App app("The agent of an optical device: NETCONF for its attenuators, by OpenConfig and natively.", "zpfd");
    app.set_version_flag("--version", "zpfd " ZPF_VERSION);
    app.get_formatter()->column_width(36);
    Options options;
    std::string level = "info";
    add_options(app, options, level);
    try {
        app.parse(argc, argv);
        if (options.listen.empty()) {
            options.listen.push_back(std::string{"unix:"} + zpf::netconf::kDefaultSocket);
        }
        for (const std::string& address : options.listen) {
            zpf::agent::parse_listen(address);
        }
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "zpfd: %s\n", error.what());
        return 2;
    }
    options.log_level = level == "error" ? 1 : level == "info" ? 2 : 3;
    zpf::agent::fill_places(options);
    return run(options);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return start(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zpfd: %s\n", error.what());
        return 1;
    }
}
