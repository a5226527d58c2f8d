// SPDX-License-Identifier: Apache-2.0
//
// The agent without sockets.
#include "agent_testing.hpp"

#include <fstream>
#include <unistd.h>

#include <fmt/format.h>

namespace test {

using namespace zpf::agent;

namespace {

constexpr const char* kSeed = R"(<data xmlns="urn:ietf:params:xml:ns:netconf:base:1.0">
<interface-configurations xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-ifmgr-cfg">
<interface-configuration><active>act</active><interface-name>GigabitEthernet0/0/0/0</interface-name>
<description>uplink</description></interface-configuration>
<interface-configuration><active>act</active><interface-name>Ots0/0/0/0</interface-name>
<ots xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-controller-ots-cfg"><ots-tx-voa-attenuation>30</ots-tx-voa-attenuation></ots>
</interface-configuration>
<interface-configuration><active>act</active><interface-name>Ots0/0/0/1</interface-name>
<ots xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-controller-ots-cfg"><ots-tx-voa-attenuation>77</ots-tx-voa-attenuation></ots>
</interface-configuration>
<interface-configuration><active>act</active><interface-name>Ots0/0/0/2</interface-name>
<ots xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-controller-ots-cfg"><ots-tx-voa-attenuation>95</ots-tx-voa-attenuation></ots>
</interface-configuration>
</interface-configurations></data>)";

std::string plugin_file()
{
    return std::string{TEST_PLUGIN_DIR} + "/liboc_attenuator.so";
}

kelda::Store open_seeded(const std::string& folder, kelda::Faults& faults)
{
    kelda::Options options;
    options.faults = &faults;
    kelda::Store store = kelda::Store::open(folder + "/store", options);
    const std::string file = folder + "/seed.xml";
    std::ofstream(file) << kSeed;
    seed(yang(), store, file);
    return store;
}

} // namespace

Folder::Folder()
{
    std::string pattern = std::filesystem::temp_directory_path() / "zpf-agent-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    path_ = pattern;
}

Folder::~Folder()
{
    std::error_code error;
    std::filesystem::remove_all(path_, error);
}

std::shared_ptr<SessionInfo> session_of(const std::string& user, bool recovery)
{
    static std::atomic<uint32_t> last{0};
    auto session = std::make_shared<SessionInfo>();
    session->id = ++last;
    session->who = {user, {}, recovery};
    session->transport = "unix";
    return session;
}

Yang& yang()
{
    static Yang models({TEST_YANG_DIR}, {TEST_AGENT_YANG_DIR, TEST_IETF_YANG_DIR});
    return models;
}

AgentDouble::AgentDouble()
    : store(open_seeded(folder.path(), faults)),
      mapping(yang(), plugin_file(), diagnostics),
      pool(mapping, 2),
      lane(mapping)
{
    start();
}

AgentDouble::~AgentDouble() = default;

void AgentDouble::start()
{
    writer = std::make_unique<Writer>(WriterParts{store, mapping, device, rules, nacm_counters, counters,
                                                  [this](std::shared_ptr<const Event> event) {
                                                      const std::lock_guard lock(events_mutex);
                                                      events.emplace_back(event->content->schema->name);
                                                  },
                                                  subscribers, [](int, const std::string&) {},
                                                  std::chrono::milliseconds{50}});
    state = std::make_unique<StateData>(StateData::Parts{yang(), store, *writer, sessions, counters, nacm_counters,
                                                         diagnostics, &device_faults, "", "test"});
    service =
        std::make_unique<Service>(ServiceParts{store, mapping, *writer, pool, rules, nacm_counters, counters, *state,
                                               &device_faults, diagnostics, true, [](int, const std::string&) {}});
}

void AgentDouble::restart()
{
    service.reset();
    state.reset();
    writer.reset();
    start();
}

void AgentDouble::end_session(const std::shared_ptr<SessionInfo>& session)
{
    writer->session_ended(session);
    ask("<validate><source><running/></source></validate>"); // jobs keep their order
}

std::string AgentDouble::send(const std::shared_ptr<SessionInfo>& session, const std::string& message)
{
    std::promise<std::string> reply;
    service->serve(lane, session, message, false, [&](Outcome outcome) { reply.set_value(std::move(outcome.reply)); });
    return reply.get_future().get();
}

std::string AgentDouble::ask(const std::shared_ptr<SessionInfo>& session, const std::string& operation)
{
    std::string reply =
        send(session, R"(<rpc xmlns="urn:ietf:params:xml:ns:netconf:base:1.0" message-id="7">)" + operation + "</rpc>");
    const std::string begin = R"(<rpc-reply xmlns="urn:ietf:params:xml:ns:netconf:base:1.0" message-id="7">)";
    const std::string end = "</rpc-reply>";
    EXPECT_TRUE(reply.starts_with(begin) && reply.ends_with(end)) << reply;
    return reply.substr(begin.size(), reply.size() - begin.size() - end.size());
}

std::string AgentDouble::edit(const std::string& config, const std::string& more, const std::string& target)
{
    return ask("<edit-config><target><" + target + "/></target>" + more +
               R"(<config xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0">)" + config + "</config></edit-config>");
}

std::string AgentDouble::get_config(const std::string& filter, const std::string& source)
{
    return ask("<get-config><source><" + source + "/></source><filter>" + filter + "</filter></get-config>");
}

std::string AgentDouble::configured_db(const std::string& name)
{
    const std::string reply = get_config(fmt::format(
        R"(<optical-attenuator xmlns="http://openconfig.net/yang/optical-attenuator"><attenuators><attenuator>)"
        "<name>{}</name><config><attenuation/></config></attenuator></attenuators></optical-attenuator>",
        name));
    const auto begin = reply.find("<attenuation>");
    return begin == std::string::npos ? "none" : reply.substr(begin + 13, reply.find('<', begin + 1) - begin - 13);
}

std::string attenuator(const std::string& name, const std::string& db, const std::string& operation)
{
    const std::string attribute = operation.empty() ? "" : " nc:operation=\"" + operation + "\"";
    const std::string value = db.empty() ? "" : "<attenuation>" + db + "</attenuation>";
    return fmt::format(
        R"(<optical-attenuator xmlns="http://openconfig.net/yang/optical-attenuator"><attenuators><attenuator{}>)"
        "<name>{}</name><config><name>{}</name>{}</config></attenuator></attenuators></optical-attenuator>",
        attribute, name, name, value);
}

std::string interface(const std::string& name, const std::string& content, const std::string& operation)
{
    const std::string attribute = operation.empty() ? "" : " nc:operation=\"" + operation + "\"";
    return fmt::format(R"(<interface-configurations xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-ifmgr-cfg">)"
                       "<interface-configuration{}><active>act</active><interface-name>{}</interface-name>{}"
                       "</interface-configuration></interface-configurations>",
                       attribute, name, content);
}

} // namespace test
