// SPDX-License-Identifier: Apache-2.0
//
// Asking the data store for an object, with a store that is written down here. Every test loads the plug-in anew, since
// it remembers for good that it has seen the store's library.
#include "plugin_fixture.hpp"

#include "assertion_probe.hpp"

#include "kelda/kelda.h"

#include <cstring>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

/** What the store answers, and what it was asked. */
struct Store {
    bool store_is_installed = true;
    qerrno bind_result = 0;
    bool gives_handle = true;
    qerrno list_result = 0;
    int32_t count = 0;
    std::vector<const char*> items;
    std::size_t next = 0;
    qerrno end_result = 0; /**< Of the call after the last item. */
    std::vector<std::string> calls;
    int probes = 0;
};

Store* store = nullptr;

} // namespace

extern "C" {

// The plug-in looks for the store's library by this; everything else goes to the system.
__attribute__((visibility("default"))) int access(const char* path, int mode) noexcept
{
    if (store != nullptr && std::strcmp(path, KELDA_LIBRARY_FILE) == 0) {
        ++store->probes;
        return mode == R_OK && store->store_is_installed ? 0 : -1;
    }
    return static_cast<int>(syscall(SYS_faccessat, AT_FDCWD, path, mode));
}

qerrno _kelda_bind(void** handle, const char* path, uint32_t flags)
{
    store->calls.push_back("bind " + std::string{path} + " " + std::to_string(flags));
    *handle = store->gives_handle && store->bind_result == 0 ? store : nullptr;
    return store->bind_result;
}

qerrno _kelda_unbind(void* handle)
{
    store->calls.emplace_back(handle == store ? "unbind" : "unbind of a stranger");
    return 0;
}

qerrno kelda_list(void* handle, const char* pattern, const char* path, int32_t* count, void** iter, uint32_t flags)
{
    store->calls.push_back((handle == store ? "list <" : "list of a stranger <") + std::string{pattern} + "> " + path +
                           " " + std::to_string(flags));
    if (store->list_result == 0) {
        *count = store->count;
        *iter = &store->next;
    }
    return store->list_result;
}

qerrno kelda_list_next(void* iter, const char** name, int32_t* type, uint32_t flags)
{
    store->calls.push_back((iter == &store->next ? "next " : "next of a stranger ") + std::to_string(flags));
    const bool has_more = store->next < store->items.size();
    *name = has_more ? store->items[store->next++] : nullptr;
    *type = 7;
    return has_more ? 0 : store->end_result;
}

void kelda_list_free(void* iter)
{
    store->calls.emplace_back(iter == &store->next ? "free" : "free of a stranger");
}

const char* qerr_strerror(qerrno code)
{
    return code == KELDA_RC_NO_STORE ? "no store here" : "some failure";
}

} // extern "C"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StoreQuestion : public test::PluginTest {
protected:
    StoreQuestion()
    {
        store = &answers;
        framework.logs_trace = true;
        framework.logs_error = true;
    }
    ~StoreQuestion() override { store = nullptr; }

    int32_t ask(const char* object) { return ask(framework.ctx(), object); }
    int32_t ask(zpf_map_ctx ctx, const char* object)
    {
        return plugin.get<int32_t(zpf_map_ctx, const char*)>("kelda_key_is_defined")(ctx, object);
    }

    test::Plugin plugin;
    Store answers;
};

TEST_F(StoreQuestion, FindsAnObject)
{
    answers.count = 2;
    answers.items = {"Ots0_0_0_0/", "Ots0_0_0_2/", "unread"};
    EXPECT_EQ(ask("Ots0_0_0_2"), 1);
    EXPECT_THAT(answers.calls,
                ElementsAre("bind /oper/optics/if/ 0", "list <> Ots0_0_0_2/ 0", "next 0", "next 0", "free", "unbind"));
    EXPECT_THAT(framework.messages("TRC"),
                ElementsAre("key: Ots0_0_0_2/", "found 2 object(s)", "Item: 'Ots0_0_0_0/', datatype: 7",
                            "Item: 'Ots0_0_0_2/', datatype: 7", "Object Ots0_0_0_2/ present in kelda"));
    EXPECT_THAT(framework.messages("ERR"), IsEmpty());
}

TEST_F(StoreQuestion, DoesNotFindAnObjectThatIsNotListed)
{
    answers.count = 1;
    answers.items = {"Ots0_0_0_0/"};
    EXPECT_EQ(ask("Ots0_0_0_2"), 0);
    EXPECT_THAT(answers.calls,
                ElementsAre("bind /oper/optics/if/ 0", "list <> Ots0_0_0_2/ 0", "next 0", "next 0", "free", "unbind"));
}

TEST_F(StoreQuestion, StopsWhenTheListingFails)
{
    answers.end_result = 5;
    EXPECT_EQ(ask("x"), 0);
    EXPECT_THAT(answers.calls, ElementsAre("bind /oper/optics/if/ 0", "list <> x/ 0", "next 0", "free", "unbind"));
}

TEST_F(StoreQuestion, FindsNothingInAnEmptyListing)
{
    EXPECT_EQ(ask("x"), 0);
    EXPECT_THAT(framework.messages("TRC"), ElementsAre("key: x/", "found 0 object(s)"));
}

TEST_F(StoreQuestion, ReleasesTheHandleAloneWhenNothingCanBeListed)
{
    answers.list_result = 5;
    EXPECT_EQ(ask("x"), 0);
    EXPECT_THAT(answers.calls, ElementsAre("bind /oper/optics/if/ 0", "list <> x/ 0", "unbind"));
    EXPECT_THAT(framework.messages("TRC"),
                ElementsAre("key: x/", "found -1 object(s)", "kelda_list failed some failure"));
}

TEST_F(StoreQuestion, EndsWithoutAHandle)
{
    answers.gives_handle = false;
    EXPECT_EQ(ask("x"), 0);
    EXPECT_THAT(answers.calls, ElementsAre("bind /oper/optics/if/ 0"));
    EXPECT_THAT(framework.log, IsEmpty());
    EXPECT_EQ(ask(nullptr, "x"), 0); // the context is not looked at before there is something to say
}

TEST_F(StoreQuestion, ReportsAFailureToBind)
{
    answers.bind_result = 5;
    EXPECT_EQ(ask("x"), 0);
    EXPECT_THAT(answers.calls, ElementsAre("bind /oper/optics/if/ 0"));
    EXPECT_THAT(framework.messages("TRC"), ElementsAre("kelda_bind failed some failure"));
}

TEST_F(StoreQuestion, NeitherBindsNorUnbindsWithoutTheLibrary)
{
    answers.store_is_installed = false;
    EXPECT_EQ(ask("x"), 0);
    EXPECT_THAT(answers.calls, IsEmpty());
    EXPECT_THAT(framework.messages("TRC"), ElementsAre("kelda_bind failed no store here"));
}

TEST_F(StoreQuestion, LooksForTheLibraryUntilItIsThereAndNeverAgain)
{
    answers.store_is_installed = false;
    ask("x");
    ask("x");
    EXPECT_EQ(answers.probes, 2);
    answers.store_is_installed = true;
    ask("x");
    EXPECT_EQ(answers.probes, 3);
    answers.store_is_installed = false;
    answers.calls.clear();
    EXPECT_EQ(ask("x"), 0);
    EXPECT_EQ(answers.probes, 3);
    EXPECT_EQ(answers.calls.back(), "unbind");
}

TEST_F(StoreQuestion, CutsALongNameToItsKey)
{
    ask(std::string(400, 'n').c_str());
    EXPECT_EQ(answers.calls.at(1), "list <> " + std::string(255, 'n') + " 0");
}

TEST_F(StoreQuestion, NeedsAContextOnceThereIsSomethingToSay)
{
    auto* key_is_defined = plugin.get<int32_t(zpf_map_ctx, const char*)>("kelda_key_is_defined");
    const auto after_bind = test::failed_assertion([&] { key_is_defined(nullptr, "x"); });
    ASSERT_TRUE(after_bind);
    EXPECT_TRUE(after_bind->file.ends_with("/src/utility.cpp"));
    EXPECT_THAT(answers.calls, ElementsAre("bind /oper/optics/if/ 0"));
    answers.bind_result = 5;
    EXPECT_TRUE(test::failed_assertion([&] { key_is_defined(nullptr, "x"); }));
}

} // namespace
