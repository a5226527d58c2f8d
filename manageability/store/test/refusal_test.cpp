// SPDX-License-Identifier: Apache-2.0
//
// What stops a store from being opened, one cause after the other: each with its kind, its place and an advice, and
// nothing changed by the attempt.
#include <gmock/gmock.h>
#include <lmdb.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <filesystem>

#include "kelda/tools.hpp"
#include "store_testing.hpp"

namespace kelda::test {
namespace {

using Kind = StoreError::Kind;
using ::testing::AllOf;
using ::testing::HasSubstr;
namespace fs = std::filesystem;

Content example()
{
    Content content;
    for (int i = 0; i < 2000; ++i) {
        content.emplace("/config/interface=" + std::to_string(i), std::string(static_cast<std::size_t>(i % 90), 'v'));
    }
    return content;
}

/// A folder with a closed store.
class Refusal : public ::testing::Test {
protected:
    void SetUp() override
    {
        Store store = Store::open(folder_.path());
        fill(store, example());
    }

    std::string data() const { return folder_.file("data.mdb"); }

    TemporaryFolder folder_;
};

TEST_F(Refusal, FolderIsMissing)
{
    const StoreError error = refusal(folder_.file("none"), {.create = false});
    EXPECT_EQ(error.kind(), Kind::missing);
    EXPECT_THAT(error.what(), AllOf(HasSubstr(folder_.file("none")), HasSubstr("check the path")));
    EXPECT_EQ(refusal(folder_.file("none"), {.read_only = true}).kind(), Kind::missing);
    EXPECT_FALSE(fs::exists(folder_.file("none")));
}

TEST_F(Refusal, FolderIsAFile)
{
    EXPECT_EQ(refusal(data()).kind(), Kind::missing);
}

TEST_F(Refusal, FolderIsEmptyAndNothingMayBeMade)
{
    fs::create_directory(folder_.file("empty"));
    EXPECT_EQ(refusal(folder_.file("empty"), {.create = false}).kind(), Kind::missing);
    EXPECT_TRUE(fs::is_empty(folder_.file("empty")));
}

TEST_F(Refusal, FolderHoldsSomethingElse)
{
    fs::create_directory(folder_.file("other"));
    write_file(folder_.file("other/photo"), "x");
    const StoreError error = refusal(folder_.file("other"));
    EXPECT_EQ(error.kind(), Kind::missing);
    EXPECT_THAT(error.what(), AllOf(HasSubstr("photo"), HasSubstr("folder of its own")));
    EXPECT_EQ(std::distance(fs::directory_iterator{folder_.file("other")}, fs::directory_iterator{}), 1);
}

TEST_F(Refusal, DataFileIsMissingBesideOthers)
{
    fs::remove(data());
    const StoreError error = refusal(folder_.path());
    EXPECT_EQ(error.kind(), Kind::missing);
    EXPECT_THAT(error.what(), AllOf(HasSubstr(data()), HasSubstr("put it back")));
    EXPECT_FALSE(fs::exists(data()));
}

TEST_F(Refusal, DataFileIsEmpty)
{
    write_file(data(), "");
    EXPECT_EQ(refusal(folder_.path()).kind(), Kind::damaged);
    EXPECT_EQ(fs::file_size(data()), 0U);
}

TEST_F(Refusal, DataFileIsCutAnywhere)
{
    const std::string whole = read_file(data());
    for (std::size_t bytes = 1; bytes < whole.size(); bytes += 1777) {
        write_file(data(), whole.substr(0, bytes));
        const StoreError error = refusal(folder_.path());
        ASSERT_EQ(error.kind(), Kind::damaged) << bytes << ": " << error.what();
        ASSERT_EQ(refusal(folder_.path(), {.read_only = true}).kind(), Kind::damaged) << bytes;
        ASSERT_EQ(fs::file_size(data()), bytes);
    }
}

TEST_F(Refusal, DataFileBeginsWrongly)
{
    std::string bytes = read_file(data());
    bytes[16] = static_cast<char>(bytes[16] + 1);
    write_file(data(), bytes);
    const StoreError error = refusal(folder_.path());
    EXPECT_EQ(error.kind(), Kind::damaged);
    EXPECT_THAT(error.what(), AllOf(HasSubstr(data()), HasSubstr("restore")));
}

TEST_F(Refusal, DataFileIsRandomBytes)
{
    std::mt19937 random{7}; // NOLINT(cert-msc51-cpp): the same bytes each time
    std::string bytes(100000, '\0');
    for (char& c : bytes) {
        c = static_cast<char>(random());
    }
    write_file(data(), bytes);
    EXPECT_EQ(refusal(folder_.path()).kind(), Kind::damaged);
    EXPECT_EQ(read_file(data()), bytes);
}

/// Pages are overwritten one at a time: the store is refused, or (the page was free) has everything.
TEST_F(Refusal, AnyPageIsOverwritten)
{
    const std::string whole = read_file(data());
    constexpr std::size_t kPage = 4096;
    std::mt19937 random{11}; // NOLINT(cert-msc51-cpp): the same bytes each time
    int refused = 0;
    for (std::size_t page = 0; page + kPage <= whole.size(); page += kPage) {
        std::string bytes = whole;
        for (std::size_t i = page; i < page + kPage; ++i) {
            bytes[i] = static_cast<char>(random());
        }
        write_file(data(), bytes);
        try {
            const Store store = Store::open(folder_.path());
            ASSERT_EQ(content_of(store.snapshot()), example()) << page / kPage;
        } catch (const StoreError& error) {
            ASSERT_EQ(error.kind(), Kind::damaged) << error.what();
            ++refused;
        }
    }
    EXPECT_GE(refused, 20); // headers, roots and every page of records
}

constexpr std::size_t kMapBytesOffset = 32; // in a header's page
constexpr std::size_t kLastPageOffset = 136;
constexpr std::size_t kCommitOffset = 144;

std::uint64_t number_at(const std::string& bytes, std::size_t offset)
{
    std::uint64_t number = 0;
    std::memcpy(&number, bytes.data() + offset, sizeof number);
    return number;
}

/// Where the page of the header that counts begins.
std::size_t header_of(const std::string& bytes)
{
    constexpr std::size_t kPage = 4096;
    return number_at(bytes, kCommitOffset) > number_at(bytes, kPage + kCommitOffset) ? 0 : kPage;
}

std::string with_bit_flipped(std::string bytes, std::size_t offset, std::size_t bit)
{
    bytes[offset + bit / 8] = static_cast<char>(bytes[offset + bit / 8] ^ (1 << bit % 8));
    return bytes;
}

/// True when the store is refused as damaged, false when it has everything.
bool is_refused(const std::string& folder, const Options& options)
{
    try {
        EXPECT_EQ(content_of(Store::open(folder, options).snapshot()), example());
        return false;
    } catch (const StoreError& error) {
        EXPECT_EQ(error.kind(), Kind::damaged) << error.what();
        EXPECT_THAT(error.what(), HasSubstr("restore the store from a dump"));
        return true;
    }
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kLimitsMemory = false; // the sanitizer takes more for itself
#else
constexpr bool kLimitsMemory = true;
#endif

/// Opens and checks with little memory. The result is 2 when the store is refused as damaged by whoever looks, 1 when
/// by some, 0 when by nobody, and 3 when anything else is thrown or wrong.
int result_with_little_memory(const std::string& folder)
{
    const int status = status_of_child([&] {
        constexpr rlim_t kBytes = rlim_t{256} << 20; // address space that only maps a file is not counted
        const rlimit limit{kBytes, kBytes};
        if (kLimitsMemory && ::setrlimit(RLIMIT_DATA, &limit) != 0) {
            return 3;
        }
        const int refusals = (is_refused(folder, {.read_only = true}) ? 1 : 0) + (check(folder).is_sound ? 0 : 1) +
                             (is_refused(folder, {}) ? 1 : 0);
        const int result = refusals == 3 ? 2 : refusals == 0 ? 0 : 1;
        return ::testing::Test::HasFailure() ? 3 : result;
    });
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// The two numbers that nothing else in the file depends on, and that memory is taken by.
TEST_F(Refusal, SizeInTheHeaderHasAFlippedBit)
{
    const std::string whole = read_file(data());
    const std::string note = read_file(folder_.file("lock"));
    for (const std::size_t field : {kMapBytesOffset, kLastPageOffset}) {
        int refused = 0;
        for (std::size_t bit = 0; bit < 64; ++bit) {
            write_file(data(), with_bit_flipped(whole, header_of(whole) + field, bit));
            write_file(folder_.file("lock"), note);
            const int result = result_with_little_memory(folder_.path());
            ASSERT_THAT(result, ::testing::AnyOf(0, 2)) << "bit " << bit << " of the number at " << field;
            refused += result == 2 ? 1 : 0;
        }
        EXPECT_GE(refused, 64 - 41) << field; // 2^40 bytes are more than any store has
    }
}

TEST_F(Refusal, SizeInTheHeaderMustHoldItsPages)
{
    const std::string whole = read_file(data());
    const std::size_t header = header_of(whole);
    const auto with_map = [&](std::uint64_t map_bytes) {
        std::string bytes = whole;
        std::memcpy(bytes.data() + header + kMapBytesOffset, &map_bytes, sizeof map_bytes);
        return bytes;
    };
    const std::uint64_t needed = (number_at(whole, header + kLastPageOffset) + 1) * 4096;
    for (const std::uint64_t map_bytes : {std::uint64_t{0}, needed, needed + 1, std::uint64_t{1} << 40}) {
        write_file(data(), with_map(map_bytes));
        EXPECT_FALSE(is_refused(folder_.path(), {.read_only = true})) << map_bytes;
    }
    for (const std::uint64_t map_bytes : {std::uint64_t{1}, needed - 1, (std::uint64_t{1} << 40) + 1}) {
        write_file(data(), with_map(map_bytes));
        EXPECT_TRUE(is_refused(folder_.path(), {.read_only = true})) << map_bytes;
    }
}

TEST_F(Refusal, DatabaseIsNotOfThisSystem)
{
    fs::create_directory(folder_.file("other"));
    MDB_env* env = nullptr;
    ASSERT_EQ(mdb_env_create(&env), 0);
    ASSERT_EQ(mdb_env_open(env, folder_.file("other").c_str(), 0, 0600), 0);
    mdb_env_close(env);
    EXPECT_EQ(refusal(folder_.file("other")).kind(), Kind::damaged);
}

TEST_F(Refusal, VersionIsAnother)
{
    MDB_env* env = nullptr;
    ASSERT_EQ(mdb_env_create(&env), 0);
    mdb_env_set_maxdbs(env, 2);
    ASSERT_EQ(mdb_env_open(env, data().c_str(), MDB_NOSUBDIR, 0600), 0);
    MDB_txn* txn = nullptr;
    ASSERT_EQ(mdb_txn_begin(env, nullptr, 0, &txn), 0);
    MDB_dbi meta = 0;
    ASSERT_EQ(mdb_dbi_open(txn, "meta", 0, &meta), 0);
    std::string name = "version";
    std::string three = "3";
    MDB_val key{name.size(), name.data()};
    MDB_val value{three.size(), three.data()};
    ASSERT_EQ(mdb_put(txn, meta, &key, &value, 0), 0);
    ASSERT_EQ(mdb_txn_commit(txn), 0);
    mdb_env_close(env);
    const StoreError error = refusal(folder_.path());
    EXPECT_EQ(error.kind(), Kind::version);
    EXPECT_THAT(error.what(), AllOf(HasSubstr("\"3\""), HasSubstr("use the release that wrote it")));
}

TEST_F(Refusal, DatabaseVersionIsAnother)
{
    std::string bytes = read_file(data());
    bytes[20] = static_cast<char>(bytes[20] + 1);
    write_file(data(), bytes);
    EXPECT_EQ(refusal(folder_.path()).kind(), Kind::version);
}

TEST_F(Refusal, AnotherProcessWrites)
{
    const std::string folder = folder_.path();
    std::array<int, 2> ready{};
    std::array<int, 2> done{};
    ASSERT_EQ(pipe(ready.data()), 0);
    ASSERT_EQ(pipe(done.data()), 0);
    const pid_t writer = fork();
    if (writer == 0) {
        const Store store = Store::open(folder);
        char byte = 'r';
        const bool told = ::write(ready[1], &byte, 1) == 1;
        ::close(done[1]);
        _exit(told && ::read(done[0], &byte, 1) == 0 ? 0 : 1);
    }
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    const StoreError error = refusal(folder);
    EXPECT_EQ(error.kind(), Kind::in_use);
    EXPECT_THAT(error.what(), AllOf(HasSubstr("process " + std::to_string(writer)), HasSubstr("stop it first")));
    EXPECT_EQ(content_of(Store::open(folder, {.read_only = true}).snapshot()), example());
    ::close(done[1]);
    int status = -1;
    EXPECT_EQ(waitpid(writer, &status, 0), writer);
    EXPECT_EQ(status, 0);
    Store::open(folder); // the writer has gone
    for (const int fd : {ready[0], ready[1], done[0]}) {
        ::close(fd);
    }
}

TEST_F(Refusal, ThisProcessHasItOpenAlready)
{
    const Store store = Store::open(folder_.path());
    EXPECT_EQ(refusal(folder_.path()).kind(), Kind::in_use);
    EXPECT_EQ(refusal(folder_.path() + "/.", {.read_only = true}).kind(), Kind::in_use);
}

/// Runs as a user to whom the rights of files apply. The child's result is the kind of the refusal, or 100.
int kind_for_plain_user(const std::string& folder, const Options& options)
{
    const int status = status_of_child([&] {
        constexpr uid_t kNobody = 65534;
        if (geteuid() == 0 && (setegid(kNobody) != 0 || seteuid(kNobody) != 0)) {
            return 101;
        }
        try {
            Store::open(folder, options);
        } catch (const StoreError& error) {
            return static_cast<int>(error.kind());
        }
        return 100;
    });
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(Refusal, FolderMustNotBeWritten)
{
    fs::permissions(folder_.path(), fs::perms{0555});
    fs::remove(folder_.file("lock"));
    EXPECT_EQ(kind_for_plain_user(folder_.path(), {}), static_cast<int>(Kind::read_only));
    fs::permissions(folder_.path(), fs::perms{0755});
}

TEST_F(Refusal, DataFileMustNotBeWritten)
{
    fs::permissions(folder_.path(), fs::perms{0777});
    fs::permissions(folder_.file("lock"), fs::perms{0666});
    fs::permissions(data(), fs::perms{0444});
    EXPECT_EQ(kind_for_plain_user(folder_.path(), {}), static_cast<int>(Kind::read_only));
}

TEST_F(Refusal, FolderCannotBeMade)
{
    fs::permissions(folder_.path(), fs::perms{0555});
    EXPECT_EQ(kind_for_plain_user(folder_.file("new"), {}), static_cast<int>(Kind::read_only));
    fs::permissions(folder_.path(), fs::perms{0755});
}

TEST_F(Refusal, ReadOnlyStoreTakesNoChanges)
{
    Store store = Store::open(folder_.path(), {.read_only = true});
    EXPECT_EQ(error_of([&] { store.write(); }).kind(), Kind::read_only);
    EXPECT_EQ(error_of([&] { store.write_volatile(); }).kind(), Kind::read_only);
    EXPECT_EQ(content_of(store.snapshot()), example());
}

TEST_F(Refusal, WhatWasLeftByACutShortStartIsNoStoreYet)
{
    fs::create_directory(folder_.file("new"));
    write_file(folder_.file("new/lock"), "1\n");
    write_file(folder_.file("new/data.mdb.new"), "half of");
    EXPECT_EQ(refusal(folder_.file("new"), {.create = false}).kind(), Kind::missing);
    EXPECT_TRUE(Store::open(folder_.file("new")).created());
    EXPECT_FALSE(fs::exists(folder_.file("new/data.mdb.new")));
}

} // namespace
} // namespace kelda::test
