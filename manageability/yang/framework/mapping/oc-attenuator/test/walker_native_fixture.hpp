// SPDX-License-Identifier: Apache-2.0
//
// For tests of the walkers over native data.
#ifndef OC_ATTENUATOR_WALKER_NATIVE_FIXTURE_HPP
#define OC_ATTENUATOR_WALKER_NATIVE_FIXTURE_HPP

#include "plugin_fixture.hpp"

namespace test {

constexpr const char* kIgnoring = "Unsupported tag. Ignoring.";

class NativeWalker : public PluginTest {
protected:
    NativeWalker()
    {
        framework.header.operation = ZPF_REQUEST_GET;
        framework.logs_error = true;
    }
    qerrno walk(const std::string& walker, const Spec& spec)
    {
        framework.calls.clear();
        framework.log.clear();
        tree = std::make_unique<Tree>(spec);
        const qerrno result = call(walker, tree->root());
        EXPECT_TRUE(framework.hierarchy.empty());
        EXPECT_EQ(framework.hierarchy_mismatches, 0u);
        return result;
    }
    std::size_t ignored() const
    {
        const auto messages = framework.messages("TRC");
        return static_cast<std::size_t>(std::count(messages.begin(), messages.end(), kIgnoring));
    }
    void answer(const std::string& callback, qerrno code)
    {
        framework.on_callback = [=](const std::string& called) {
            return called == callback ? std::optional{code} : std::nullopt;
        };
    }
    std::unique_ptr<Tree> tree;
};

} // namespace test

#endif
