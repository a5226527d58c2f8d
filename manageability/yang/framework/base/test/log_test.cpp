// SPDX-License-Identifier: Apache-2.0
//
// The filtered debug log.
#include "zpf_base/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include "counted_new.hpp"
#include "temporary_folder.hpp"
#include "threads.hpp"
#include "zpf/diagnostics.h"

namespace {

using ::testing::ElementsAre;
using zpf::test::content_of;
using zpf::test::TemporaryFolder;
using zpf::test::Threads;

struct CloseLog {
    void operator()(zpf_log* log) const noexcept { zpf_log_close(log); }
};
using Log = std::unique_ptr<zpf_log, CloseLog>;

Log open_log(const std::string& path)
{
    std::array<char, 256> why{};
    Log log{zpf_log_open(path.c_str(), why.data(), why.size())};
    EXPECT_NE(log, nullptr) << why.data();
    return log;
}

/** One call site. */
void emit(const Log& log, const std::string& text)
{
    static std::uint32_t slot = 0xFFFFFFFF;
    log_filter_emit(log.get(), 0, 0, 0, 0, 0, &slot, "%s", text.c_str());
}

/** Standard error is something else while it lives. */
class StandardErrorIs {
public:
    explicit StandardErrorIs(int fd) : kept_{::dup(STDERR_FILENO)} { ::dup2(fd, STDERR_FILENO); }
    StandardErrorIs(const StandardErrorIs&) = delete;
    StandardErrorIs& operator=(const StandardErrorIs&) = delete;
    ~StandardErrorIs()
    {
        ::dup2(kept_, STDERR_FILENO);
        ::close(kept_);
    }

private:
    int kept_;
};

TEST(LogFilter, AdmitsTheLevelsOfItsWord)
{
    zpf_log_filter filter{.levels = 77, .reserved = 0};
    ASSERT_EQ(zpf_log_filter_set(&filter.levels, "off"), 0);
    EXPECT_FALSE(zpf_debug_should_log(&filter, ZPF_LEVEL_ERROR) || zpf_debug_should_log(&filter, ZPF_LEVEL_TRACE));
    ASSERT_EQ(zpf_log_filter_set(&filter.levels, "error"), 0);
    EXPECT_TRUE(zpf_debug_should_log(&filter, ZPF_LEVEL_ERROR));
    EXPECT_FALSE(zpf_debug_should_log(&filter, ZPF_LEVEL_TRACE));
    ASSERT_EQ(zpf_log_filter_set(&filter.levels, "trace"), 0);
    EXPECT_TRUE(zpf_debug_should_log(&filter, ZPF_LEVEL_ERROR) && zpf_debug_should_log(&filter, ZPF_LEVEL_TRACE));
}

TEST(LogFilter, KeepsItsLevelsForAnUnknownWord)
{
    std::uint32_t levels = 5;
    for (const char* word : {"", "Trace", "errors", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(zpf_log_filter_set(&levels, word), -1);
    }
    EXPECT_EQ(levels, 5U);
}

TEST(LogFilter, AdmitsNoLevelThatItHasNoBitFor)
{
    const zpf_log_filter all{.levels = 0xFFFFFFFF, .reserved = 0};
    EXPECT_TRUE(zpf_debug_should_log(&all, 31));
    EXPECT_FALSE(zpf_debug_should_log(&all, 32));
    EXPECT_FALSE(zpf_debug_should_log(&all, -1));
    EXPECT_FALSE(zpf_debug_should_log(nullptr, ZPF_LEVEL_ERROR));
}

TEST(Log, AppendsTheFormattedTextAndALineEnd)
{
    const TemporaryFolder folder;
    const std::string path = folder.file("debug.log");
    zpf::test::write_file(path, "before\n");
    const Log log = open_log(path);
    std::uint32_t slot = 0xFFFFFFFF;
    log_filter_emit(log.get(), 0, 0, 0, 0, 0, &slot, "TRC: ZPF: ctx=%p,Processing tag '%s'",
                    static_cast<void*>(nullptr), "name");
    log_filter_emit(log.get(), 0, 0, 0, 0, 0, &slot, "100 %%");
    EXPECT_EQ(content_of(path), "before\nTRC: ZPF: ctx=(nil),Processing tag 'name'\n100 %\n");
    EXPECT_EQ(zpf_log_failed_lines(log.get()), 0U);
}

TEST(Log, NeverCutsALine)
{
    const TemporaryFolder folder;
    const std::string path = folder.file("debug.log");
    const Log log = open_log(path);
    std::string expected;
    for (const std::size_t length : {0U, 1U, 2046U, 2047U, 2048U, 2049U, 100'000U}) {
        const std::string text(length, 'x');
        emit(log, text);
        expected += text + '\n';
    }
    EXPECT_EQ(content_of(path), expected);
}

TEST(Log, AllocatesNothingForALineOfOrdinaryLength)
{
    const TemporaryFolder folder;
    const Log log = open_log(folder.file("debug.log"));
    const std::string ordinary(2000, 'x');
    const std::string extraordinary(3000, 'x');
    const std::size_t before = zpf::test::news_of_thread;
    emit(log, ordinary);
    EXPECT_EQ(zpf::test::news_of_thread, before);
    emit(log, extraordinary);
    EXPECT_EQ(zpf::test::news_of_thread, before + 1);
}

TEST(Log, WritesTheBeginningOfALongLineWithoutMemoryAndCountsIt)
{
    const TemporaryFolder folder;
    const std::string path = folder.file("debug.log");
    const Log log = open_log(path);
    const std::string text(3000, 'x');
    zpf::test::refuse_news = true;
    emit(log, text);
    zpf::test::refuse_news = false;
    EXPECT_EQ(content_of(path), std::string(2047, 'x') + '\n');
    EXPECT_EQ(zpf_log_failed_lines(log.get()), 1U);
}

TEST(Log, CountsWhatCouldNotBeWrittenAndGoesOn)
{
    const Log log = open_log("/dev/full");
    emit(log, "one");
    emit(log, "two");
    EXPECT_EQ(zpf_log_failed_lines(log.get()), 2U);
}

TEST(Log, LeavesErrnoAlone)
{
    const Log log = open_log("/dev/full");
    errno = EDOM;
    emit(log, "one");
    EXPECT_EQ(errno, EDOM);
}

TEST(Log, OfAContextWithoutOneIsStandardErrorWithOneWriteALine)
{
    std::array<int, 2> ends{}; // keeps the bounds of each write
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()), 0);
    {
        const StandardErrorIs replaced{ends[0]};
        emit(nullptr, "one");
        emit(nullptr, "twenty-two");
    }
    std::array<char, 64> packet{};
    EXPECT_EQ((std::string{packet.data(), static_cast<std::size_t>(::read(ends[1], packet.data(), packet.size()))}),
              "one\n");
    EXPECT_EQ((std::string{packet.data(), static_cast<std::size_t>(::read(ends[1], packet.data(), packet.size()))}),
              "twenty-two\n");
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST(Log, OpenedWithoutAPathIsStandardError)
{
    const Log log{zpf_log_open(nullptr, nullptr, 0)};
    ::testing::internal::CaptureStderr();
    emit(log, "one");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "one\n");
}

TEST(Log, SurvivesAReaderThatHangsUp)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    ::close(ends[0]);
    const std::uint64_t before = zpf_log_failed_lines(nullptr);
    const auto handler_before = std::signal(SIGPIPE, SIG_DFL); // whoever started the tests may have it ignored
    {
        const StandardErrorIs replaced{ends[1]};
        emit(nullptr, "nobody reads this");
    }
    ::close(ends[1]);
    EXPECT_EQ(zpf_log_failed_lines(nullptr), before + 1);
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
    std::signal(SIGPIPE, handler_before);
}

TEST(Log, ThatCannotBeOpenedSaysWhy)
{
    std::array<char, 256> why{};
    EXPECT_EQ(zpf_log_open("/no/such/folder/debug.log", why.data(), why.size()), nullptr);
    EXPECT_STREQ(why.data(), "/no/such/folder/debug.log: No such file or directory");
    EXPECT_EQ(zpf_log_open("/no/such/folder/debug.log", nullptr, 0), nullptr);
}

TEST(Log, HandsLinesToItsSinkWithoutLineEnd)
{
    std::vector<std::string> lines;
    const Log log{zpf_log_to_sink(
        [](void* arg, const char* line) { static_cast<std::vector<std::string>*>(arg)->emplace_back(line); }, &lines)};
    emit(log, "one");
    emit(log, std::string(5000, 'x'));
    EXPECT_THAT(lines, ElementsAre("one", std::string(5000, 'x')));
}

TEST(LogSlot, KeepsTheNumberOfItsSiteFromTheFirstLineOn)
{
    std::uint32_t first = 0xFFFFFFFF;
    std::uint32_t second = 0xFFFFFFFF;
    const std::uint32_t before = zpf_log_site_count();
    const Log log = open_log("/dev/null");
    for (int i = 0; i < 3; ++i) {
        log_filter_emit(log.get(), 0, 0, 0, 0, 0, &first, "line");
        log_filter_emit(log.get(), 0, 0, 0, 0, 0, &second, "line");
    }
    EXPECT_EQ(first, before);
    EXPECT_EQ(second, before + 1);
    EXPECT_EQ(zpf_log_site_count(), before + 2);
}

TEST(LogSlot, IsNumberedOnceWhenTwoThreadsComeFirst)
{
    constexpr std::size_t kSites = 50'000;
    std::vector<std::uint32_t> slots(kSites, 0xFFFFFFFF);
    const std::uint32_t before = zpf_log_site_count();
    const Log log = open_log("/dev/null");
    {
        std::atomic<std::size_t> arrivals{0};
        const auto visit_all = [&](std::size_t) {
            for (std::size_t i = 0; i < kSites; ++i) {
                // Both come to a site at the same moment; a lock or a barrier would line them up.
                for (++arrivals; arrivals < 2 * (i + 1);) {
                    sched_yield();
                }
                log_filter_emit(log.get(), 0, 0, 0, 0, 0, &slots[i], "line");
            }
        };
        const Threads at_work{2, visit_all};
    }
    EXPECT_EQ(zpf_log_site_count(), before + kSites);
    std::sort(slots.begin(), slots.end());
    for (std::size_t i = 0; i < kSites; ++i) {
        ASSERT_EQ(slots[i], before + i);
    }
}

TEST(Log, DoesNotMixLinesOfManyThreads)
{
    const TemporaryFolder folder;
    const std::string path = folder.file("debug.log");
    {
        const Log log = open_log(path);
        const Threads at_work{4, [&log](std::size_t writer) {
                                  for (std::size_t i = 1; i <= 200; ++i) {
                                      emit(log, std::string(i, static_cast<char>('a' + writer)));
                                  }
                              }};
    }
    std::ifstream lines{path};
    std::array<std::size_t, 4> seen{};
    for (std::string line; std::getline(lines, line);) {
        ASSERT_EQ(line, std::string(++seen.at(static_cast<std::size_t>(line.at(0) - 'a')), line.at(0)));
    }
    EXPECT_THAT(seen, ::testing::Each(200U));
}

} // namespace
