// SPDX-License-Identifier: Apache-2.0
//
// What every transport has to do, whatever its encryption.
#include "ssh_setup.hpp"
#include "tls_setup.hpp"

#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>

namespace zpf::agent::testing {

namespace {

constexpr size_t kMegabyte = 1024 * 1024;

/// More than all buffers of kernel, libraries and clients between two slow sides take.
constexpr size_t kFlood = 64 * kMegabyte;
constexpr size_t kAllBuffers = 24 * kMegabyte;

/** Connects while the process may open no further descriptor; returns when the connection has ended. */
UniqueFd connect_within_descriptors(uint16_t port)
{
    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    UniqueFd waiting{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    rlimit now = before;
    now.rlim_cur = static_cast<rlim_t>(UniqueFd{::dup(waiting.get())}.get()); // the lowest number that is free
    ::setrlimit(RLIMIT_NOFILE, &now);
    connect_to(waiting.get(), port);
    pollfd entry{waiting.get(), POLLIN, 0};
    constexpr int kPatienceMs = 20'000;
    ::poll(&entry, 1, kPatienceMs);
    ::setrlimit(RLIMIT_NOFILE, &before);
    return waiting;
}

template <typename SetupOfTransport>
class TransportContract : public ::testing::Test {
protected:
    void start(AgentDouble& agent, ConnectionLimits limits = {})
    {
        transport_ = setup_.listen(limits, agent.arrival(), log_.sink());
        port_ = port_of(*transport_);
    }
    std::unique_ptr<TestClient> client() { return setup_.connect(port_); }
    /** A client once there is room for it. When the relay of an earlier one ends cannot be seen from outside, so it
     * tries again. */
    std::unique_ptr<TestClient> next_client()
    {
        const auto give_up = std::chrono::steady_clock::now() + kPatience;
        auto next = client();
        while (!next->connected() && std::chrono::steady_clock::now() < give_up) {
            next = client();
        }
        return next;
    }

    SetupOfTransport setup_;
    LogLines log_;
    AgentDouble echo_{AgentDouble::Manner::echoes};
    AgentDouble keep_{AgentDouble::Manner::keeps};
    std::unique_ptr<Transport> transport_; // after the agents, and so gone before them
    uint16_t port_ = 0;
};

using Setups = ::testing::Types<SshSetup, TlsSetup>;

struct SetupNames {
    template <typename T>
    static std::string GetName(int)
    {
        return std::is_same_v<T, SshSetup> ? "Ssh" : "Tls";
    }
};

TYPED_TEST_SUITE(TransportContract, Setups, SetupNames);

TYPED_TEST(TransportContract, EchoesAMegabyteByteForByte)
{
    this->start(this->echo_);
    const auto client = this->client();
    ASSERT_TRUE(client->connected());
    const std::string sent = pattern(kMegabyte);
    std::string got;
    constexpr size_t kPiece = 24'000;
    for (size_t at = 0; at < sent.size(); at += kPiece) {
        const std::string piece = sent.substr(at, kPiece);
        ASSERT_TRUE(client->send(piece));
        got += client->receive(piece.size());
    }
    EXPECT_TRUE(got == sent);
}

TYPED_TEST(TransportContract, TellsTheAgentWhoCame)
{
    this->start(this->keep_);
    const auto client = this->client();
    const Peer peer = this->keep_.next().second;
    EXPECT_EQ(peer.user, "alice");
    EXPECT_EQ(peer.transport, this->setup_.transport_name());
    EXPECT_EQ(peer.host, "127.0.0.1");
    EXPECT_FALSE(peer.recovery);
}

TYPED_TEST(TransportContract, DeliversWhatTheClientSentBeforeItEnded)
{
    this->start(this->keep_);
    const auto client = this->client();
    const auto [stream, peer] = this->keep_.next();
    const std::string sent = pattern(100'000);
    ASSERT_TRUE(client->send(sent));
    client->end();
    bool ended = false;
    EXPECT_TRUE(receive_all(stream.get(), &ended) == sent);
    EXPECT_TRUE(ended);
}

TYPED_TEST(TransportContract, TakesRepliesAfterTheClientHasEnded)
{
    this->start(this->keep_);
    const auto client = this->client();
    auto [stream, peer] = this->keep_.next();
    ASSERT_TRUE(client->send("request"));
    client->end();
    EXPECT_EQ(receive_all(stream.get()), "request");
    ASSERT_TRUE(send_all(stream.get(), "reply"));
    stream.reset();
    EXPECT_EQ(client->receive(100), "reply");
}

TYPED_TEST(TransportContract, DeliversWhatTheAgentWroteBeforeItClosed)
{
    this->start(this->keep_);
    const auto client = this->client();
    auto [stream, peer] = this->keep_.next();
    const std::string sent = pattern(kMegabyte);
    std::thread agent([&sent, own = std::move(stream)]() mutable {
        EXPECT_TRUE(send_all(own.get(), sent));
        own.reset();
    });
    EXPECT_TRUE(client->receive(sent.size() + 1) == sent);
    agent.join();
}

TYPED_TEST(TransportContract, HoldsUpTheAgentForAClientThatDoesNotRead)
{
    this->start(this->keep_);
    const auto client = this->client();
    const auto [stream, peer] = this->keep_.next();
    const size_t taken = send_until_stalled(stream.get(), kFlood);
    EXPECT_LT(taken, kAllBuffers);
    EXPECT_EQ(client->receive(taken).size(), taken);
}

TYPED_TEST(TransportContract, HoldsUpAClientForAnAgentThatDoesNotRead)
{
    this->start(this->keep_);
    const auto client = this->client();
    const auto [stream, peer] = this->keep_.next();
    const size_t taken = client->send_until_stalled(kFlood);
    EXPECT_LT(taken, kAllBuffers);
    EXPECT_TRUE(receive(stream.get(), taken / 2) == pattern(kFlood).substr(0, taken / 2));
}

TYPED_TEST(TransportContract, AnswersAClientWhoseRequestsWait)
{
    this->start(this->keep_);
    const auto client = this->client();
    const auto [stream, peer] = this->keep_.next();
    ASSERT_GT(client->send_until_stalled(kFlood), 0U); // the agent reads none of it
    ASSERT_TRUE(send_all(stream.get(), "urgent"));
    EXPECT_EQ(client->receive(6), "urgent");
}

TYPED_TEST(TransportContract, EndsTheStreamOfAClientThatIsKilled)
{
    this->start(this->keep_);
    const auto client = this->client();
    const auto [stream, peer] = this->keep_.next();
    ASSERT_TRUE(client->send("half a mess"));
    EXPECT_EQ(receive(stream.get(), 11), "half a mess");
    client->abort();
    bool ended = false;
    EXPECT_EQ(receive_all(stream.get(), &ended), "");
    EXPECT_TRUE(ended);
}

TYPED_TEST(TransportContract, SurvivesGarbage)
{
    this->start(this->echo_);
    const auto good = this->client();
    const std::string noise = pattern(100'000);
    for (const std::string& text :
         {std::string{"GET / HTTP/1.1\r\n\r\n"}, noise, std::string(100'000, '\n'), std::string(100'000, 'A'),
          std::string{"SSH-2.0-x\r\n"} + noise, std::string{"\x16\x03\x01\x40\x00", 5} + noise, std::string{}}) {
        const UniqueFd socket = connect_to(this->port_);
        send_all(socket.get(), text);
        ::shutdown(socket.get(), SHUT_WR);
        bool ended = false;
        receive_all(socket.get(), &ended);
        EXPECT_TRUE(ended) << text.substr(0, 20);
    }
    ASSERT_TRUE(good->send("still here"));
    EXPECT_EQ(good->receive(10), "still here");
}

TYPED_TEST(TransportContract, ClosesAConnectionThatDoesNotLogInInTime)
{
    this->start(this->echo_, {128, std::chrono::milliseconds{150}});
    const UniqueFd silent = connect_to(this->port_);
    bool ended = false;
    receive_all(silent.get(), &ended);
    EXPECT_TRUE(ended);
    EXPECT_TRUE(this->log_.has("no session in time"));
}

TYPED_TEST(TransportContract, RefusesConnectionsBeyondTheLimitAndTakesNewOnesLater)
{
    this->start(this->echo_, {2, std::chrono::seconds{20}});
    auto first = this->client();
    const auto second = this->client();
    ASSERT_TRUE(first->connected() && second->connected());
    const UniqueFd third = connect_to(this->port_);
    EXPECT_EQ(receive_all(third.get()), this->setup_.refusal());

    first->abort();
    EXPECT_TRUE(this->next_client()->connected());
}

TYPED_TEST(TransportContract, ServesManyAtOnce)
{
    this->start(this->echo_);
    constexpr int kClients = 32;
    std::vector<std::thread> threads;
    std::atomic<int> served = 0;
    for (int i = 0; i < kClients; ++i) {
        threads.emplace_back([this, &served] {
            const auto client = this->client();
            const std::string bytes = pattern(30'000);
            if (client->connected() && client->send(bytes) && client->receive(bytes.size()) == bytes) {
                ++served;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(served, kClients);
}

TYPED_TEST(TransportContract, UsesNoProcessorWhileNothingMoves)
{
    const auto not_the_transports = threads();
    this->start(this->keep_);
    std::vector<std::unique_ptr<TestClient>> clients;
    std::vector<UniqueFd> streams;
    for (int i = 0; i < 4; ++i) {
        clients.push_back(this->client());
        streams.push_back(this->keep_.next().first);
        ASSERT_TRUE(clients.back()->send("x"));
        ASSERT_EQ(receive(streams.back().get(), 1), "x");
        ASSERT_TRUE(send_all(streams.back().get(), "y"));
        ASSERT_EQ(clients.back()->receive(1), "y");
    }
    // One client that waits for the agent and one that keeps the agent waiting are idle, too.
    clients[0]->send_until_stalled(kFlood);
    send_until_stalled(streams[1].get(), kFlood);

    constexpr std::chrono::milliseconds kWatched{300};
    std::this_thread::sleep_for(kWatched);
    const ActivityMark before = activity_of_threads_but(not_the_transports);
    std::this_thread::sleep_for(kWatched); // the span that is measured
    const ActivityMark after = activity_of_threads_but(not_the_transports);
    EXPECT_GT(before.wake_ups, 0); // there are threads that were looked at
    EXPECT_EQ(after.ticks, before.ticks);
    EXPECT_EQ(after.wake_ups, before.wake_ups);
}

TYPED_TEST(TransportContract, StopDeliversWhatTheAgentWroteAndEndsAllSessions)
{
    this->start(this->keep_);
    const auto client = this->client();
    const auto other = this->client();
    const auto [stream, peer] = this->keep_.next();
    const auto [other_stream, other_peer] = this->keep_.next();
    ASSERT_TRUE(send_all(stream.get(), "last words"));
    ASSERT_TRUE(send_all(other_stream.get(), "last words"));
    std::thread stopping([this] { this->transport_->stop(); });
    EXPECT_EQ(client->receive(100), "last words");
    EXPECT_EQ(other->receive(100), "last words");
    stopping.join();
    bool ended = false;
    receive_all(stream.get(), &ended);
    EXPECT_TRUE(ended);
    EXPECT_FALSE(connect_to(this->port_));
}

TYPED_TEST(TransportContract, StopsAlthoughAClientDoesNotRead)
{
    this->start(this->keep_);
    const auto client = this->client();
    const auto [stream, peer] = this->keep_.next();
    ASSERT_GT(send_until_stalled(stream.get(), kFlood), 0U);
    this->transport_->stop();
    EXPECT_FALSE(connect_to(this->port_));
}

TYPED_TEST(TransportContract, StopsWhileAClientHasNotLoggedIn)
{
    this->start(this->echo_);
    const UniqueFd silent = connect_to(this->port_);
    this->transport_->stop();
    bool ended = false;
    receive_all(silent.get(), &ended);
    EXPECT_TRUE(ended);
}

TYPED_TEST(TransportContract, GivesUpOnAClientThatDoesNotTakeWhatAClosedSessionLeft)
{
    this->start(this->keep_, {1, std::chrono::seconds{20}, std::chrono::milliseconds{100}});
    const auto stuck = this->client();
    auto stream = this->keep_.next().first;
    ASSERT_GT(send_until_stalled(stream.get(), kFlood), 0U);
    stream.reset();
    EXPECT_TRUE(this->next_client()->connected()); // there is room for one only
}

TYPED_TEST(TransportContract, RefusesConnectionsWhileDescriptorsAreShortAndTakesThemLater)
{
    this->start(this->echo_);
    const auto client = this->client();
    ASSERT_TRUE(client->connected());
    const UniqueFd refused = connect_within_descriptors(this->port_);
    bool ended = false;
    EXPECT_EQ(receive_all(refused.get(), &ended), "");
    EXPECT_TRUE(ended);
    EXPECT_TRUE(this->log_.has("raise the limit of open files"));
    EXPECT_TRUE(this->client()->connected());
}

TYPED_TEST(TransportContract, SaysWhyItCannotListen)
{
    this->start(this->echo_);
    const std::string taken = std::to_string(this->port_);
    try {
        if (this->setup_.transport_name() == "netconf-ssh") {
            listen_ssh("127.0.0.1", this->port_, SshSetup{}.options(), {}, {});
        } else {
            listen_tls("127.0.0.1", this->port_, TlsSetup{}.options(), {}, {});
        }
        ADD_FAILURE() << "listened twice on port " << taken;
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), ::testing::HasSubstr("127.0.0.1:" + taken));
        EXPECT_THAT(error.what(), ::testing::HasSubstr("choose another port"));
    }
}

} // namespace

} // namespace zpf::agent::testing
