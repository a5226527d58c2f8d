// SPDX-License-Identifier: Apache-2.0
//
// Trace files that are no ring or a damaged one, and lines that their writers never finished. The damage is done to the
// bytes of the file, by the layout that README.md describes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>

#include "../src/trace_layout.hpp"
#include "temporary_folder.hpp"
#include "trace_handles.hpp"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace zpf::base;
using namespace zpf::test;

constexpr std::uint32_t kSlots = 4;
constexpr std::size_t kFileBytes = 128 + 4 * 320;

std::string content_of_ring(const std::string& path)
{
    const Ring ring = open_ring(path, kSlots);
    write(ring, "one");
    write(ring, "two");
    return content_of(path);
}

template <typename Value>
void overwrite(std::string& content, std::size_t offset, Value value)
{
    std::memcpy(content.data() + offset, &value, sizeof value);
}

template <typename Value>
Value value_at(const std::string& content, std::size_t offset)
{
    Value value;
    std::memcpy(&value, content.data() + offset, sizeof value);
    return value;
}

constexpr std::size_t kStateOffset = offsetof(RingSlot, state);
constexpr std::size_t slot_offset(std::size_t index)
{
    return sizeof(RingHeader) + index * sizeof(RingSlot);
}

TEST(TraceLayout, IsTheOneThatOtherProgramsKnow)
{
    const TemporaryFolder folder;
    const std::string content = content_of_ring(folder.file("ring"));
    ASSERT_EQ(content.size(), kFileBytes);
    EXPECT_EQ(content.substr(0, 8), "ZPFTRACE");
    EXPECT_EQ(value_at<std::uint32_t>(content, 8), 1U);
    EXPECT_EQ(value_at<std::uint32_t>(content, 12), 320U);
    EXPECT_EQ(value_at<std::uint32_t>(content, 16), kSlots);
    EXPECT_EQ(value_at<std::uint64_t>(content, 64), 2U);        // position
    EXPECT_EQ(value_at<std::uint64_t>(content, 128 + 320), 4U); // second slot: finished(1)
    EXPECT_EQ(value_at<std::uint64_t>(content, 448 + 24), 0x10101000000U);
    EXPECT_EQ(value_at<std::uint32_t>(content, 448 + 36), 3U); // length of the text
    EXPECT_EQ(content.substr(448 + 40, 4), (std::string{"two\0", 4}));
}

struct Refused {
    const char* name;
    std::function<void(std::string&)> damage;
    const char* reason;
};

void PrintTo(const Refused& refused, std::ostream* out)
{
    *out << refused.name;
}

class TraceFile : public ::testing::TestWithParam<Refused> {};

TEST_P(TraceFile, IsRefusedWithTheReasonAndLeftAlone)
{
    const TemporaryFolder folder;
    const std::string path = folder.file("ring");
    std::string content = content_of_ring(path);
    GetParam().damage(content);
    write_file(path, content);
    std::array<char, 512> why{};
    EXPECT_EQ(zpf_trace_reader_open(path.c_str(), why.data(), why.size()), nullptr);
    EXPECT_EQ(why.data(), path + GetParam().reason);
    why.fill('\0');
    EXPECT_EQ(zpf_trace_ring_open(path.c_str(), kSlots, why.data(), why.size()), nullptr);
    EXPECT_EQ(why.data(), path + GetParam().reason);
    EXPECT_EQ(content_of(path), content);
}

INSTANTIATE_TEST_SUITE_P(
    Damaged, TraceFile,
    ::testing::Values(
        Refused{"Foreign", [](std::string& content) { content = "# a configuration\n"; }, ": not a trace ring"},
        Refused{"ForeignAndLong", [](std::string& content) { content[0] = 'z'; }, ": not a trace ring"},
        Refused{"ForeignAsLongAsAShape", [](std::string& content) { content.assign(32, 'x'); }, ": not a trace ring"},
        Refused{"OfAnotherVersion", [](std::string& content) { overwrite(content, 8, std::uint32_t{2}); },
                ": a trace ring of version 2; this program knows 1"},
        Refused{"WithAnotherSlotCount", [](std::string& content) { overwrite(content, 16, std::uint32_t{8}); },
                ": damaged: the header of the trace ring contradicts itself"},
        Refused{"CutShort", [](std::string& content) { content.resize(1000); },
                ": damaged: 1000 bytes long, but its header says 1408"},
        Refused{"TooLong", [](std::string& content) { content += "x"; },
                ": damaged: 1409 bytes long, but its header says 1408"}),
    [](const auto& one) { return std::string{one.param.name}; });

TEST(TraceFileOfAnotherSize, IsRefusedByAWriter)
{
    const TemporaryFolder folder;
    const std::string path = folder.file("ring");
    const std::string content = content_of_ring(path);
    std::array<char, 512> why{};
    EXPECT_EQ(zpf_trace_ring_open(path.c_str(), 8, why.data(), why.size()), nullptr);
    EXPECT_EQ(why.data(), path + ": a trace ring of 4 lines, not of 8");
    EXPECT_EQ(content_of(path), content);
}

TEST(TraceFileThatIsNoPlainFile, IsRefused)
{
    const TemporaryFolder folder;
    const std::string pipe = folder.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::array<char, 512> why{};
    EXPECT_EQ(zpf_trace_reader_open(pipe.c_str(), why.data(), why.size()), nullptr);
    EXPECT_EQ(why.data(), pipe + ": not a plain file");
    EXPECT_EQ(zpf_trace_ring_open(pipe.c_str(), 4, why.data(), why.size()), nullptr);
    EXPECT_EQ(why.data(), pipe + ": not a plain file");
    const std::string missing = folder.file("missing");
    EXPECT_EQ(zpf_trace_reader_open(missing.c_str(), why.data(), why.size()), nullptr);
    EXPECT_EQ(why.data(), missing + ": No such file or directory");
}

TEST(TraceFileThatIsEmpty, IsNothingToReadButMadeByAWriter)
{
    const TemporaryFolder folder;
    const std::string path = folder.file("ring");
    write_file(path, "");
    std::array<char, 512> why{};
    EXPECT_EQ(zpf_trace_reader_open(path.c_str(), why.data(), why.size()), nullptr);
    EXPECT_EQ(why.data(), path + ": empty, no trace ring yet");
    write(open_ring(path, kSlots), "one");
    EXPECT_THAT(read_all(open_reader(path)), ElementsAre("one"));
}

TEST(TraceFileThatIsHalfMade, IsMadeByTheNextWriter)
{
    const TemporaryFolder folder;
    const std::string path = folder.file("ring");
    write_file(path, content_of_ring(path).substr(0, sizeof(RingShape)));
    write(open_ring(path, 16), "one");
    EXPECT_THAT(read_all(open_reader(path)), ElementsAre("one"));
}

TEST(TraceFileThatTheDiskCannotHold, IsRefusedAtOnce)
{
    const TemporaryFolder folder;
    const std::string path = folder.file("ring");
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{.rlim_cur = 4096, .rlim_max = before.rlim_max};
    const auto handler_before = std::signal(SIGXFSZ, SIG_IGN);
    std::array<char, 512> why{};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    EXPECT_EQ(zpf_trace_ring_open(path.c_str(), 64, why.data(), why.size()), nullptr);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler_before);
    EXPECT_EQ(why.data(), path + ": File too large");
    write(open_ring(path, 64), "one");
    EXPECT_THAT(read_all(open_reader(path)), ElementsAre("one"));
}

TEST(TraceRingOfTooManyLines, IsRefused)
{
    const TemporaryFolder folder;
    std::array<char, 512> why{};
    EXPECT_EQ(zpf_trace_ring_open(folder.file("ring").c_str(), 16'777'217, why.data(), why.size()), nullptr);
    EXPECT_EQ(why.data(), folder.file("ring") + ": a trace ring holds at most 16777216 lines, not 16777217");
    EXPECT_EQ(zpf_trace_ring_open(nullptr, 0xFFFFFFFF, nullptr, 0), nullptr);
}

/** A ring with the lines 0 to 3, whose slots the test changes behind everyone's back. */
class TraceLine : public ::testing::Test {
protected:
    void SetUp() override
    {
        for (int i = 0; i < 4; ++i) {
            write(ring_, std::to_string(i));
        }
    }

    void set_state(std::size_t slot, std::uint64_t state) { change(slot_offset(slot) + kStateOffset, state); }

    template <typename Value>
    void change(std::size_t offset, Value value)
    {
        std::fstream file{path_, std::ios::binary | std::ios::in | std::ios::out};
        file.seekp(static_cast<std::streamoff>(offset));
        file.write(reinterpret_cast<const char*>(&value), sizeof value);
    }

    TemporaryFolder folder_;
    std::string path_ = folder_.file("ring");
    Ring ring_ = open_ring(path_, kSlots);
    Reader reader_ = open_reader(path_);
};

TEST_F(TraceLine, ThatIsUnfinishedIsSkippedByAReaderWithoutPatience)
{
    set_state(1, writing(1));
    EXPECT_THAT(read_all(reader_), ElementsAre("0", "-1", "2", "3"));
}

TEST_F(TraceLine, ThatIsNotBegunIsSkippedLikeAnUnfinishedOne)
{
    set_state(1, 0);
    EXPECT_THAT(read_all(reader_), ElementsAre("0", "-1", "2", "3"));
}

TEST_F(TraceLine, ThatIsUnfinishedAndNewestIsStillToCome)
{
    set_state(3, writing(3));
    EXPECT_THAT(read_all(reader_), ElementsAre("0", "1", "2"));
    set_state(3, finished(3));
    EXPECT_THAT(read_all(reader_), ElementsAre("3"));
}

TEST_F(TraceLine, ThatIsFinishedInTimeIsNotMissedByAPatientReader)
{
    zpf_trace_reader_set_patience(reader_.get(), 2);
    set_state(1, writing(1));
    EXPECT_THAT(read_all(reader_), ElementsAre("0"));
    EXPECT_THAT(read_all(reader_), IsEmpty());
    set_state(1, finished(1));
    EXPECT_THAT(read_all(reader_), ElementsAre("1", "2", "3"));
}

TEST_F(TraceLine, ThatIsNeverFinishedIsGivenUpByAPatientReader)
{
    zpf_trace_reader_set_patience(reader_.get(), 2);
    set_state(1, writing(1));
    set_state(2, writing(2));
    EXPECT_THAT(read_all(reader_), ElementsAre("0"));
    EXPECT_THAT(read_all(reader_), IsEmpty());
    EXPECT_THAT(read_all(reader_), ElementsAre("-2", "3"));
}

TEST_F(TraceLine, ThatIsMixedFromTwoIsNotShown)
{
    change(slot_offset(1) + offsetof(RingSlot, line) + sizeof(Word) * kFactWords, 'X');
    change(slot_offset(2) + offsetof(RingSlot, line) + 20, std::uint32_t{4000}); // length
    EXPECT_THAT(read_all(reader_), ElementsAre("0", "-2", "3"));
}

TEST_F(TraceLine, IsWrittenOverOneThatADeadWriterLeftUnfinished)
{
    set_state(0, writing(0));
    write(ring_, "4");
    EXPECT_THAT(read_all(reader_), ElementsAre("-1", "1", "2", "3", "4"));
}

TEST_F(TraceLine, OfAnOvertakenWriterLeavesTheSlotAlone)
{
    set_state(0, finished(8)); // a line of a later round is there already
    write(ring_, "4");
    EXPECT_THAT(read_all(reader_), ElementsAre("-1", "1", "2", "3"));
}

TEST_F(TraceLine, FromTheFutureIsClearedWhenTheRingIsOpenedAgain)
{
    set_state(0, finished(400));
    set_state(1, writing(4));
    ring_ = open_ring(path_, kSlots);
    write(ring_, "4");
    write(ring_, "5");
    EXPECT_THAT(read_all(reader_), ElementsAre("-2", "2", "3", "4", "5"));
}

TEST_F(TraceLine, IsFoundAlsoBehindAPositionFromNowhere)
{
    change(offsetof(RingHeader, position), std::uint64_t{0xFFFFFFFFFFFFFFFF});
    EXPECT_THAT(read_all(open_reader(path_)), IsEmpty());
    EXPECT_NE(open_ring(path_, kSlots), nullptr);
}

} // namespace
