// SPDX-License-Identifier: Apache-2.0
//
// The plug-in in a process without the store: it loads, and every object counts as missing.
#include "plugin_fixture.hpp"

#include "kelda/kelda.h"

#include <cstring>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

extern "C" __attribute__((visibility("default"))) int access(const char* path, int mode) noexcept
{
    if (std::strcmp(path, KELDA_LIBRARY_FILE) == 0) {
        return 0; // the file is there, its functions are not
    }
    return static_cast<int>(syscall(SYS_faccessat, AT_FDCWD, path, mode));
}

namespace {

class StoreAbsent : public test::PluginTest {};

TEST_F(StoreAbsent, CountsAsAStoreThatIsNotThere)
{
    framework.logs_trace = true;
    EXPECT_EQ(
        test::Plugin::shared().get<int32_t(zpf_map_ctx, const char*)>("kelda_key_is_defined")(framework.ctx(), "x"), 0);
    EXPECT_THAT(framework.messages("TRC"), ::testing::ElementsAre("kelda_bind failed (null)"));
}

} // namespace
