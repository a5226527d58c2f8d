// SPDX-License-Identifier: Apache-2.0
//
// The store as plug-ins reach it: kelda/kelda.h.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <thread>
#include <vector>

#include "kelda/kelda.h"
#include "store_testing.hpp"

namespace kelda::test {
namespace {

struct Object {
    std::string name;
    std::int32_t type;
    bool operator==(const Object&) const = default;
};

void PrintTo(const Object& object, std::ostream* out)
{
    *out << object.name << " (" << object.type << ")";
}

/// What a plug-in gets that binds, lists and walks.
std::vector<Object> list(const char* bound, const char* path, const char* pattern = "")
{
    std::vector<Object> objects;
    void* handle = nullptr;
    EXPECT_EQ(_kelda_bind(&handle, bound, 0), ZPF_RC_OK);
    std::int32_t count = -1;
    void* iter = nullptr;
    EXPECT_EQ(kelda_list(handle, pattern, path, &count, &iter, 0), ZPF_RC_OK);
    const char* name = nullptr;
    std::int32_t type = 0;
    while (kelda_list_next(iter, &name, &type, 0) == ZPF_RC_OK && name != nullptr) {
        objects.push_back({name, type});
    }
    EXPECT_EQ(count, static_cast<std::int32_t>(objects.size()));
    kelda_list_free(iter);
    EXPECT_EQ(_kelda_unbind(handle), ZPF_RC_OK);
    return objects;
}

class PluginContract : public ::testing::Test {
protected:
    void SetUp() override
    {
        fill(store_, {{"/config/a", "1"},
                      {"/oper/optics/if/Ots0_0_0_1/tx", "10"},
                      {"/oper/optics/if/Ots0_0_0_1/rx", "11"},
                      {"/oper/optics/if/Ots0_0_0_10/tx", "100"},
                      {"/oper/optics/if/Ots0_0_0_2/deep/er", "2"},
                      {"/oper/optics/if/count", "3"},
                      {"/oper/optics/iffy", "0"}});
        set_process_store(&store_);
    }
    void TearDown() override { set_process_store(nullptr); }

    TemporaryFolder folder_;
    Store store_ = Store::open(folder_.path());
};

TEST_F(PluginContract, ListsEachObjectBelowTheBoundPathOnce)
{
    const std::vector<Object> expected{{"Ots0_0_0_1/", kTypeBranch},
                                       {"Ots0_0_0_10/", kTypeBranch},
                                       {"Ots0_0_0_2/", kTypeBranch},
                                       {"count", kTypeValue}};
    EXPECT_EQ(list("/oper/optics/if/", ""), expected);
    EXPECT_EQ(list("/oper/optics/if", ""), expected);
}

TEST_F(PluginContract, ListsABranchThatIsAskedForByItsWholeName)
{
    EXPECT_EQ(list("/oper/optics/if/", "Ots0_0_0_2/"), (std::vector<Object>{{"Ots0_0_0_2/", kTypeBranch}}));
    EXPECT_EQ(list("/oper/optics/if/", "Ots0_0_0_1/"), (std::vector<Object>{{"Ots0_0_0_1/", kTypeBranch}}));
    EXPECT_TRUE(list("/oper/optics/if/", "Ots0_0_0_3/").empty());
    EXPECT_TRUE(list("/oper/optics/if/", "count/").empty());
}

TEST_F(PluginContract, ListsObjectsWhoseNamesBeginWithThePath)
{
    EXPECT_EQ(list("/oper/optics/if/", "Ots0_0_0_1"),
              (std::vector<Object>{{"Ots0_0_0_1/", kTypeBranch}, {"Ots0_0_0_10/", kTypeBranch}}));
    EXPECT_EQ(list("/oper/optics/if/", "Ots0_0_0_1/r"), (std::vector<Object>{{"Ots0_0_0_1/rx", kTypeValue}}));
    EXPECT_EQ(list("/", ""), (std::vector<Object>{{"config/", kTypeBranch}, {"oper/", kTypeBranch}}));
}

TEST_F(PluginContract, PatternChoosesAmongNames)
{
    EXPECT_EQ(list("/oper/optics/if/", "", "Ots*_2"), (std::vector<Object>{{"Ots0_0_0_2/", kTypeBranch}}));
    EXPECT_EQ(list("/oper/optics/if/", "", "c*"), (std::vector<Object>{{"count", kTypeValue}}));
    EXPECT_TRUE(list("/oper/optics/if/", "", "x*").empty());
}

TEST_F(PluginContract, ListStaysAsItWasWhenTheStoreChanges)
{
    void* handle = nullptr;
    ASSERT_EQ(_kelda_bind(&handle, "/oper/optics/if/", 0), ZPF_RC_OK);
    std::int32_t count = -1;
    void* iter = nullptr;
    ASSERT_EQ(kelda_list(handle, "", "", &count, &iter, 0), ZPF_RC_OK);
    Transaction txn = store_.write_volatile();
    txn.erase_all("/oper/");
    txn.commit();
    const char* name = nullptr;
    std::int32_t type = 0;
    EXPECT_EQ(kelda_list_next(iter, &name, &type, 0), ZPF_RC_OK);
    EXPECT_STREQ(name, "Ots0_0_0_1/");
    kelda_list_free(iter);
    ASSERT_EQ(kelda_list(handle, "", "", &count, &iter, 0), ZPF_RC_OK);
    EXPECT_EQ(count, 0);
    kelda_list_free(iter);
    EXPECT_EQ(_kelda_unbind(handle), ZPF_RC_OK);
}

TEST_F(PluginContract, RefusesWrongCalls)
{
    void* handle = nullptr;
    std::int32_t count = -1;
    void* iter = nullptr;
    const char* name = nullptr;
    EXPECT_EQ(_kelda_bind(nullptr, "/oper/", 0), ZPF_RC_INVALID_ARGS);
    EXPECT_EQ(_kelda_bind(&handle, nullptr, 0), ZPF_RC_INVALID_ARGS);
    EXPECT_EQ(_kelda_unbind(nullptr), ZPF_RC_INVALID_ARGS);
    EXPECT_EQ(kelda_list(nullptr, "", "", &count, &iter, 0), ZPF_RC_INVALID_ARGS);
    EXPECT_EQ(kelda_list_next(nullptr, &name, &count, 0), ZPF_RC_INVALID_ARGS);
    EXPECT_EQ(count, -1);
    EXPECT_EQ(iter, nullptr);
    kelda_list_free(nullptr);
}

TEST_F(PluginContract, HandleOutlivesTheStoreButFindsNothingMore)
{
    void* handle = nullptr;
    ASSERT_EQ(_kelda_bind(&handle, "/oper/optics/if/", 0), ZPF_RC_OK);
    set_process_store(nullptr);
    std::int32_t count = -1;
    void* iter = nullptr;
    EXPECT_EQ(kelda_list(handle, "", "", &count, &iter, 0), KELDA_RC_NO_STORE);
    EXPECT_EQ(count, -1);
    EXPECT_EQ(_kelda_unbind(handle), ZPF_RC_OK);
}

TEST_F(PluginContract, MayBeCalledFromManyThreads)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([] {
            for (int i = 0; i < 100; ++i) {
                EXPECT_EQ(list("/oper/optics/if/", "Ots0_0_0_2/").size(), 1U);
            }
        });
    }
    for (int i = 0; i < 50; ++i) {
        fill(store_, {{"/oper/optics/if/count", std::to_string(i)}});
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// Runs in a process of its own, whose environment it changes.
int count_through_environment(const std::string& folder)
{
    setenv("KELDA_STORE", folder.c_str(), 1);
    void* handle = &handle;
    const qerrno bound = _kelda_bind(&handle, "/oper/optics/if/", 0);
    if (bound != ZPF_RC_OK) {
        return bound == KELDA_RC_NO_STORE && handle == nullptr ? 100 : 101;
    }
    std::int32_t count = -1;
    void* iter = nullptr;
    const bool is_listed = kelda_list(handle, "", "", &count, &iter, 0) == ZPF_RC_OK;
    kelda_list_free(iter);
    return is_listed && _kelda_unbind(handle) == ZPF_RC_OK ? count : 102;
}

TEST_F(PluginContract, WithoutAStoreOfTheProcessTheEnvironmentNamesOne)
{
    set_process_store(nullptr);
    // The store is open for writing in this process; the child reads beside it.
    const int status = status_of_child([&] { return count_through_environment(folder_.path()); });
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 4);
}

TEST_F(PluginContract, WithoutAnyStoreThereIsNoHandle)
{
    set_process_store(nullptr);
    const int status = status_of_child([&] { return count_through_environment(folder_.file("none")); });
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 100);
}

} // namespace
} // namespace kelda::test
