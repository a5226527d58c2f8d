// SPDX-License-Identifier: Apache-2.0
//
// `zpf store` from its command line to its exit status.
#include "cmd_store.hpp"

#include <gmock/gmock.h>

#include <CLI/CLI.hpp>
#include <sstream>

#include "store_testing.hpp"

namespace kelda::test {
namespace {

using ::testing::HasSubstr;

struct Result {
    int status = -1;
    std::string out;
    std::string err;
};

class CmdStore : public ::testing::Test {
protected:
    void SetUp() override
    {
        Store store = Store::open(folder_.path());
        fill(store, {{"/config/a", "1"}, {"/config/b", "\xFF"}});
    }

    static Result run(const std::string& command)
    {
        CLI::App app;
        zpf::cli::StoreOptions options;
        zpf::cli::add_store(app, options);
        try {
            app.parse("store " + command, false);
        } catch (const CLI::ParseError& error) {
            return {2, "", error.what()};
        }
        std::ostringstream out;
        std::ostringstream err;
        const int status = zpf::cli::run_store(app, options, out, err);
        return {status, out.str(), err.str()};
    }
    Result run_here(const std::string& command) const { return run(command + " --store " + folder_.path()); }

    TemporaryFolder folder_;
    TemporaryFolder other_;
};

TEST_F(CmdStore, DumpsAndLoadsBack)
{
    const Result dump = run_here("dump");
    EXPECT_EQ(dump.status, 0) << dump.err;
    EXPECT_EQ(dump.out, "kelda-dump 1\n/config/a\t1\n/config/b\t\\xFF\nend 2\n");
    write_file(other_.file("dump"), dump.out);
    const Result load = run("load " + other_.file("dump") + " --store " + other_.file("new"));
    EXPECT_EQ(load.status, 0) << load.err;
    EXPECT_EQ(load.out, other_.file("new") + ": 2 records loaded into a new store\n");
    EXPECT_EQ(run("dump --store " + other_.file("new")).out, dump.out);
}

TEST_F(CmdStore, DumpsAsJson)
{
    const Result dump = run_here("dump --json --prefix /config/a");
    EXPECT_EQ(dump.out, "{\"key\":\"/config/a\",\"value\":\"1\"}\n");
}

TEST_F(CmdStore, ComparesStoresAndDumps)
{
    write_file(other_.file("dump"), "kelda-dump 1\n/config/a\t0\n/config/b\t\\xFF\nend 2\n");
    const Result different = run_here("diff " + other_.file("dump"));
    EXPECT_EQ(different.status, 1);
    EXPECT_EQ(different.out, "-/config/a\t0\n+/config/a\t1\n");
    EXPECT_EQ(run_here("diff --json " + other_.file("dump")).out,
              "{\"key\":\"/config/a\",\"before\":\"0\",\"after\":\"1\"}\n");
    EXPECT_EQ(run_here("load " + other_.file("dump")).status, 0);
    EXPECT_EQ(run_here("diff " + other_.file("dump")).status, 0);
    EXPECT_EQ(run("diff " + other_.file("dump") + " " + folder_.path()).status, 0);
}

TEST_F(CmdStore, ChecksSoundAndDamagedStores)
{
    const Result sound = run_here("check");
    EXPECT_EQ(sound.status, 0);
    EXPECT_THAT(sound.out, HasSubstr("sound, 2 records with 2 bytes"));
    EXPECT_THAT(run_here("check --json").out, HasSubstr("\"sound\":true"));
    write_file(folder_.file("data.mdb"), "what is this?");
    const Result damaged = run_here("check");
    EXPECT_EQ(damaged.status, 1);
    EXPECT_THAT(damaged.out, HasSubstr("damaged"));
    EXPECT_THAT(run_here("check --json").out, HasSubstr("\"sound\":false"));
}

TEST_F(CmdStore, ChecksBesideAWriterAndRefusesToWriteThere)
{
    const Store writer = Store::open(folder_.path());
    // A child stands for the other program: a process opens a folder once.
    const auto status_beside = [&](const std::string& command) {
        return status_of_child([&] { return run_here(command).status; }) >> 8;
    };
    write_file(other_.file("dump"), "kelda-dump 1\nend 0\n");
    EXPECT_EQ(status_beside("check"), 0);
    EXPECT_EQ(status_beside("dump"), 0);
    EXPECT_EQ(status_beside("load " + other_.file("dump")), 3);
    EXPECT_EQ(status_beside("compact"), 3);
    EXPECT_EQ(content_of(writer.snapshot()).size(), 2U);
}

TEST_F(CmdStore, Compacts)
{
    const Result result = run_here("compact");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("bytes before"));
    EXPECT_THAT(run_here("compact --json").out, HasSubstr("\"bytes-after\":"));
    EXPECT_EQ(run_here("check").status, 0);
}

TEST_F(CmdStore, SaysWhatCannotBeRead)
{
    const Result missing = run("dump --store " + other_.file("none"));
    EXPECT_EQ(missing.status, 3);
    EXPECT_THAT(missing.err, HasSubstr(other_.file("none")));
    EXPECT_EQ(run("check --store " + other_.file("none")).status, 3);
    EXPECT_EQ(run_here("load " + other_.file("none")).status, 3);
    write_file(other_.file("bad"), "no dump\n");
    const Result bad = run_here("diff " + other_.file("bad"));
    EXPECT_EQ(bad.status, 3);
    EXPECT_THAT(bad.err, HasSubstr("bad: line 1"));
    EXPECT_EQ(run_here("load " + other_.file("bad")).status, 3);
    EXPECT_EQ(run_here("check").status, 0);
}

TEST_F(CmdStore, NeedsOneSubCommand)
{
    EXPECT_EQ(run("").status, 2);
    EXPECT_EQ(run("diff").status, 2);
    EXPECT_EQ(run("polish").status, 2);
}

} // namespace
} // namespace kelda::test
