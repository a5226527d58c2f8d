// SPDX-License-Identifier: Apache-2.0
//
// Power cuts while a commit waits for the disk. What a disk may have then is the file as it was, with any part of what
// the commit wrote: each such file opens with the content before the commit or after it, and goes on from there.
#include <gmock/gmock.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "kelda/tools.hpp"
#include "store_testing.hpp"

namespace kelda::test {
namespace {

using Kind = StoreError::Kind;
using ::testing::AllOf;
using ::testing::HasSubstr;
namespace fs = std::filesystem;

constexpr std::size_t kPage = 4096;
constexpr std::size_t kSector = 512;

/// What the file "lock" says when the system goes down while somebody writes.
constexpr const char* kNoteOfAnotherBoot = "4711\n00000000-0000-0000-0000-000000000000\n";

/// A file before a commit and after it, and the content each time.
struct Moment {
    std::string before;
    std::string after;
    Content content_before;
    Content content_after;

    /// Offsets of the parts that the commit has written.
    std::vector<std::size_t> written(std::size_t part) const
    {
        std::vector<std::size_t> offsets;
        for (std::size_t at = 0; at < after.size(); at += part) {
            if (at >= before.size() || after.compare(at, part, before, at, part) != 0) {
                offsets.push_back(at);
            }
        }
        return offsets;
    }
};

/// The file as the power cut leaves it: some of the parts written, the others as they were.
std::string torn(const Moment& moment, std::size_t part, const std::vector<std::size_t>& written)
{
    std::string bytes = moment.before;
    bytes.resize(std::max(moment.before.size(), moment.after.size()), '\0');
    for (const std::size_t at : written) {
        bytes.replace(at, part, moment.after, at, part);
    }
    return bytes;
}

/// A random change of a few records, or now and then of many; values of all lengths, some longer than a page.
void change(Transaction& txn, Content& content, std::mt19937& random)
{
    const auto draw = [&](std::size_t end) { return std::uniform_int_distribution<std::size_t>{0, end - 1}(random); };
    const std::size_t changes = draw(8) == 0 ? 60 : 1 + draw(3);
    for (std::size_t i = 0; i < changes; ++i) {
        const std::string key = "/config/interface=" + std::to_string(draw(150)) + "/description";
        if (draw(3) == 0) {
            EXPECT_EQ(txn.erase(key), content.erase(key) == 1);
        } else {
            const std::size_t length = draw(30) == 0 ? draw(12000) : draw(150);
            content[key] = std::string(length, static_cast<char>('a' + draw(26)));
            txn.put(key, content[key]);
        }
    }
}

/// Commits after random histories.
std::vector<Moment> moments(unsigned seed, int commits)
{
    const TemporaryFolder folder;
    std::mt19937 random{seed};
    std::vector<Moment> moments;
    Moment moment;
    Store store = Store::open(folder.path());
    for (int i = 0; i < commits; ++i) {
        moment.before = read_file(folder.file("data.mdb"));
        moment.content_before = moment.content_after;
        Transaction txn = store.write();
        change(txn, moment.content_after, random);
        txn.put("/config/round", moment.content_after["/config/round"] = std::to_string(i));
        txn.commit();
        moment.after = read_file(folder.file("data.mdb"));
        moments.push_back(moment);
    }
    return moments;
}

/// A folder with this file and nothing that tells how it came about but the note.
void make_store(const std::string& folder, const std::string& data, const std::string& note = kNoteOfAnotherBoot)
{
    fs::remove_all(folder);
    fs::create_directory(folder);
    write_file(folder + "/data.mdb", data);
    write_file(folder + "/lock", note);
}

/// Opens what the cut has left. True: the commit is there; false: it is undone.
bool opens_with_all_or_nothing(const std::string& folder, const Moment& moment)
{
    Content content;
    bool is_done = false;
    {
        Store store = Store::open(folder, {.create = false});
        content = content_of(store.snapshot());
        is_done = content == moment.content_after;
        EXPECT_TRUE(is_done || content == moment.content_before);
        // It goes on from there, and what it writes over belongs to nobody.
        for (int i = 0; i < 3; ++i) {
            content["/config/later=" + std::to_string(i)] = std::string(3000, 'l');
            fill(store, {{"/config/later=" + std::to_string(i), std::string(3000, 'l')}});
        }
    }
    const CheckReport report = check(folder);
    EXPECT_TRUE(report.is_sound) << report.problem;
    EXPECT_EQ(content_of(Store::open(folder).snapshot()), content);
    return is_done;
}

class TornCommit : public ::testing::TestWithParam<unsigned> {};

/// All subsets of the pages written, or many when there are many pages.
TEST_P(TornCommit, IsThereOrUndoneWhateverPagesHaveArrived)
{
    const TemporaryFolder place;
    std::mt19937 random{GetParam()};
    int done = 0;
    int undone = 0;
    const std::vector<Moment> all = moments(GetParam(), 34);
    for (std::size_t i = 24; i < all.size() && !HasFailure(); ++i) { // the first ones are much alike
        const std::vector<std::size_t> written = all[i].written(kPage);
        ASSERT_GE(written.size(), 3U);
        const bool takes_all = written.size() <= 5; // as nearly always
        const unsigned cases = takes_all ? 1U << written.size() : 16U;
        for (unsigned which = 0; which < cases; ++which) {
            std::vector<std::size_t> arrived;
            std::copy_if(written.begin(), written.end(), std::back_inserter(arrived), [&](const std::size_t& page) {
                return takes_all ? (which >> (&page - written.data()) & 1U) != 0 : which == 0 || random() % 4 != 0;
            });
            make_store(place.file("store"), torn(all[i], kPage, arrived));
            const bool is_done = opens_with_all_or_nothing(place.file("store"), all[i]);
            ASSERT_TRUE(is_done || arrived != written) << "a commit that is whole on disk was undone";
            ++(is_done ? done : undone);
        }
    }
    EXPECT_GE(done, 10);
    EXPECT_GT(undone, 100);
}

/// Disks write sectors, so that a page may be half of one and half of the other.
TEST_P(TornCommit, IsThereOrUndoneWhateverSectorsHaveArrived)
{
    const TemporaryFolder place;
    std::mt19937 random{GetParam() + 1000};
    int done = 0;
    int undone = 0;
    const std::vector<Moment> all = moments(GetParam() + 1000, 40);
    for (std::size_t i = 10; i < all.size() && !HasFailure(); ++i) {
        std::vector<std::size_t> written = all[i].written(kSector);
        for (int time = 0; time < 6; ++time) {
            std::shuffle(written.begin() + 1, written.end(), random); // the first is of the header, nearly always
            std::vector<std::size_t> arrived = written;
            const std::size_t lost = time == 0 ? 0 : 1 + random() % std::min<std::size_t>(written.size() - 1, 6);
            arrived.resize(written.size() - lost);
            make_store(place.file("store"), torn(all[i], kSector, arrived));
            const bool is_done = opens_with_all_or_nothing(place.file("store"), all[i]);
            ASSERT_TRUE(is_done || lost > 0) << "a commit that is whole on disk was undone";
            ++(is_done ? done : undone);
        }
    }
    EXPECT_GE(done, 30);
    EXPECT_GT(undone, 100);
}

INSTANTIATE_TEST_SUITE_P(Histories, TornCommit, ::testing::Values(1U, 2U, 3U, 4U));

/// A folder with a store whose last commit lost a page of records.
class TornStore : public ::testing::Test {
protected:
    void SetUp() override
    {
        moment_ = moments(7, 30).back();
        std::vector<std::size_t> arrived = moment_.written(kPage);
        arrived.pop_back();
        torn_ = torn(moment_, kPage, arrived);
        make_store(store_, torn_);
    }

    TemporaryFolder place_;
    std::string store_ = place_.file("store");
    Moment moment_;
    std::string torn_;
};

TEST_F(TornStore, SaysWhatWasUndoneOnce)
{
    EXPECT_THAT(Store::open(store_).undone(), AllOf(HasSubstr(store_ + "/data.mdb: the last commit, 32, was cut short"),
                                                    HasSubstr("The store is as of commit 31")));
    EXPECT_EQ(Store::open(store_).undone(), "");
}

TEST_F(TornStore, IsNotReadButNamedByWhoMustNotMendIt)
{
    const StoreError error = refusal(store_, {.read_only = true});
    EXPECT_EQ(error.kind(), Kind::damaged);
    EXPECT_THAT(error.what(), AllOf(HasSubstr("start the agent"), HasSubstr("back to commit 31")));
    const CheckReport report = check(store_);
    EXPECT_FALSE(report.is_sound);
    EXPECT_EQ(report.problem, error.what());
    EXPECT_TRUE(read_file(store_ + "/data.mdb") == torn_); // not printed
}

/// The header of the last commit has a last page that no file has: it is given up like one whose pages are missing.
TEST_F(TornStore, IsMendedWhenItsHeaderCannotBe)
{
    constexpr std::size_t kHighestOfLastPage = 143; // in a header's page
    std::string bytes = torn_;
    bytes[kHighestOfLastPage] = '\x7F'; // commit 32 has the first header, 31 the second
    make_store(store_, bytes);
    EXPECT_EQ(refusal(store_, {.read_only = true}).kind(), Kind::damaged);
    const Store store = Store::open(store_);
    EXPECT_THAT(store.undone(), HasSubstr("The store is as of commit 31"));
    EXPECT_EQ(content_of(store.snapshot()), moment_.content_before);
}

TEST_F(TornStore, IsMendedByCompaction)
{
    compact(store_);
    const Store store = Store::open(store_);
    EXPECT_EQ(store.undone(), "");
    EXPECT_EQ(content_of(store.snapshot()), moment_.content_before);
}

/// Without a power cut, a last commit that is not whole is damage to something that was acknowledged.
TEST_F(TornStore, IsDamagedWhenItWasClosedInOrder)
{
    make_store(store_, torn_, "closed 32\n");
    EXPECT_EQ(refusal(store_).kind(), Kind::damaged);
    EXPECT_TRUE(read_file(store_ + "/data.mdb") == torn_); // not printed
    make_store(store_, torn_, "closed 31\n");              // the note is of another commit
    EXPECT_EQ(content_of(Store::open(store_).snapshot()), moment_.content_before);
}

TEST_F(TornStore, IsDamagedWhenTheSystemHasNotGoneDown)
{
    const Store other = Store::open(place_.file("other"));
    make_store(store_, torn_, read_file(place_.file("other/lock")));
    EXPECT_EQ(refusal(store_).kind(), Kind::damaged);
    EXPECT_TRUE(read_file(store_ + "/data.mdb") == torn_); // not printed
}

TEST_F(TornStore, IsDamagedWhenTheCommitBeforeIsNotWholeEither)
{
    std::string bytes = torn_;
    std::fill(bytes.begin() + 2 * kPage, bytes.end(), 'x');
    make_store(store_, bytes);
    EXPECT_EQ(refusal(store_).kind(), Kind::damaged);
    EXPECT_TRUE(read_file(store_ + "/data.mdb") == bytes);
}

TEST(ClosedStore, SaysSoInItsNote)
{
    const TemporaryFolder folder;
    Store store = Store::open(folder.path());
    EXPECT_THAT(read_file(folder.file("lock")), ::testing::MatchesRegex("[0-9]+\n[0-9a-f-]+\n[0-9]+\n"));
    fill(store, {{"/config/a", "1"}});
    const auto commit = store.generation();
    store = Store::open(folder.path() + "/other");
    EXPECT_EQ(read_file(folder.file("lock")), "closed " + std::to_string(commit) + "\n");
}

/// The disk fails while it is waited for: the commit is taken back.
TEST(FailedSync, TakesTheCommitBack)
{
    const TemporaryFolder folder;
    Content content{{"/config/a", "old"}, {"/config/b", "old"}};
    kelda::Faults faults;
    int told = 0;
    {
        Store store = Store::open(folder.path(), {.faults = &faults});
        fill(store, content);
        const auto generation = store.snapshot().generation();
        const Subscription subscription = store.subscribe("/config/", [&](const Changes&) { ++told; });
        for (int time = 1; time <= 3; ++time) {
            faults.before = [](const char* operation) { return std::string_view{operation} == "sync" ? EIO : 0; };
            const StoreError error = error_of([&] { fill(store, {{"/config/a", "new"}, {"/config/c", "new"}}); });
            ASSERT_EQ(error.kind(), Kind::io);
            ASSERT_THAT(error.what(), HasSubstr("cannot force"));
            ASSERT_EQ(content_of(store.snapshot()), content);
        }
        // What was read of the commit must not be taken for what is there now.
        EXPECT_NE(store.snapshot().generation(), generation);
        EXPECT_NE(store.snapshot().generation(), generation + 1);
        faults.before = nullptr;
        EXPECT_EQ(told, 0);
        content["/config/a"] = "newer";
        fill(store, {{"/config/a", "newer"}});
        EXPECT_EQ(told, 1);
        EXPECT_EQ(content_of(store.snapshot()), content);
    }
    EXPECT_EQ(check(folder.path()).problem, "");
    EXPECT_EQ(content_of(Store::open(folder.path()).snapshot()), content);
}

/// Readers of a commit that is being taken back go on undisturbed, and nobody writes over its pages before they end.
TEST(FailedSync, WaitsForThoseWhoReadTheCommit)
{
    const TemporaryFolder folder;
    kelda::Faults faults;
    Store store = Store::open(folder.path(), {.faults = &faults});
    const std::string old(3000, 'o');
    const std::string fresh(3000, 'n');
    fill(store, {{"/config/a", old}});
    std::optional<Snapshot> reader;
    faults.before = [&](const char* operation) {
        if (std::string_view{operation} != "sync") {
            return 0;
        }
        if (!reader) {
            reader.emplace(store.snapshot());
        }
        return EIO;
    };
    EXPECT_EQ(error_of([&] { fill(store, {{"/config/a", fresh}}); }).kind(), Kind::io);
    faults.before = nullptr;
    EXPECT_EQ(reader->get("/config/a"), fresh); // it had begun before the disk failed
    EXPECT_EQ(store.snapshot().get("/config/a"), old);
    EXPECT_NE(reader->generation(), store.snapshot().generation());
    EXPECT_THAT(error_of([&] { fill(store, {{"/config/a", "x"}}); }).what(), HasSubstr("try again"));
    EXPECT_EQ(reader->get("/config/a"), fresh);
    reader.reset();
    fill(store, {{"/config/a", "x"}});
    EXPECT_EQ(store.snapshot().get("/config/a"), "x");
}

/// Another process reads the commit: its pages have to stay as well.
TEST(FailedSync, WaitsForThoseWhoReadTheCommitElsewhere)
{
    const TemporaryFolder folder;
    kelda::Faults faults;
    Store store = Store::open(folder.path(), {.faults = &faults});
    fill(store, {{"/config/a", "old"}});
    std::array<int, 2> ready{};
    std::array<int, 2> done{};
    ASSERT_EQ(pipe(ready.data()), 0);
    ASSERT_EQ(pipe(done.data()), 0);
    pid_t reader = -1;
    faults.before = [&](const char* operation) {
        if (std::string_view{operation} != "sync" || reader >= 0) {
            return 0;
        }
        reader = fork();
        if (reader == 0) {
            const Store other = Store::open(folder.path(), {.read_only = true});
            const Snapshot snapshot = other.snapshot();
            char byte = 'r';
            const bool is_told = ::write(ready[1], &byte, 1) == 1;
            ::close(done[1]);
            _exit(is_told && ::read(done[0], &byte, 1) == 0 && snapshot.get("/config/a") == "new" ? 0 : 1);
        }
        char byte = 0;
        EXPECT_EQ(::read(ready[0], &byte, 1), 1);
        return EIO;
    };
    EXPECT_EQ(error_of([&] { fill(store, {{"/config/a", "new"}}); }).kind(), Kind::io);
    EXPECT_THAT(error_of([&] { fill(store, {{"/config/a", "x"}}); }).what(), HasSubstr("try again"));
    ::close(done[1]);
    int status = -1;
    EXPECT_EQ(waitpid(reader, &status, 0), reader);
    EXPECT_EQ(status, 0);
    fill(store, {{"/config/a", "newer"}});
    EXPECT_EQ(store.snapshot().get("/config/a"), "newer");
    for (const int fd : {ready[0], ready[1], done[0]}) {
        ::close(fd);
    }
}

/// The first commit may have the number of one that was cut short before. So its pages are on disk before its header,
/// and nobody sees it before; later ones are seen while they are waited for.
TEST(FirstCommit, IsNotSeenBeforeItsPagesAreOnDisk)
{
    const TemporaryFolder folder;
    kelda::Faults faults;
    std::vector<std::string> seen;
    for (int life = 0; life < 2; ++life) {
        Store store = Store::open(folder.path(), {.faults = &faults});
        faults.before = [&](const char* operation) {
            if (std::string_view{operation} == "sync") {
                seen.emplace_back(store.snapshot().get("/config/a").value_or("nothing"));
            }
            return 0;
        };
        for (const char* const value : {"1", "2", "3"}) {
            fill(store, {{"/config/a", std::to_string(life) + value}});
        }
        faults.before = nullptr;
    }
    EXPECT_THAT(seen, ::testing::ElementsAre("nothing", "02", "03", "03", "12", "13"));
}

TEST(FirstCommit, FailsWithoutATrace)
{
    const TemporaryFolder folder;
    kelda::Faults faults;
    Store store = Store::open(folder.path(), {.faults = &faults});
    const auto generation = store.generation();
    faults.before = [](const char* operation) { return std::string_view{operation} == "sync" ? EIO : 0; };
    EXPECT_EQ(error_of([&] { fill(store, {{"/config/a", "1"}}); }).kind(), Kind::io);
    faults.before = nullptr;
    EXPECT_EQ(store.generation(), generation);
    fill(store, {{"/config/a", "2"}});
    EXPECT_EQ(store.snapshot().get("/config/a"), "2");
}

/// Counting what is in a store must not look like reading it for ever.
TEST(FailedSync, IsNotHeldUpByCounting)
{
    const TemporaryFolder folder;
    kelda::Faults faults;
    Store store = Store::open(folder.path(), {.faults = &faults});
    fill(store, {{"/config/a", "1"}});
    EXPECT_EQ(store.stat().records, 1U);
    faults.before = [](const char* operation) { return std::string_view{operation} == "sync" ? EIO : 0; };
    EXPECT_EQ(error_of([&] { fill(store, {{"/config/a", "2"}}); }).kind(), Kind::io);
    faults.before = nullptr;
    fill(store, {{"/config/a", "3"}});
    EXPECT_EQ(store.snapshot().get("/config/a"), "3");
}

/// Pages that one commit takes and gives up again are counted and never written: a file that ends before them is whole.
TEST(ShortFile, IsWholeWhenNothingOfTheRestIsInUse)
{
    int short_files = 0;
    for (const int records : {50, 100, 200, 400, 800}) {
        const TemporaryFolder folder;
        Content content;
        {
            Store store = Store::open(folder.path());
            for (int i = 0; i < records; ++i) {
                content["/config/i=" + std::to_string(i) + "/d"] = std::string(100, 'v');
            }
            fill(store, content);
            Transaction txn = store.write();
            for (int i = 0; i < records; ++i) { // all but each tenth
                const std::string key = "/config/i=" + std::to_string(i) + "/d";
                EXPECT_TRUE(i % 10 == 0 || (txn.erase(key) && content.erase(key) == 1));
            }
            txn.commit();
        }
        const std::string file = folder.file("data.mdb");
        std::string bytes = read_file(file);
        while (bytes.size() > 3 * kPage && bytes.ends_with(std::string(kPage, '\0'))) {
            bytes.resize(bytes.size() - kPage); // as the database leaves it
            ++short_files;
        }
        write_file(file, bytes);
        for (const char* const note : {kNoteOfAnotherBoot, "closed 4\n"}) {
            write_file(folder.file("lock"), note);
            ASSERT_EQ(check(folder.path()).problem, "") << records;
            ASSERT_EQ(content_of(Store::open(folder.path(), {.read_only = true}).snapshot()), content) << records;
        }
        Store store = Store::open(folder.path());
        ASSERT_EQ(store.undone(), "");
        ASSERT_EQ(content_of(store.snapshot()), content) << records;
        fill(store, {{"/config/later", "1"}});
    }
    EXPECT_GT(short_files, 0);
}

/// Many read while commits come and are taken back: each sees a whole commit, and the same in all of a generation.
TEST(FailedSync, ShowsReadersWholeCommitsOnly)
{
    const TemporaryFolder folder;
    kelda::Faults faults;
    std::atomic<bool> fails{false};
    faults.before = [&](const char* operation) { return fails && std::string_view{operation} == "sync" ? EIO : 0; };
    Store store = Store::open(folder.path(), {.faults = &faults});
    const auto write_round = [&](int round) {
        Transaction txn = store.write();
        for (int i = 0; i < 40; ++i) {
            txn.put("/config/" + std::to_string(i),
                    std::to_string(round) + std::string(static_cast<std::size_t>(round * 37 % 200), ' '));
        }
        txn.commit();
    };
    write_round(0);
    std::mutex mutex;
    std::map<std::uint64_t, std::string> seen; // by generation
    std::atomic<bool> is_over{false};
    const auto read_on = [&] {
        while (!is_over) {
            const Snapshot snapshot = store.snapshot();
            const Content content = content_of(snapshot);
            ASSERT_EQ(content.size(), 40U);
            for (const auto& [key, value] : content) {
                ASSERT_EQ(value, content.begin()->second);
            }
            const std::lock_guard guard{mutex};
            ASSERT_EQ(seen.try_emplace(snapshot.generation(), content.begin()->second).first->second,
                      content.begin()->second);
        }
    };
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back(read_on);
    }
    const auto generations_seen = [&] {
        const std::lock_guard guard{mutex};
        return seen.size();
    };
    constexpr int kMostRounds = 20000; // far more than any machine needs
    int kept = 0;
    int done = 0;
    for (int round = 1; round <= 300 || (generations_seen() < 50 && round < kMostRounds); ++round) {
        fails = round % 3 == 0;
        try {
            write_round(round);
            kept = round;
            ++done;
            EXPECT_FALSE(fails);
        } catch (const StoreError&) { // the disk, or somebody who still reads what is gone: time for them to end
            std::this_thread::sleep_for(std::chrono::microseconds{200});
        }
        ASSERT_EQ(std::stoi(std::string{store.snapshot().get("/config/0").value()}), kept);
    }
    is_over = true;
    for (std::thread& reader : readers) {
        reader.join();
    }
    EXPECT_GE(done, 10); // others are refused while somebody reads what is gone
    EXPECT_GE(seen.size(), 50U);
}

/// Power cuts after the disk had failed: the store is as of the last commit that anybody was told of.
TEST(FailedSync, LeavesAFileThatStandsPowerCuts)
{
    const TemporaryFolder place;
    const TemporaryFolder folder;
    std::mt19937 random{17}; // NOLINT(cert-msc51-cpp): the same histories each time
    kelda::Faults faults;
    Store store = Store::open(folder.path(), {.faults = &faults});
    Content content;
    int failed = 0;
    for (int i = 0; i < 60; ++i) {
        const bool fails = i > 20 && i % 3 == 0;
        Content changed = content;
        Moment moment{read_file(folder.file("data.mdb")), {}, content, {}};
        Transaction txn = store.write();
        change(txn, changed, random);
        txn.put("/config/round", changed["/config/round"] = std::to_string(i));
        faults.before = [&](const char* operation) { return fails && std::string_view{operation} == "sync" ? EIO : 0; };
        try {
            txn.commit();
            content = changed;
        } catch (const StoreError&) {
            ++failed;
        }
        faults.before = nullptr;
        moment.after = read_file(folder.file("data.mdb"));
        moment.content_after = content;
        std::vector<std::size_t> written = moment.written(kPage);
        for (int time = 0; i > 20 && time < 4 && !HasFailure(); ++time) {
            std::shuffle(written.begin(), written.end(), random);
            make_store(
                place.file("store"),
                torn(moment, kPage,
                     {written.begin(), written.begin() + std::min<long>(time, static_cast<long>(written.size()))}));
            opens_with_all_or_nothing(place.file("store"), moment);
        }
    }
    EXPECT_EQ(failed, 13);
    EXPECT_EQ(content_of(store.snapshot()), content);
}

/// Some bytes of values are changed: no page looks wrong, but the records are not what was committed.
TEST(DamagedValue, IsFound)
{
    const TemporaryFolder folder;
    fill(*std::make_unique<Store>(Store::open(folder.path())),
         {{"/config/a", "attenuation of 12.5"}, {"/config/b", std::string(9000, 'b')}});
    const std::string whole = read_file(folder.file("data.mdb"));
    for (const char* const text : {"12.5", "bbbb"}) {
        std::string bytes = whole;
        bytes[bytes.find(text) + 2] ^= 1;
        write_file(folder.file("data.mdb"), bytes);
        EXPECT_THAT(check(folder.path()).problem, HasSubstr("do not add up to the digest"));
        EXPECT_EQ(refusal(folder.path()).kind(), Kind::damaged);
    }
    write_file(folder.file("data.mdb"), whole);
    EXPECT_TRUE(check(folder.path()).is_sound);
}

} // namespace
} // namespace kelda::test
