// SPDX-License-Identifier: Apache-2.0
//
// Node callbacks that note their call and then do what the plug-in's own ones do.
//
// Node callbacks can be replaced by name: the program that hosts the plug-in comes before it when names are looked up.
// This one exports them, and each calls the plug-in's function of the same name. So the walkers are seen at work
// without a change to the plug-in or to the framework.
#include <dlfcn.h>

#include <array>
#include <cstdio>
#include <string>

#include "call_record.hpp"
#include "system.hpp"

namespace zpf::scenarios {

namespace {

void* own_function(const char* name)
{
    const ExportedSymbol* const symbol = System::shared().plugin().find(name);
    return symbol ? symbol->address : nullptr;
}

std::string tag(const Node* node)
{
    return node == nullptr || node->tag == nullptr ? "null" : node->tag;
}

void note(const std::string& text)
{
    if (CallRecord* const record = CallRecord::active()) {
        record->callback(text);
    }
}

std::string hex(qerrno result)
{
    std::array<char, 12> text{};
    std::snprintf(text.data(), text.size(), "%x", result);
    return text.data();
}

qerrno container(const char* word, const char* name, zpf_map_ctx ctx, const Node* node, uint32_t count, Node* out)
{
    note("cb cont " + std::string(word) + "(" + tag(node) + "," + std::to_string(count) +
         ") op=" + std::to_string(node->edit_op));
    return reinterpret_cast<ContainerCallback>(own_function(name))(ctx, node, count, out);
}

/// Lists and leaves; `text` is noted before the call.
qerrno announced(const std::string& text, const char* name, zpf_map_ctx ctx, const Node* node, Node* out)
{
    note(text);
    return reinterpret_cast<Walker>(own_function(name))(ctx, node, out);
}

/// The same with the result, so it is noted after the calls that lead to it.
qerrno with_result(const std::string& text, const char* name, zpf_map_ctx ctx, const Node* node, Node* out)
{
    const qerrno result = reinterpret_cast<Walker>(own_function(name))(ctx, node, out);
    note(text + " -> " + hex(result));
    return result;
}

qerrno refusal(const char* name, zpf_map_ctx ctx, const Node* node, Node* out)
{
    CallRecord* const record = CallRecord::active();
    const std::size_t first = record ? record->size() : 0;
    const qerrno result = reinterpret_cast<Walker>(own_function(name))(ctx, node, out);
    const char* const error_tag = ctx->request->error_tag;
    if (record != nullptr && result == ZPF_RC_UNSUPPORTED_NODE && error_tag != nullptr && tag(node) == error_tag) {
        record->refusal(*node, ctx->request->walk_mode == 1, first);
    } else {
        note("cb leaf " + tag(node) + " -> " + hex(result));
    }
    return result;
}

} // namespace

} // namespace zpf::scenarios

using namespace zpf::scenarios;

#pragma GCC visibility push(default)
extern "C" {
qerrno ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, uint32_t count, qidl_zpf_datatree* out)
{
    return container("root", __func__, ctx, node, count, out);
}

qerrno ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator_attenuators(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, uint32_t count, qidl_zpf_datatree* out)
{
    return container("attenuators", __func__, ctx, node, count, out);
}

qerrno ymap_ox_ocopticalattenuator_openconfigopticalattenuator_list_lvla_opticalattenuator_attenuators_attenuator(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    return announced("cb list(" + tag(node) + ") op=" + std::to_string(node->edit_op) +
                         " sda=" + std::to_string(ctx->request->subtree_delete_allowed),
                     __func__, ctx, node, out);
}

qerrno ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_attenuator_name(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    return announced(ctx->request->walk_mode == 1 ? "cb leaf name (expansion)" : "cb leaf name", __func__, ctx, node,
                     out);
}

qerrno ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator_attenuator_config(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, uint32_t count, qidl_zpf_datatree* out)
{
    return container("config", __func__, ctx, node, count, out);
}

qerrno ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator_attenuator_state(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, uint32_t count, qidl_zpf_datatree* out)
{
    return container("state", __func__, ctx, node, count, out);
}

qerrno ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator_state_actualattenuation(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, uint32_t count, qidl_zpf_datatree* out)
{
    return container("aa", __func__, ctx, node, count, out);
}

qerrno ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator_state_outputpowertotal(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, uint32_t count, qidl_zpf_datatree* out)
{
    return container("opt", __func__, ctx, node, count, out);
}

qerrno ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator_state_opticalreturnloss(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, uint32_t count, qidl_zpf_datatree* out)
{
    return container("orl", __func__, ctx, node, count, out);
}

// The walkers of containers without a mapping of their own may call this one.
qerrno ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_container(zpf_map_ctx ctx,
                                                                                  const qidl_zpf_datatree* node,
                                                                                  uint32_t count,
                                                                                  qidl_zpf_datatree* out)
{
    return container("duck", __func__, ctx, node, count, out);
}

// Likewise for leaves.
qerrno ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf(zpf_map_ctx ctx,
                                                                             const qidl_zpf_datatree* node,
                                                                             qidl_zpf_datatree* out)
{
    return refusal(__func__, ctx, node, out);
}

qerrno ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_config_enabled(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    return refusal(__func__, ctx, node, out);
}

qerrno ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_list_lvla_interfaceconfigurations_interfaceconfiguration(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    return with_result("cb list IC", __func__, ctx, node, out);
}

qerrno
ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_leaf_lvla_interfaceconfigurations_interfaceconfiguration_interfacename(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    return with_result("cb leaf interface-name(" + std::string(node->_data ? node->_data : "") + ")", __func__, ctx,
                       node, out);
}

qerrno ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_list_lvla_otsoper_otsports_otsport(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    return with_result("cb list OP", __func__, ctx, node, out);
}

// Not a callback, yet the one operation that the framework does not report, having no context to do so.
int zpf_map_is_request_delete(const qidl_zpf_datatree* node)
{
    using Question = int (*)(const qidl_zpf_datatree*);
    static const auto next = reinterpret_cast<Question>(dlsym(RTLD_NEXT, "zpf_map_is_request_delete"));
    const int answer = next(node);
    Dl_info caller{};
    CallRecord* const record = CallRecord::active();
    const bool from_plugin =
        dladdr(__builtin_return_address(0), &caller) != 0 && System::shared().plugin().file() == caller.dli_fname;
    if (record != nullptr && from_plugin) {
        record->removal_question(node, answer);
    }
    return answer;
}

} // extern "C"
#pragma GCC visibility pop
