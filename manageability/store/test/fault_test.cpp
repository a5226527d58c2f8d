// SPDX-License-Identifier: Apache-2.0
//
// Failures in the middle of changes: all that was before stays, and nothing of the change.
#include <gmock/gmock.h>
#include <lmdb.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <cerrno>

#include "kelda/tools.hpp"
#include "store_testing.hpp"

namespace kelda::test {
namespace {

using Kind = StoreError::Kind;
using ::testing::AllOf;
using ::testing::HasSubstr;

struct Case {
    const char* name;
    const char* operation;
    int code;
    Kind kind;
    int failures_until_done; // how often the change calls the operation
};

void PrintTo(const Case& c, std::ostream* out)
{
    *out << c.name;
}

class Faults : public ::testing::TestWithParam<Case> {};

/// One change with every kind of operation.
void change(Store& store)
{
    Transaction txn = store.write();
    txn.put("/config/a", "new");
    txn.put("/config/b", "new");
    txn.erase("/config/c");
    txn.put("/config/d", "new");
    txn.commit();
}

TEST_P(Faults, NthOperationFailsAndLeavesTheOldContent)
{
    const TemporaryFolder folder;
    kelda::Faults faults;
    Store store = Store::open(folder.path(), {.faults = &faults});
    const Content old{{"/config/a", "old"}, {"/config/c", "old"}};
    fill(store, old);
    int told = 0;
    const Subscription subscription = store.subscribe("", [&](const Changes&) { ++told; });
    int failures = 0;
    for (bool is_done = false; !is_done; failures += is_done ? 0 : 1) {
        int calls = 0;
        faults.before = [&](const char* operation) {
            return std::string_view{operation} == GetParam().operation && calls++ == failures ? GetParam().code : 0;
        };
        try {
            change(store);
            is_done = true;
        } catch (const StoreError& error) {
            ASSERT_EQ(error.kind(), GetParam().kind) << error.what();
            ASSERT_EQ(content_of(store.snapshot()), old);
            ASSERT_EQ(told, 0);
        }
    }
    EXPECT_EQ(failures, GetParam().failures_until_done);
    EXPECT_EQ(content_of(store.snapshot()),
              (Content{{"/config/a", "new"}, {"/config/b", "new"}, {"/config/d", "new"}}));
    EXPECT_EQ(told, 1);
}

INSTANTIATE_TEST_SUITE_P(Operations, Faults,
                         ::testing::Values(Case{"PutDiskFull", "put", ENOSPC, Kind::disk_full, 3},
                                           Case{"PutMapFull", "put", MDB_MAP_FULL, Kind::disk_full, 3},
                                           Case{"EraseFails", "erase", EIO, Kind::io, 1},
                                           Case{"CommitDiskFull", "commit", ENOSPC, Kind::disk_full, 1},
                                           Case{"CommitFails", "commit", EIO, Kind::io, 1},
                                           Case{"CommitReadOnly", "commit", EROFS, Kind::read_only, 1}),
                         [](const auto& test) { return std::string{test.param.name}; });

TEST(FaultsOfSync, AreReported)
{
    const TemporaryFolder folder;
    kelda::Faults faults;
    Store store = Store::open(folder.path(), {.sync = Sync::relaxed, .faults = &faults});
    store.sync();
    faults.before = [](const char* operation) { return std::string_view{operation} == "sync" ? EIO : 0; };
    EXPECT_EQ(error_of([&] { store.sync(); }).kind(), Kind::io);
}

TEST(FaultsOfPut, MakeTheCommitImpossibleWhenIgnored)
{
    const TemporaryFolder folder;
    kelda::Faults faults;
    Store store = Store::open(folder.path(), {.faults = &faults});
    Transaction txn = store.write();
    txn.put("/config/a", "1");
    faults.before = [](const char* operation) { return std::string_view{operation} == "put" ? ENOSPC : 0; };
    EXPECT_EQ(error_of([&] { txn.put("/config/b", "1"); }).kind(), Kind::disk_full);
    faults.before = nullptr;
    EXPECT_EQ(error_of([&] { txn.commit(); }).kind(), Kind::io);
    EXPECT_TRUE(content_of(store.snapshot()).empty());
}

void put_large(Store& store, std::size_t number)
{
    Transaction txn = store.write();
    txn.put("/config/" + std::to_string(number), std::string(50000, 'x'));
    txn.commit();
}

/// Puts records until one is refused. Returns how many were not.
std::size_t fill_up(Store& store, const char* advice)
{
    std::size_t committed = 0;
    const StoreError error = error_of([&] {
        for (; committed < 1000; ++committed) {
            put_large(store, committed);
        }
    });
    EXPECT_EQ(error.kind(), Kind::disk_full);
    EXPECT_THAT(error.what(), ::testing::HasSubstr(advice));
    EXPECT_EQ(content_of(store.snapshot()).size(), committed);
    return committed;
}

TEST(FullStore, RefusesWhatItsLimitDoesNotTakeAndGoesOnWithALargerOne)
{
    const TemporaryFolder folder;
    std::size_t committed = 0;
    {
        Store store = Store::open(folder.path(), {.map_bytes = std::size_t{1} << 20});
        committed = fill_up(store, "size limit");
    }
    ASSERT_GT(committed, 3U);
    Store store = Store::open(folder.path(), {.map_bytes = std::size_t{1} << 21});
    put_large(store, committed);
    EXPECT_EQ(content_of(store.snapshot()).size(), committed + 1);
}

/// A small file system of its own, where the test has the right to mount one.
class SmallDisk {
public:
    SmallDisk() : is_mounted_{::mount("kelda-test", folder_.path().c_str(), "tmpfs", 0, "size=1m") == 0} {}
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    ~SmallDisk()
    {
        if (is_mounted_) {
            ::umount2(folder_.path().c_str(), MNT_DETACH);
        }
    }

    bool is_mounted() const { return is_mounted_; }
    const std::string& path() const { return folder_.path(); }
    std::string file(const std::string& name) const { return folder_.file(name); }

    void fill_up() const { write_file(file("filler"), std::string(2 << 20, 'x')); } // as much of it as fits
    void make_space() const { EXPECT_EQ(::unlink(file("filler").c_str()), 0); }
    bool make_read_only() const
    {
        return ::mount("kelda-test", path().c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr) == 0;
    }

private:
    TemporaryFolder folder_;
    bool is_mounted_;
};

TEST(FullDisk, RefusesWhatDoesNotFitAndGoesOnWhenThereIsSpace)
{
    const SmallDisk disk;
    if (!disk.is_mounted()) {
        GTEST_SKIP() << "no right to mount a file system";
    }
    const std::string filler = disk.path() + "/filler";
    std::size_t committed = 0;
    {
        Store store = Store::open(disk.path());
        write_file(filler, std::string(300000, 'x'));
        committed = fill_up(store, "free space");
        ASSERT_GT(committed, 3U);
        ASSERT_EQ(::unlink(filler.c_str()), 0);
        put_large(store, committed);
        EXPECT_EQ(content_of(store.snapshot()).size(), committed + 1);
    }
    EXPECT_EQ(content_of(Store::open(disk.path()).snapshot()).size(), committed + 1);
}

TEST(FullDisk, RefusesToMakeAStoreAndLeavesNone)
{
    const SmallDisk disk;
    if (!disk.is_mounted()) {
        GTEST_SKIP() << "no right to mount a file system";
    }
    write_file(disk.path() + "/filler", std::string(2 << 20, 'x')); // as much of it as fits
    ASSERT_EQ(::rename((disk.path() + "/filler").c_str(), (disk.path() + "/lost+found").c_str()), 0);
    EXPECT_EQ(refusal(disk.path()).kind(), Kind::disk_full);
    ASSERT_EQ(::unlink((disk.path() + "/lost+found").c_str()), 0);
    EXPECT_TRUE(Store::open(disk.path()).created());
}

/// A sound store on a small disk, as it is after it was copied there: its data file and nothing else.
class CopyOnSmallDisk : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!disk_.is_mounted()) {
            GTEST_SKIP() << "no right to mount a file system";
        }
        const TemporaryFolder origin;
        {
            Store store = Store::open(origin.path());
            fill(store, content_);
        }
        write_file(disk_.file("data.mdb"), read_file(origin.file("data.mdb")));
    }

    SmallDisk disk_;
    const Content content_{{"/config/a", "1"}, {"/config/b", "2"}};
};

/// Without space for the table of readers: who wrote to it all the same would be ended by a signal.
TEST_F(CopyOnSmallDisk, IsNotOpenedUntilThereIsSpaceForItsReaders)
{
    disk_.fill_up();
    for (const bool is_read_only : {true, false}) {
        const StoreError error = refusal(disk_.path(), {.read_only = is_read_only});
        EXPECT_EQ(error.kind(), Kind::disk_full);
        EXPECT_THAT(error.what(), AllOf(HasSubstr(disk_.file("data.mdb-lock")), HasSubstr("free space")));
    }
    disk_.make_space();
    EXPECT_EQ(content_of(Store::open(disk_.path(), {.read_only = true}).snapshot()), content_);
    EXPECT_EQ(content_of(Store::open(disk_.path()).snapshot()), content_);
}

TEST_F(CopyOnSmallDisk, IsNotCalledDamagedForWantOfSpace)
{
    disk_.fill_up();
    const StoreError error = error_of([&] { check(disk_.path()); });
    EXPECT_EQ(error.kind(), Kind::disk_full);
    EXPECT_THAT(error.what(), AllOf(HasSubstr(disk_.file("data.mdb-lock")), HasSubstr("free space")));
    disk_.make_space();
    EXPECT_EQ(check(disk_.path()).problem, "");
}

TEST_F(CopyOnSmallDisk, IsReadOnAFullDiskThatHasSpaceForItsReadersAlready)
{
    EXPECT_EQ(content_of(Store::open(disk_.path(), {.read_only = true}).snapshot()), content_);
    disk_.fill_up();
    EXPECT_EQ(content_of(Store::open(disk_.path(), {.read_only = true}).snapshot()), content_);
    EXPECT_EQ(check(disk_.path()).problem, "");
}

TEST_F(CopyOnSmallDisk, IsReadWhereNothingCanBeWritten)
{
    ASSERT_TRUE(disk_.make_read_only());
    EXPECT_EQ(content_of(Store::open(disk_.path(), {.read_only = true}).snapshot()), content_);
    EXPECT_EQ(refusal(disk_.path()).kind(), Kind::read_only);
}

/// The volatile branch has a table of its own, which is made anew each time.
TEST_F(CopyOnSmallDisk, IsNotWrittenWithoutSpaceForReadersOfTheVolatileBranch)
{
    Store::open(disk_.path());
    for (const char* name : {"oper.mdb", "oper.mdb-lock"}) {
        ASSERT_EQ(::unlink(disk_.file(name).c_str()), 0);
    }
    disk_.fill_up();
    const StoreError error = refusal(disk_.path());
    EXPECT_EQ(error.kind(), Kind::disk_full);
    EXPECT_THAT(error.what(), HasSubstr(disk_.file("oper.mdb-lock")));
    disk_.make_space();
    EXPECT_EQ(content_of(Store::open(disk_.path()).snapshot()), content_);
}

/// What is reserved is all that the database makes of these files, and has to be all of it.
TEST(TablesOfReaders, HaveTheirSpace)
{
    const SmallDisk disk;
    if (!disk.is_mounted()) {
        GTEST_SKIP() << "no right to mount a file system";
    }
    const Store store = Store::open(disk.path());
    for (const char* name : {"data.mdb-lock", "oper.mdb-lock"}) {
        struct stat status {};
        ASSERT_EQ(::stat(disk.file(name).c_str(), &status), 0);
        EXPECT_GT(status.st_size, 0) << name;
        EXPECT_EQ(status.st_blocks * 512, status.st_size) << name;
    }
}

} // namespace
} // namespace kelda::test
