// SPDX-License-Identifier: Apache-2.0
//
// The trace ring under many writers: threads, processes, and one that is killed.
// Each line proves itself: it says who wrote it as which, followed by as many letters as its number demands.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "temporary_folder.hpp"
#include "threads.hpp"
#include "trace_handles.hpp"

namespace {

using namespace zpf::test;

constexpr std::size_t kWriters = 4;

std::string line_of(std::size_t writer, std::size_t number)
{
    return std::to_string(writer) + ":" + std::to_string(number) + ":" +
           std::string(number % 200, static_cast<char>('a' + writer));
}

/** True for a line exactly as its writer wrote it. */
bool proves_itself(const char* text)
{
    std::size_t writer = 0;
    std::size_t number = 0;
    return std::sscanf(text, "%zu:%zu:", &writer, &number) == 2 && line_of(writer, number) == text;
}

void write_lines(const Ring& ring, std::size_t writer, std::size_t count)
{
    for (std::size_t number = 0; number < count; ++number) {
        write(ring, line_of(writer, number));
    }
}

/** Ends without the destructors of the parent's objects. */
template <typename Work>
pid_t in_child(Work work)
{
    const pid_t child = fork();
    if (child == 0) {
        work();
        _exit(0);
    }
    return child;
}

TEST(TraceRingOfManyThreads, GivesWholeLinesInOrderWhileItIsWritten)
{
    constexpr std::size_t kLines = 5000;
    const TemporaryFolder folder;
    const Ring ring = open_ring(folder.file("ring"), 16); // small, so that writers overtake each other and the reader
    const Reader reader = open_reader(folder.file("ring"));
    std::atomic<std::size_t> at_work{kWriters};
    const Threads writers{kWriters, [&](std::size_t writer) {
                              write_lines(ring, writer, kLines);
                              --at_work;
                          }};
    zpf_trace_line line;
    std::uint64_t lost = 0;
    std::uint64_t expected = 0;
    for (bool is_last_turn = false; !is_last_turn;) {
        is_last_turn = at_work == 0;
        while (zpf_trace_reader_next(reader.get(), &line, &lost) == 1) {
            ASSERT_TRUE(proves_itself(line.text)) << line.text;
            expected += lost;
            ASSERT_EQ(line.sequence, expected++);
        }
    }
    EXPECT_GT(expected, 0U);
    EXPECT_EQ(zpf_trace_reader_position(reader.get()), kWriters * kLines);
}

TEST(TraceRingOfManyThreads, LosesNothingWhenItIsLargeEnough)
{
    constexpr std::size_t kLines = 1000;
    const TemporaryFolder folder;
    const Ring ring = open_ring(folder.file("ring"), kWriters * kLines);
    {
        const Threads writers{kWriters, [&](std::size_t writer) { write_lines(ring, writer, kLines); }};
    }
    std::multiset<std::string> written;
    for (std::size_t i = 0; i < kWriters * kLines; ++i) {
        written.insert(line_of(i / kLines, i % kLines));
    }
    const std::vector<std::string> read = read_all(open_reader(folder.file("ring")));
    EXPECT_EQ((std::multiset<std::string>{read.begin(), read.end()}), written);
}

TEST(TraceRingOfManyProcesses, LosesNothingAndKnowsItsWriters)
{
    constexpr std::size_t kLines = 500;
    const TemporaryFolder folder;
    const Ring ring = open_ring(folder.file("ring"), kWriters * kLines);
    std::array<pid_t, kWriters> children{};
    for (std::size_t writer = 0; writer < kWriters; ++writer) {
        // Half of them write through the handle they inherit, half open the file themselves.
        children.at(writer) = in_child([&] {
            const Ring own = writer % 2 == 0 ? nullptr : open_ring(folder.file("ring"), kWriters * kLines);
            write_lines(own != nullptr ? own : ring, writer, kLines);
        });
    }
    for (const pid_t child : children) {
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_EQ(status, 0);
    }
    const Reader reader = open_reader(folder.file("ring"));
    std::set<std::string> read;
    zpf_trace_line line;
    while (zpf_trace_reader_next(reader.get(), &line, nullptr) == 1) {
        ASSERT_TRUE(proves_itself(line.text)) << line.text;
        ASSERT_EQ(line.pid, static_cast<std::uint32_t>(children.at(static_cast<std::size_t>(line.text[0] - '0'))));
        read.insert(line.text);
    }
    EXPECT_EQ(read.size(), kWriters * kLines);
}

TEST(TraceRingOfAKilledWriter, StillGivesItsLinesAndTakesMore)
{
    for (int round = 0; round < 20; ++round) {
        const TemporaryFolder folder;
        const Ring ring = open_ring(folder.file("ring"), 64);
        const pid_t child = in_child([&] {
            for (;;) {
                write_lines(ring, 0, 1000);
            }
        });
        const Reader watcher = open_reader(folder.file("ring"));
        while (zpf_trace_reader_position(watcher.get()) < 200) {
            sched_yield();
        }
        kill(child, SIGKILL);
        ASSERT_EQ(waitpid(child, nullptr, 0), child);

        const Reader reader = open_reader(folder.file("ring"));
        zpf_trace_line line;
        int count = 0;
        for (; zpf_trace_reader_next(reader.get(), &line, nullptr) == 1; ++count) {
            ASSERT_TRUE(proves_itself(line.text)) << line.text;
            ASSERT_EQ(line.pid, static_cast<std::uint32_t>(child));
        }
        EXPECT_GE(count, 63) << "more than the line in the making is missing";
        write(open_ring(folder.file("ring"), 64), "after");
        ASSERT_EQ(zpf_trace_reader_next(reader.get(), &line, nullptr), 1);
        EXPECT_STREQ(line.text, "after");
    }
}

} // namespace
