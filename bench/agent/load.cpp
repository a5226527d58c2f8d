// SPDX-License-Identifier: Apache-2.0
//
// A closed loop over epoll.
#include "load.hpp"

#include <fmt/format.h>
#include <sys/epoll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>

#include "process_stats.hpp"

namespace zpf::bench {

namespace {

using agent::UniqueFd;

constexpr int kPatience_ms = 20'000;

double in_us(Clock::duration time)
{
    return std::chrono::duration<double, std::micro>(time).count();
}

/// Sorts in part only. @param share 0.5: median
double quantile(std::vector<float>& values, double share)
{
    const auto index = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + index, values.end());
    return static_cast<double>(values[static_cast<std::size_t>(index)]);
}

class Loader {
public:
    Loader(std::vector<Client>& clients, const NextOperation& next, const LoadLimit& limit, const Watch& watch)
        : clients_(clients),
          next_(next),
          limit_(limit),
          watch_(watch),
          epoll_(::epoll_create1(EPOLL_CLOEXEC)),
          sent_at_(clients.size())
    {
        for (std::size_t i = 0; i < clients.size(); ++i) {
            epoll_event event{};
            event.events = EPOLLIN;
            event.data.u64 = i;
            if (::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, clients[i].session.descriptor(), &event) != 0) {
                throw std::runtime_error("epoll refuses a session");
            }
        }
        latencies_us_.reserve(1 << 16);
    }

    /// @return time from the first request to the last reply
    Clock::duration run()
    {
        const auto begin = Clock::now();
        end_ = begin + limit_.time;
        for (std::size_t i = 0; i < clients_.size(); ++i) {
            send(i);
        }
        std::array<epoll_event, 64> ready{};
        while (under_way_ > 0) {
            const int count = ::epoll_wait(epoll_.get(), ready.data(), static_cast<int>(ready.size()), kPatience_ms);
            if (count == 0) {
                throw std::runtime_error(fmt::format("no answer within {} s", kPatience_ms / 1000));
            }
            if (count < 0 || latencies_us_.size() % 1024 == 0) {
                watch_.check();
            }
            for (int i = 0; i < count; ++i) {
                take(static_cast<std::size_t>(ready[static_cast<std::size_t>(i)].data.u64));
            }
        }
        return Clock::now() - begin;
    }

    std::vector<float>& latencies_us() { return latencies_us_; }

private:
    void send(std::size_t index)
    {
        sent_at_[index] = Clock::now();
        ++sent_;
        ++under_way_;
        clients_[index].session.send(next_());
    }

    void take(std::size_t index)
    {
        if (!clients_[index].session.receive()) {
            return;
        }
        const auto now = Clock::now();
        latencies_us_.push_back(static_cast<float>(in_us(now - sent_at_[index])));
        --under_way_;
        if (now < end_ && sent_ < limit_.requests) {
            send(index);
        }
    }

    std::vector<Client>& clients_;
    const NextOperation& next_;
    const LoadLimit& limit_;
    const Watch& watch_;
    UniqueFd epoll_;
    std::vector<Clock::time_point> sent_at_; ///< one for each session
    std::vector<float> latencies_us_;
    Clock::time_point end_;
    uint64_t sent_ = 0;
    std::size_t under_way_ = 0;
};

} // namespace

Sample run_load(std::vector<Client>& clients, const NextOperation& next, const LoadLimit& limit, pid_t server,
                const Watch& watch)
{
    Loader loader(clients, next, limit, watch);
    const auto before = processor_time(server);
    const auto took = loader.run();
    const std::chrono::duration<double, std::micro> server_time = processor_time(server) - before;
    auto& latencies_us = loader.latencies_us();
    const auto requests = static_cast<double>(latencies_us.size());
    return {requests / (in_us(took) / 1e6), quantile(latencies_us, 0.5), quantile(latencies_us, 0.99),
            server_time.count() / requests};
}

double median_of(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

Sample median_of(const std::vector<Sample>& rounds)
{
    const auto median = [&rounds](double Sample::*figure) {
        std::vector<double> values;
        for (const Sample& round : rounds) {
            values.push_back(round.*figure);
        }
        return median_of(std::move(values));
    };
    return {median(&Sample::per_second), median(&Sample::p50_us), median(&Sample::p99_us), median(&Sample::server_us)};
}

} // namespace zpf::bench
