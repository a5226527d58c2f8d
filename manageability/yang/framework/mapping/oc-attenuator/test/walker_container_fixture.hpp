// SPDX-License-Identifier: Apache-2.0
//
// For tests of the walkers from the root of an OpenConfig request.
#ifndef OC_ATTENUATOR_WALKER_CONTAINER_FIXTURE_HPP
#define OC_ATTENUATOR_WALKER_CONTAINER_FIXTURE_HPP

#include "plugin_fixture.hpp"

namespace test {

constexpr uint32_t kGet = ZPF_REQUEST_GET;
constexpr uint32_t kGetConfig = ZPF_REQUEST_GET_CONFIG;
constexpr uint32_t kEdit = ZPF_REQUEST_EDIT_CONFIG;

inline const std::string kRoot = kOx + "lvla_opticalattenuator";

class ContainerWalker : public PluginTest {
protected:
    qerrno walk(uint32_t operation, qidl_zpf_datatree* node)
    {
        framework.header.operation = operation;
        return call(kRoot, node);
    }
    std::vector<std::string> hierarchy_calls() const { return framework.calls_of({"H+", "H-"}); }
    /** Answers one callback of the plug-in in its place. */
    void answer(const std::string& callback, qerrno code)
    {
        framework.on_callback = [=](const std::string& called) {
            return called == callback ? std::optional{code} : std::nullopt;
        };
    }
};

} // namespace test

#endif
