// SPDX-License-Identifier: Apache-2.0
//
// Dump, load, compare, check and compact whole stores.
#include <gmock/gmock.h>

#include <sstream>

#include "kelda/tools.hpp"
#include "store_testing.hpp"

namespace kelda::test {
namespace {

using ::testing::HasSubstr;
using Kind = StoreError::Kind;

std::string dump_of(const Reader& reader, std::string_view prefix = {})
{
    std::ostringstream out;
    dump(reader, out, prefix);
    return out.str();
}

/// What loading the text is refused with, or "" when it is not.
std::string complaint(Store& store, const std::string& text)
{
    std::istringstream in{text};
    try {
        load(store, in, LoadMode::replace);
    } catch (const BadDump& error) {
        return error.what();
    }
    return "";
}

class Tools : public ::testing::Test {
protected:
    TemporaryFolder folder_;
    TemporaryFolder other_;
};

TEST_F(Tools, DumpIsSortedEscapedAndCounted)
{
    Store store = Store::open(folder_.path());
    fill(store, {{"/config/b", "plain text"}, {"/config/a\t\n\\", "\x01\x7F\xC3\xA9"}, {"/oper/c", ""}});
    EXPECT_EQ(dump_of(store.snapshot()), "kelda-dump 1\n"
                                         "/config/a\\t\\n\\\\\t\\x01\\x7F\\xC3\\xA9\n"
                                         "/config/b\tplain text\n"
                                         "/oper/c\t\n"
                                         "end 3\n");
    EXPECT_EQ(dump_of(store.snapshot(), "/config/b"), "kelda-dump 1\n/config/b\tplain text\nend 1\n");
}

TEST_F(Tools, LoadReadsADumpBackExactly)
{
    std::mt19937 random{99}; // NOLINT(cert-msc51-cpp): the same content each time
    Content content = random_content(random, 500, 2000);
    content.emplace("/oper/x", "volatile");
    Store from = Store::open(folder_.path());
    fill(from, content);
    const std::string text = dump_of(from.snapshot());
    Store to = Store::open(other_.path());
    fill(to, {{"/config/before", "1"}, {"/oper/before", "1"}});
    std::istringstream in{text};
    EXPECT_EQ(load(to, in, LoadMode::replace), content.size());
    EXPECT_EQ(content_of(to.snapshot()), content);
    EXPECT_EQ(dump_of(to.snapshot()), text);
}

TEST_F(Tools, MergeKeepsWhatTheDumpDoesNotName)
{
    Store store = Store::open(folder_.path());
    fill(store, {{"/config/a", "1"}, {"/config/b", "1"}});
    std::istringstream in{"kelda-dump 1\n/config/b\t2\n/config/c\t2\nend 2\n"};
    EXPECT_EQ(load(store, in, LoadMode::merge), 2U);
    EXPECT_EQ(content_of(store.snapshot()), (Content{{"/config/a", "1"}, {"/config/b", "2"}, {"/config/c", "2"}}));
}

TEST_F(Tools, LoadTakesAllOrNothing)
{
    Store store = Store::open(folder_.path());
    const Content old{{"/config/a", "1"}, {"/oper/a", "1"}};
    fill(store, old);
    const std::string head = "kelda-dump 1\n/config/b\t2\n";
    EXPECT_THAT(complaint(store, ""), HasSubstr("line 1"));
    EXPECT_THAT(complaint(store, "kelda-dump 2\nend 0\n"), HasSubstr("line 1"));
    EXPECT_THAT(complaint(store, head), HasSubstr("line 3: the dump is cut"));
    EXPECT_THAT(complaint(store, head + "end 1"), HasSubstr("cut"));
    EXPECT_THAT(complaint(store, head + "end 2\n"), HasSubstr("2 records are announced, 1 are there"));
    EXPECT_THAT(complaint(store, head + "end x\n"), HasSubstr("line 3"));
    EXPECT_THAT(complaint(store, head + "end 1\nmore\n"), HasSubstr("line 4"));
    EXPECT_THAT(complaint(store, head + "/config/a\t1\nend 2\n"), HasSubstr("line 3: keys are not in order"));
    EXPECT_THAT(complaint(store, head + "/config/b\t1\nend 2\n"), HasSubstr("each once"));
    EXPECT_THAT(complaint(store, head + "/config/c\\q\t1\nend 2\n"), HasSubstr("backslash"));
    EXPECT_THAT(complaint(store, head + "/config/c\\x0\t1\nend 2\n"), HasSubstr("backslash"));
    EXPECT_THAT(complaint(store, head + "/config/c\\x-1\t1\nend 2\n"), HasSubstr("backslash"));
    EXPECT_THAT(complaint(store, head + "\t1\nend 2\n"), HasSubstr("no key"));
    std::istringstream too_long{"kelda-dump 1\n/config/" + std::string(kMaxKeyBytes, 'k') + "\t1\nend 1\n"};
    EXPECT_EQ(error_of([&] { load(store, too_long, LoadMode::replace); }).kind(), Kind::too_long);
    EXPECT_EQ(content_of(store.snapshot()), old);
}

TEST_F(Tools, DiffNamesWhatDiffersInOrder)
{
    Store before = Store::open(folder_.path());
    Store after = Store::open(other_.path());
    fill(before, {{"/config/a", "1"}, {"/config/b", "1"}, {"/config/c", "1"}});
    fill(after, {{"/config/b", "2"}, {"/config/c", "1"}, {"/config/d", "2"}});
    std::ostringstream out;
    EXPECT_EQ(diff(before.snapshot(), after.snapshot(), out), 3U);
    EXPECT_EQ(out.str(), "-/config/a\t1\n-/config/b\t1\n+/config/b\t2\n+/config/d\t2\n");
    EXPECT_EQ(diff(after.snapshot(), after.snapshot(), out), 0U);
}

TEST_F(Tools, DiffOfManyRecordsIsWhatAComparisonOfTheContentsSays)
{
    std::mt19937 random{5}; // NOLINT(cert-msc51-cpp): the same content each time
    Store before = Store::open(folder_.path());
    Store after = Store::open(other_.path());
    const Content old = random_content(random, 2500, 10);
    Content fresh = old;
    std::erase_if(fresh, [&](const auto&) { return random() % 4 == 0; });
    for (auto& record : fresh) {
        record.second += random() % 4 == 0 ? "x" : "";
    }
    fresh.merge(random_content(random, 700, 10));
    fill(before, old);
    fill(after, fresh);
    Content patched = old;
    diff(before.snapshot(), after.snapshot(), [&](const Difference& difference) {
        if (difference.after) {
            patched[std::string{difference.key}] = *difference.after;
        } else {
            patched.erase(std::string{difference.key});
        }
    });
    EXPECT_EQ(patched, fresh);
}

TEST_F(Tools, CheckReadsAWholeStore)
{
    {
        Store store = Store::open(folder_.path());
        fill(store, {{"/config/a", "123"}, {"/config/b", std::string(10000, 'x')}});
    }
    const CheckReport report = check(folder_.path());
    EXPECT_TRUE(report.is_sound) << report.problem;
    EXPECT_FALSE(report.is_written);
    EXPECT_EQ(report.records, 2U);
    EXPECT_EQ(report.value_bytes, 10003U);
    EXPECT_GT(report.pages, 2U);
}

TEST_F(Tools, CheckNamesTheDamage)
{
    {
        Store store = Store::open(folder_.path());
        fill(store, {{"/config/a", "123"}});
    }
    std::string bytes = read_file(folder_.file("data.mdb"));
    const std::size_t record = bytes.find("/config/a");
    ASSERT_NE(record, std::string::npos);
    bytes[record - 2] = '\x7F'; // the length of the key
    write_file(folder_.file("data.mdb"), bytes);
    const CheckReport report = check(folder_.path());
    EXPECT_FALSE(report.is_sound);
    EXPECT_THAT(report.problem, HasSubstr("leads out of itself"));
    EXPECT_EQ(error_of([&] { check(other_.path()); }).kind(), Kind::missing);
}

/// The database leaves a value its pages when a shorter one takes its place in the same transaction.
TEST_F(Tools, CheckTakesAValueWithMorePagesThanItNeeds)
{
    {
        Store store = Store::open(folder_.path());
        Transaction txn = store.write();
        txn.put("/config/a", std::string(12000, 'x'));
        txn.put("/config/a", std::string(5000, 'y'));
        txn.commit();
    }
    EXPECT_EQ(check(folder_.path()).problem, "");
    EXPECT_EQ(Store::open(folder_.path()).snapshot().get("/config/a"), std::string(5000, 'y'));
}

/// Bytes are changed one at a time, anywhere in use: the check always comes to a result.
TEST_F(Tools, CheckSurvivesAnyDamage)
{
    {
        Store store = Store::open(folder_.path(), {.sync = Sync::relaxed});
        for (int round = 0; round < 20; ++round) {
            Content content;
            for (int i = 0; i < 100; ++i) {
                content.emplace("/config/" + std::to_string(i * 7 % 100),
                                std::string(static_cast<std::size_t>(i * round), 'v'));
            }
            fill(store, content);
        }
    }
    const std::string whole = read_file(folder_.file("data.mdb"));
    std::mt19937 random{31}; // NOLINT(cert-msc51-cpp): the same damage each time
    int found = 0;
    for (int time = 0; time < 150; ++time) {
        std::string bytes = whole;
        const std::size_t page = std::uniform_int_distribution<std::size_t>{0, whole.size() / 4096 - 1}(random);
        const std::size_t head =
            std::uniform_int_distribution<std::size_t>{0, 63}(random); // where a page is most delicate
        bytes[page * 4096 + head] = static_cast<char>(random());
        write_file(folder_.file("data.mdb"), bytes);
        found += check(folder_.path()).is_sound ? 0 : 1;
    }
    EXPECT_GT(found, 15);
}

TEST_F(Tools, CompactKeepsTheContentInFewerBytes)
{
    Content content;
    {
        Store store = Store::open(folder_.path(), {.sync = Sync::relaxed});
        for (int i = 0; i < 2000; ++i) {
            content.emplace("/config/" + std::to_string(i), std::string(200, 'x'));
        }
        fill(store, content);
        Transaction txn = store.write();
        txn.erase_all("/config/1");
        txn.commit();
        std::erase_if(content, [](const auto& record) { return record.first.starts_with("/config/1"); });
        EXPECT_EQ(error_of([&] { compact(folder_.path()); }).kind(), Kind::in_use);
    }
    const Compacted sizes = compact(folder_.path());
    EXPECT_LT(sizes.bytes_after, sizes.bytes_before * 3 / 4);
    EXPECT_EQ(read_file(folder_.file("data.mdb")).size(), sizes.bytes_after);
    EXPECT_TRUE(check(folder_.path()).is_sound);
    Store store = Store::open(folder_.path());
    EXPECT_EQ(content_of(store.snapshot()), content);
    fill(store, {{"/config/new", "1"}});
    EXPECT_EQ(store.snapshot().get("/config/new"), "1");
}

TEST_F(Tools, CompactRefusesADamagedFileAndLeavesIt)
{
    {
        Store store = Store::open(folder_.path());
        fill(store, {{"/config/a", "1"}});
    }
    const std::string cut = read_file(folder_.file("data.mdb")).substr(0, 9000);
    write_file(folder_.file("data.mdb"), cut);
    EXPECT_EQ(error_of([&] { compact(folder_.path()); }).kind(), Kind::damaged);
    EXPECT_EQ(read_file(folder_.file("data.mdb")), cut);
}

} // namespace
} // namespace kelda::test
