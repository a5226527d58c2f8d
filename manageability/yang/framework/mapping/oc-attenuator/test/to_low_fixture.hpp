// SPDX-License-Identifier: Apache-2.0
//
// For tests of translations from OpenConfig to native: one translation, one request node, the adds it makes.
#ifndef OC_ATTENUATOR_TO_LOW_FIXTURE_HPP
#define OC_ATTENUATOR_TO_LOW_FIXTURE_HPP

#include "plugin_fixture.hpp"

namespace test {

constexpr uint32_t kGet = ZPF_REQUEST_GET;
constexpr uint32_t kGetConfig = ZPF_REQUEST_GET_CONFIG;
constexpr uint32_t kEdit = ZPF_REQUEST_EDIT_CONFIG;

class ToLow : public PluginTest {
protected:
    /** Calls one translation in a fresh record. @return the adds it makes */
    std::vector<std::string> adds_of(const char* translation, uint32_t operation, const Spec& leaf,
                                     int32_t edit_op = ZPF_OP_MERGE)
    {
        Tree tree{leaf.op(edit_op)};
        return adds_at(translation, operation, tree.root());
    }
    std::vector<std::string> adds_at(const char* translation, uint32_t operation, qidl_zpf_datatree* node)
    {
        framework.calls.clear();
        framework.adds.clear();
        framework.header.operation = operation;
        result = call(translation, node);
        return framework.calls_of({"ADD"});
    }
    qerrno result = ZPF_RC_OK;
};

} // namespace test

#endif
