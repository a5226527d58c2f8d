// SPDX-License-Identifier: Apache-2.0
//
// Failures in the middle of changes: all that was before stays, and nothing of the change.
#include <gmock/gmock.h>
#include <lmdb.h>
#include <sys/mount.h>

#include <cerrno>

#include "store_testing.hpp"

namespace kelda::test {
namespace {

using Kind = StoreError::Kind;

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

} // namespace
} // namespace kelda::test
