// SPDX-License-Identifier: Apache-2.0
//
// The trace ring between one writer and one reader.
#include "zpf_base/trace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "temporary_folder.hpp"
#include "threads.hpp"
#include "trace_handles.hpp"
#include "zpf/diagnostics.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using zpf::test::open_reader;
using zpf::test::open_ring;
using zpf::test::read_all;
using zpf::test::Reader;
using zpf::test::Ring;
using zpf::test::write;

class TraceRing : public ::testing::Test {
protected:
    void SetUp() override
    {
        ring_ = open_ring(path_, 4);
        ASSERT_NE(ring_, nullptr);
        reader_ = open_reader(path_);
        ASSERT_NE(reader_, nullptr);
    }

    void write_numbers(int from, int to)
    {
        for (int i = from; i <= to; ++i) {
            write(ring_, std::to_string(i));
        }
    }

    zpf::test::TemporaryFolder folder_;
    std::string path_ = folder_.file("trace.ring");
    Ring ring_;
    Reader reader_;
};

std::uint64_t now_ns()
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<std::uint64_t>(now.tv_nsec);
}

TEST_F(TraceRing, IsEmptyAtFirst)
{
    EXPECT_THAT(read_all(reader_), IsEmpty());
    EXPECT_EQ(zpf_trace_reader_position(reader_.get()), 0U);
}

TEST_F(TraceRing, GivesALineBackWithItsCircumstances)
{
    const std::uint64_t before = now_ns();
    trace_ring_write(ring_.get(), ZPF_TRACE_FLAGS, "#1: TRC: compare_path:12 ctx=(nil),Start");
    const std::uint64_t after = now_ns();
    zpf_trace_line line;
    std::uint64_t lost = 77;
    ASSERT_EQ(zpf_trace_reader_next(reader_.get(), &line, &lost), 1);
    EXPECT_STREQ(line.text, "#1: TRC: compare_path:12 ctx=(nil),Start");
    EXPECT_EQ(line.sequence, 0U);
    EXPECT_EQ(line.flags, 0x10101000000U);
    EXPECT_EQ(line.pid, static_cast<std::uint32_t>(getpid()));
    EXPECT_THAT(line.time_ns, ::testing::AllOf(::testing::Ge(before), ::testing::Le(after)));
    EXPECT_EQ(lost, 0U);
}

TEST_F(TraceRing, KeepsTextsOfEveryLengthAndCutsLongerOnes)
{
    for (std::size_t length = 0; length <= 300; ++length) {
        std::string text(length, 'x');
        std::generate(text.begin(), text.end(),
                      [c = 'a']() mutable { return c = c == 'z' ? 'a' : static_cast<char>(c + 1); });
        write(ring_, text);
        EXPECT_THAT(read_all(reader_), ElementsAre(text.substr(0, 249)));
    }
}

TEST_F(TraceRing, KeepsTheNewestLinesWhenItIsFull)
{
    write_numbers(1, 4);
    EXPECT_THAT(read_all(open_reader(path_)), ElementsAre("1", "2", "3", "4"));
    write_numbers(5, 6);
    EXPECT_THAT(read_all(open_reader(path_)), ElementsAre("3", "4", "5", "6"));
    write_numbers(7, 1000);
    EXPECT_THAT(read_all(open_reader(path_)), ElementsAre("997", "998", "999", "1000"));
}

TEST_F(TraceRing, TellsAReaderHowManyLinesItMissed)
{
    write_numbers(1, 3);
    EXPECT_THAT(read_all(reader_), ElementsAre("1", "2", "3"));
    write_numbers(4, 9);
    EXPECT_THAT(read_all(reader_), ElementsAre("-2", "6", "7", "8", "9"));
    EXPECT_THAT(read_all(reader_), IsEmpty());
}

TEST_F(TraceRing, IsFollowedLineByLine)
{
    for (int i = 0; i < 20; ++i) {
        write_numbers(i, i);
        EXPECT_THAT(read_all(reader_), ElementsAre(std::to_string(i)));
    }
}

TEST_F(TraceRing, TakesAReaderToItsLastLines)
{
    write_numbers(1, 6);
    zpf_trace_reader_seek_last(reader_.get(), 2);
    EXPECT_THAT(read_all(reader_), ElementsAre("5", "6"));
    zpf_trace_reader_seek_last(reader_.get(), 100);
    EXPECT_THAT(read_all(reader_), ElementsAre("3", "4", "5", "6"));
    zpf_trace_reader_seek_last(reader_.get(), 0);
    EXPECT_THAT(read_all(reader_), IsEmpty());
    EXPECT_EQ(zpf_trace_reader_position(reader_.get()), 6U);
}

TEST_F(TraceRing, GoesOnWhereAnEarlierWriterStopped)
{
    write_numbers(1, 5);
    ring_.reset();
    ring_ = open_ring(path_, 3); // rounded up to the 4 that it has
    write_numbers(6, 6);
    EXPECT_THAT(read_all(reader_), ElementsAre("-2", "3", "4", "5", "6"));
}

TEST_F(TraceRing, IsReadAfterItsWriterClosedIt)
{
    write_numbers(1, 2);
    ring_.reset();
    EXPECT_THAT(read_all(open_reader(path_)), ElementsAre("1", "2"));
}

TEST_F(TraceRing, ShowsLinesToItsObserver)
{
    std::vector<std::string> seen;
    zpf_trace_ring_observe(
        ring_.get(),
        [](void* arg, const char* line) { static_cast<std::vector<std::string>*>(arg)->emplace_back(line); }, &seen);
    write_numbers(1, 2);
    zpf_trace_ring_observe(ring_.get(), nullptr, nullptr);
    write_numbers(3, 3);
    EXPECT_THAT(seen, ElementsAre("1", "2"));
    EXPECT_THAT(read_all(reader_), ElementsAre("1", "2", "3"));
}

TEST_F(TraceRing, LeavesErrnoAlone)
{
    zpf_trace_ring_observe(
        ring_.get(), [](void*, const char*) { errno = ENOENT; }, nullptr);
    errno = EDOM;
    write_numbers(1, 1);
    EXPECT_EQ(errno, EDOM);
}

TEST_F(TraceRing, TakesNoNullLine)
{
    trace_ring_write(ring_.get(), ZPF_TRACE_FLAGS, nullptr);
    EXPECT_EQ(zpf_trace_reader_position(reader_.get()), 0U);
}

TEST(TraceRingInMemory, NeedsNoFile)
{
    const Ring ring{zpf_trace_ring_open(nullptr, 0, nullptr, 0)};
    ASSERT_NE(ring, nullptr);
    int lines = 0;
    zpf_trace_ring_observe(
        ring.get(), [](void* arg, const char*) { ++*static_cast<int*>(arg); }, &lines);
    for (std::uint32_t i = 0; i <= ZPF_TRACE_DEFAULT_SLOTS; ++i) {
        write(ring, "line");
    }
    EXPECT_EQ(lines, ZPF_TRACE_DEFAULT_SLOTS + 1);
}

TEST(TraceRingOfNull, TakesLinesAndDropsThem)
{
    trace_ring_write(nullptr, ZPF_TRACE_FLAGS, "line");
}

TEST(TraceHandles, MayBeNullWhenClosed)
{
    zpf_trace_ring_close(nullptr);
    zpf_trace_reader_close(nullptr);
}

TEST(TraceIndex, GrowsByOneACall)
{
    const std::uint32_t first = ret_nc_zpf_trace_index_incr();
    EXPECT_EQ(ret_nc_zpf_trace_index_incr(), first + 1);
}

TEST(TraceIndex, IsGivenToOneCallerOnly)
{
    constexpr std::size_t kThreads = 4;
    constexpr std::size_t kCalls = 1000;
    std::vector<std::vector<std::uint32_t>> taken(kThreads);
    {
        const zpf::test::Threads at_work{kThreads, [&taken](std::size_t thread) {
                                             std::generate_n(std::back_inserter(taken[thread]), kCalls,
                                                             ret_nc_zpf_trace_index_incr);
                                         }};
    }
    std::set<std::uint32_t> all;
    for (const auto& indices : taken) {
        all.insert(indices.begin(), indices.end());
    }
    EXPECT_EQ(all.size(), kThreads * kCalls);
}

} // namespace
