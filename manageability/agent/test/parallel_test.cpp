// SPDX-License-Identifier: Apache-2.0
//
// Many sessions at once: nothing is lost, nothing is seen half.
#include "agent_testing.hpp"

#include <thread>

namespace {

using namespace test;

TEST(Parallel, ReadersSeeBothHalvesOfEveryEdit)
{
    AgentDouble agent;
    agent.edit(attenuator("0/0-VOA-BST0", "5.0") + attenuator("0/0-VOA-BST2", "5.0"));
    std::atomic<bool> stop{false};
    std::atomic<int> torn{0};
    std::atomic<int> reads{0};
    const std::string get = R"(<rpc xmlns="urn:ietf:params:xml:ns:netconf:base:1.0" message-id="1"><get-config>)"
                            "<source><running/></source><filter>" +
                            std::string{kOcFilter} + "</filter></get-config></rpc>";
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([&] {
            zpf::agent::Lane lane(agent.mapping);
            const auto session = session_of("reader", true);
            while (!stop) {
                std::promise<std::string> reply;
                agent.service->serve(lane, session, get, reads % 2 == 0,
                                     [&](zpf::agent::Outcome outcome) { reply.set_value(outcome.reply); });
                const std::string text = reply.get_future().get();
                const auto first = text.find("<attenuation>");
                const auto second = text.find("<attenuation>", first + 1);
                torn += text.substr(first, 17) != text.substr(second, 17) ? 1 : 0;
                ++reads;
            }
        });
    }
    std::vector<std::thread> writers;
    std::atomic<int> refused{0};
    for (int i = 0; i < 3; ++i) {
        writers.emplace_back([&, i] {
            zpf::agent::Lane lane(agent.mapping);
            const auto session = session_of("writer", true);
            for (int n = 0; n < 60; ++n) {
                const std::string db = std::to_string(i + 1) + "." + std::to_string(n % 10);
                std::promise<bool> done;
                agent.service->serve(lane, session,
                                     R"(<rpc xmlns="urn:ietf:params:xml:ns:netconf:base:1.0" message-id="2">)"
                                     "<edit-config><target><running/></target><config>" +
                                         attenuator("0/0-VOA-BST0", db) + attenuator("0/0-VOA-BST2", db) +
                                         "</config></edit-config></rpc>",
                                     false, [&](zpf::agent::Outcome outcome) { done.set_value(!outcome.errors); });
                refused += done.get_future().get() ? 0 : 1;
            }
        });
    }
    for (auto& writer : writers) {
        writer.join();
    }
    stop = true;
    for (auto& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(refused, 0);
    EXPECT_GT(reads, 0);
    EXPECT_EQ(agent.configured_db("0/0-VOA-BST0"), agent.configured_db("0/0-VOA-BST2"));
}

} // namespace
