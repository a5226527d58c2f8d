// SPDX-License-Identifier: Apache-2.0
//
// Node callbacks that record their call and then do what the plug-in's own ones do.
//
// The plug-in's callbacks can be replaced by name. The test program exports these under the same names, so that the
// walkers call them; each looks the plug-in's own function up and calls it, unless a test gives another answer.
#include "framework_double.hpp"
#include "plugin_under_test.hpp"

#include "ymap_ocopticalattenuator_openconfig_optical_attenuator.hpp"
#include "ymap_ocopticalattenuator_quarn_kmt_vn_controller_ots_cfg.hpp"
#include "ymap_ocopticalattenuator_quarn_kmt_vn_controller_ots_oper.hpp"
#include "ymap_ocopticalattenuator_quarn_kmt_vn_ifmgr_cfg.hpp"

#include <cstdio>

namespace test {
namespace {

std::string node_name(const qidl_zpf_datatree* node)
{
    return node == nullptr ? "null" : node->tag != nullptr ? node->tag : "(no tag)";
}

std::string hex(qerrno code)
{
    char text[12];
    std::snprintf(text, sizeof text, "%x", code);
    return text;
}

std::optional<qerrno> answer_of_test(const std::string& callback)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    return framework.on_callback ? framework.on_callback(callback) : std::nullopt;
}

qerrno container(const char* word, const char* name, zpf_map_ctx ctx, const qidl_zpf_datatree* node, uint32_t count,
                 qidl_zpf_datatree* out)
{
    FrameworkDouble::current().record("cb cont " + std::string{word} + "(" + node_name(node) + "," +
                                      std::to_string(count) + ") op=" + std::to_string(node->edit_op));
    const auto answer = answer_of_test(word);
    return answer ? *answer : Plugin::shared().container(name)(ctx, node, count, out);
}

/** Callbacks whose own calls come before their line, since the line ends with the result. */
qerrno with_result(const std::string& line, const char* word, const char* name, zpf_map_ctx ctx,
                   const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    const auto answer = answer_of_test(word);
    const qerrno result = answer ? *answer : Plugin::shared().node(name)(ctx, node, out);
    FrameworkDouble::current().record(line + " -> " + hex(result));
    return result;
}

/** A refusal is known by its calls, so folding cannot hide a callback that does anything else. */
qerrno refusal(const char* name, zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    FrameworkDouble& framework = FrameworkDouble::current();
    const std::size_t before = framework.calls.size();
    const qerrno result = Plugin::shared().node(name)(ctx, node, out);
    if (framework.folds_refusals && result == ZPF_RC_UNSUPPORTED_NODE) {
        std::vector<std::string> expected{"oc_error_path"};
        const std::size_t made = framework.calls.size() - before;
        if (made == 3) {
            expected.push_back(framework.calls[before + 1].rfind("free(", 0) == 0 ? framework.calls[before + 1] : "");
        }
        expected.push_back("strdup(" + quoted(node->tag) + "," + quoted(node->tag) + ")");
        const auto first = framework.calls.begin() + static_cast<std::ptrdiff_t>(before);
        if (std::vector<std::string>(first, framework.calls.end()) == expected) {
            framework.calls.erase(first, framework.calls.end());
            framework.record("refused " + node_name(node) + (ctx->request->walk_mode == 1 ? " in expansion" : ""));
        }
    }
    return result;
}

} // namespace
} // namespace test

using test::container;
using test::FrameworkDouble;
using test::node_name;

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

// The containers of the two other statistics have no callback of their own and share this one.
qerrno ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_container(zpf_map_ctx ctx,
                                                                                  const qidl_zpf_datatree* node,
                                                                                  uint32_t count,
                                                                                  qidl_zpf_datatree* out)
{
    return container("duck", __func__, ctx, node, count, out);
}

qerrno ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf(zpf_map_ctx ctx,
                                                                             const qidl_zpf_datatree* node,
                                                                             qidl_zpf_datatree* out)
{
    return test::refusal(__func__, ctx, node, out);
}

qerrno ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_config_enabled(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    return test::refusal(__func__, ctx, node, out);
}

qerrno ymap_ox_ocopticalattenuator_openconfigopticalattenuator_list_lvla_opticalattenuator_attenuators_attenuator(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    FrameworkDouble::current().record("cb list(" + node_name(node) + ") op=" + std::to_string(node->edit_op) +
                                      " sda=" + std::to_string(ctx->request->subtree_delete_allowed));
    const auto answer = test::answer_of_test("list");
    return answer ? *answer : test::Plugin::shared().node(__func__)(ctx, node, out);
}

qerrno ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_attenuator_name(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    FrameworkDouble::current().record(ctx->request->walk_mode == 1 ? "cb leaf name (expansion)" : "cb leaf name");
    const auto answer = test::answer_of_test("name");
    return answer ? *answer : test::Plugin::shared().node(__func__)(ctx, node, out);
}

qerrno ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_cont_lvla_interfaceconfigurations(zpf_map_ctx ctx,
                                                                                        const qidl_zpf_datatree* node,
                                                                                        uint32_t count,
                                                                                        qidl_zpf_datatree* out)
{
    const auto answer = test::answer_of_test("interface-configurations");
    return answer ? *answer : test::Plugin::shared().container(__func__)(ctx, node, count, out);
}

qerrno ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_list_lvla_interfaceconfigurations_interfaceconfiguration(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    return test::with_result("cb list IC", "IC", __func__, ctx, node, out);
}

qerrno
ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_leaf_lvla_interfaceconfigurations_interfaceconfiguration_interfacename(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    const std::string value = node->_data != nullptr ? node->_data : "";
    return test::with_result("cb leaf interface-name(" + value + ")", "interface-name", __func__, ctx, node, out);
}

qerrno ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_duck_map_list(zpf_map_ctx ctx, const qidl_zpf_datatree* node,
                                                                    qidl_zpf_datatree* out)
{
    return test::with_result("cb list mtu", "mtu", __func__, ctx, node, out);
}

qerrno ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_duck_map_list(zpf_map_ctx ctx,
                                                                            const qidl_zpf_datatree* node,
                                                                            qidl_zpf_datatree* out)
{
    return test::with_result("cb list " + node_name(node), "ots list", __func__, ctx, node, out);
}

qerrno ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_leaf_lvla_ots_otstxvoaattenuation(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    const auto answer = test::answer_of_test("ots-tx-voa-attenuation");
    return answer ? *answer : test::Plugin::shared().node(__func__)(ctx, node, out);
}

qerrno ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_interface_configuration_parse_augments(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    const auto answer = test::answer_of_test("ots augments");
    return answer ? *answer : test::Plugin::shared().node(__func__)(ctx, node, out);
}

qerrno ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_list_lvla_otsoper_otsports_otsport(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    return test::with_result("cb list OP", "OP", __func__, ctx, node, out);
}

} // extern "C"
