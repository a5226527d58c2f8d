// SPDX-License-Identifier: Apache-2.0
//
// What most tests start from: the loaded plug-in, and a recording framework with a request and an output tree.
#ifndef OC_ATTENUATOR_PLUGIN_FIXTURE_HPP
#define OC_ATTENUATOR_PLUGIN_FIXTURE_HPP

#include "framework_double.hpp"
#include "plugin_under_test.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace test {

constexpr const char* kInvalidArguments = "Invalid arguments passed!";

class PluginTest : public ::testing::Test {
protected:
    /** Calls a node function of the plug-in with the output tree. */
    qerrno call(const std::string& name, const qidl_zpf_datatree* node)
    {
        return Plugin::shared().node(name)(framework.ctx(), node, &framework.out);
    }
    /** Calls it without recording what its diagnostics do. */
    void expect_refuses_missing_nodes(const std::string& name);

    std::string error_tag() const { return text_of(framework.request.error_tag); }
    std::string error_message() const { return text_of(framework.request.error_message); }
    static std::string text_of(const char* text) { return text != nullptr ? text : "(none)"; }

    FrameworkDouble framework;
};

inline void PluginTest::expect_refuses_missing_nodes(const std::string& name)
{
    SCOPED_TRACE(name);
    Tree tree{oc("node", "value")};
    framework.logs_error = true;
    for (const auto& [node, out] : {std::pair<qidl_zpf_datatree*, qidl_zpf_datatree*>{nullptr, &framework.out},
                                    {tree.root(), nullptr},
                                    {nullptr, nullptr}}) {
        framework.calls.clear();
        framework.log.clear();
        const qerrno result = name.find("_cont_lvla_") != std::string::npos || name.ends_with("duck_map_container")
                                  ? Plugin::shared().container(name)(framework.ctx(), node, 0, out)
                                  : Plugin::shared().node(name)(framework.ctx(), node, out);
        EXPECT_EQ(result, ZPF_RC_INVALID_ARGS);
        EXPECT_THAT(framework.calls, ::testing::ElementsAre("oc_error_path"));
        EXPECT_THAT(framework.messages("ERR"), ::testing::ElementsAre(kInvalidArguments));
        EXPECT_EQ(framework.request.error_tag, nullptr);
    }
}

} // namespace test

#endif
