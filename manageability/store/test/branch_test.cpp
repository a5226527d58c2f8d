// SPDX-License-Identifier: Apache-2.0
//
// What holds for records of every branch and mode alike.
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "store_testing.hpp"

namespace kelda::test {
namespace {

struct Durable {
    static constexpr Sync kSync = Sync::full;
    static constexpr const char* kBranch = "/config/";
    static constexpr const char* kOther = "/oper/";
    static Transaction begin(Store& store) { return store.write(); }
};
struct Relaxed : Durable {
    static constexpr Sync kSync = Sync::relaxed;
};
struct Volatile {
    static constexpr Sync kSync = Sync::full;
    static constexpr const char* kBranch = "/oper/";
    static constexpr const char* kOther = "/config/";
    static Transaction begin(Store& store) { return store.write_volatile(); }
};

template <typename Kind>
class Branch : public ::testing::Test {
protected:
    Store open() { return Store::open(folder_.path(), {.sync = Kind::kSync}); }
    static std::string key(const std::string& rest) { return Kind::kBranch + rest; }

    TemporaryFolder folder_;
};

struct KindName {
    template <typename Kind>
    static std::string GetName(int)
    {
        return std::is_same_v<Kind, Durable> ? "Durable" : std::is_same_v<Kind, Relaxed> ? "Relaxed" : "Volatile";
    }
};
using Kinds = ::testing::Types<Durable, Relaxed, Volatile>;
TYPED_TEST_SUITE(Branch, Kinds, KindName);

TYPED_TEST(Branch, HasWhatWasCommitted)
{
    Store store = this->open();
    Transaction txn = TypeParam::begin(store);
    txn.put(this->key("a"), "1");
    txn.put(this->key("b"), std::string_view{"\0\xFF", 2});
    txn.put(this->key("empty"), "");
    txn.commit();
    EXPECT_EQ(content_of(store.snapshot()),
              (Content{{this->key("a"), "1"}, {this->key("b"), std::string{"\0\xFF", 2}}, {this->key("empty"), ""}}));
    EXPECT_EQ(store.snapshot().get(this->key("a")), "1");
    EXPECT_EQ(store.snapshot().get(this->key("empty")), "");
    EXPECT_EQ(store.snapshot().get(this->key("c")), std::nullopt);
}

TYPED_TEST(Branch, TransactionSeesItsOwnChangesAndNobodyElseDoes)
{
    Store store = this->open();
    Transaction txn = TypeParam::begin(store);
    txn.put(this->key("a"), "1");
    EXPECT_EQ(txn.get(this->key("a")), "1");
    EXPECT_EQ(content_of(txn), (Content{{this->key("a"), "1"}}));
    EXPECT_TRUE(content_of(store.snapshot()).empty());
}

TYPED_TEST(Branch, DroppedTransactionLeavesNothing)
{
    Store store = this->open();
    {
        Transaction txn = TypeParam::begin(store);
        txn.put(this->key("a"), "1");
    }
    EXPECT_TRUE(content_of(store.snapshot()).empty());
    TypeParam::begin(store); // the turn was given back: this does not wait for ever
}

TYPED_TEST(Branch, ErasesOneOrAllBelow)
{
    Store store = this->open();
    Transaction txn = TypeParam::begin(store);
    for (const char* rest : {"a", "b/1", "b/2", "b/3", "b0", "c"}) {
        txn.put(this->key(rest), rest);
    }
    EXPECT_TRUE(txn.erase(this->key("a")));
    EXPECT_FALSE(txn.erase(this->key("a")));
    EXPECT_EQ(txn.erase_all(this->key("b/")), 3U);
    EXPECT_EQ(txn.erase_all(this->key("b/")), 0U);
    txn.commit();
    EXPECT_EQ(content_of(store.snapshot()), (Content{{this->key("b0"), "b0"}, {this->key("c"), "c"}}));
}

TYPED_TEST(Branch, ScanGoesFromTheFirstKeyUntilTheVisitorHasEnough)
{
    Store store = this->open();
    Transaction txn = TypeParam::begin(store);
    for (const char* rest : {"a/1", "a/2", "a/3", "a/4", "b"}) {
        txn.put(this->key(rest), "");
    }
    txn.commit();
    const Snapshot snapshot = store.snapshot();
    std::vector<std::string> seen;
    snapshot.scan_from(this->key("a/"), this->key("a/2"), [&](std::string_view key, std::string_view) {
        seen.emplace_back(key);
        return seen.size() < 2;
    });
    EXPECT_EQ(seen, (std::vector{this->key("a/2"), this->key("a/3")}));
    seen.clear();
    snapshot.scan_from(this->key("a/"), this->key("a/31"), [&](std::string_view key, std::string_view) {
        seen.emplace_back(key);
        return true;
    });
    EXPECT_EQ(seen, (std::vector{this->key("a/4")}));
}

TYPED_TEST(Branch, KeyMayHaveTheLongestLengthAndNoMore)
{
    Store store = this->open();
    Transaction txn = TypeParam::begin(store);
    const std::string longest = this->key("") + std::string(kMaxKeyBytes - this->key("").size(), 'k');
    txn.put(longest, "fits");
    const std::string longer = longest + "k";
    const StoreError error = error_of([&] { txn.put(longer, "does not"); });
    EXPECT_EQ(error.kind(), StoreError::Kind::too_long);
    EXPECT_NE(std::string{error.what()}.find(longer), std::string::npos);
    EXPECT_EQ(txn.get(longer), std::nullopt);
    EXPECT_TRUE(content_of(txn, longer).empty());
    txn.commit();
    EXPECT_EQ(content_of(store.snapshot()), (Content{{longest, "fits"}}));
    EXPECT_EQ(content_of(store.snapshot(), longest).size(), 1U);
}

TYPED_TEST(Branch, RefusesKeysThatAreNotItsOwn)
{
    Store store = this->open();
    Transaction txn = TypeParam::begin(store);
    EXPECT_THROW(txn.put("", "x"), std::invalid_argument);
    EXPECT_THROW(txn.put(TypeParam::kOther + std::string{"a"}, "x"), std::invalid_argument);
    EXPECT_THROW(txn.erase(TypeParam::kOther + std::string{"a"}), std::invalid_argument);
}

TYPED_TEST(Branch, LongValuesComeBackWhole)
{
    Store store = this->open();
    const std::string megabyte(1 << 20, 'v');
    Transaction txn = TypeParam::begin(store);
    txn.put(this->key("long"), megabyte);
    txn.commit();
    EXPECT_EQ(store.snapshot().get(this->key("long")), megabyte);
}

TYPED_TEST(Branch, NothingCanBeDoneAfterTheCommit)
{
    Store store = this->open();
    Transaction txn = TypeParam::begin(store);
    txn.commit();
    EXPECT_THROW(txn.put(this->key("a"), "1"), std::logic_error);
    EXPECT_THROW(txn.commit(), std::logic_error);
}

TEST(Store, KeepsTheDurableBranchAndEmptiesTheVolatileOneWhenOpened)
{
    const TemporaryFolder folder;
    std::mt19937 random{20240229}; // NOLINT(cert-msc51-cpp): the same content each time
    const Content content = random_content(random, 2000, 3000);
    {
        Store store = Store::open(folder.path());
        EXPECT_TRUE(store.created());
        fill(store, content);
        fill(store, {{"/oper/a", "1"}});
    }
    const Store store = Store::open(folder.path());
    EXPECT_FALSE(store.created());
    EXPECT_EQ(content_of(store.snapshot()), content);
}

/// Who may enter could hold the lock of its writer, and see what else its owner keeps there.
TEST(Store, MakesItsFolderForItsOwnerAlone)
{
    namespace fs = std::filesystem;
    const TemporaryFolder place;
    for (const char* name : {"store", "with/slashes//", "with/a dot/."}) {
        Store::open(place.file(name));
        EXPECT_EQ(fs::status(place.file(name)).permissions(), fs::perms::owner_all) << name;
    }
    fs::create_directory(place.file("usual"));
    EXPECT_EQ(fs::status(place.file("with")).permissions(), fs::status(place.file("usual")).permissions());
}

TEST(Store, LeavesTheModeOfAFolderThatIsThere)
{
    namespace fs = std::filesystem;
    const TemporaryFolder folder;
    fs::permissions(folder.path(), fs::perms{0750});
    EXPECT_TRUE(Store::open(folder.path()).created());
    EXPECT_EQ(fs::status(folder.path()).permissions(), fs::perms{0750});
}

TEST(Store, BothBranchesAreReadAsOneInByteOrder)
{
    const TemporaryFolder folder;
    Store store = Store::open(folder.path());
    const Content content{{"/config/a", "1"}, {"/oper", "2"},  {"/oper/x", "3"},
                          {"/oper/y", "4"},   {"/oper0", "5"}, {"/z", "6"}};
    fill(store, content);
    const Snapshot snapshot = store.snapshot();
    for (const char* prefix : {"", "/", "/o", "/oper", "/oper/", "/oper/y", "/oper0", "/z", "/none"}) {
        Content expected;
        for (const auto& record : content) {
            if (record.first.starts_with(prefix)) {
                expected.insert(record);
            }
        }
        EXPECT_EQ(content_of(snapshot, prefix), expected) << prefix;
    }
    for (const auto& [first, value] : content) {
        std::string first_seen;
        snapshot.scan_from("", first, [&](std::string_view key, std::string_view) {
            first_seen = key;
            return false;
        });
        EXPECT_EQ(first_seen, first);
    }
}

TEST(Store, CountsItsRecordsAndBytes)
{
    const TemporaryFolder folder;
    Store store = Store::open(folder.path());
    fill(store, {{"/config/a", std::string(10000, 'x')}, {"/config/b", "1"}, {"/oper/c", "1"}});
    const Stat stat = store.stat();
    EXPECT_EQ(stat.records, 2U);
    EXPECT_EQ(stat.volatile_records, 1U);
    EXPECT_GT(stat.bytes_used, 10000U);
    EXPECT_EQ(stat.bytes_of_file, read_file(folder.file("data.mdb")).size());
    EXPECT_LE(stat.bytes_used, stat.bytes_of_file);
    EXPECT_EQ(stat.map_bytes, Options{}.map_bytes);
}

TEST(Store, GenerationGrowsWithDurableCommitsOnly)
{
    const TemporaryFolder folder;
    Store store = Store::open(folder.path());
    const std::uint64_t start = store.generation();
    fill(store, {{"/oper/a", "1"}});
    EXPECT_EQ(store.generation(), start);
    const Snapshot before = store.snapshot();
    fill(store, {{"/config/a", "1"}});
    EXPECT_GT(store.generation(), start);
    EXPECT_EQ(before.generation(), start);
    EXPECT_EQ(store.snapshot().generation(), store.generation());
}

TEST(Store, CanBeMovedAndOutlivedBySnapshots)
{
    const TemporaryFolder folder;
    std::optional<Snapshot> kept;
    {
        Store first = Store::open(folder.path());
        Store store = std::move(first);
        fill(store, {{"/config/a", "1"}});
        kept = store.snapshot();
    }
    EXPECT_EQ(kept->get("/config/a"), "1");
}

} // namespace
} // namespace kelda::test
