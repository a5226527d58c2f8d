// SPDX-License-Identifier: Apache-2.0
//
// Hand-written translations of native interface configuration into OpenConfig attenuators, and the way from an
// interface to the configuration of its OTS controller.
//
// Most interfaces are no OTS controllers. They are told apart by name, before anything is added for them.
#include "ymap_ocopticalattenuator_quarn_kmt_vn_ifmgr_cfg.hpp"

#include "paths.hpp"
#include "utility.hpp"
#include "ymap_ocopticalattenuator_quarn_kmt_vn_controller_ots_cfg.hpp"

#include <cstring>

using namespace oc_attenuator;

namespace {

/** Whether the entry being walked is a controller with attenuator; also true while there is no entry to ask. */
bool is_attenuator_entry(zpf_map_ctx ctx)
{
    constexpr const char* kReporter = "oc_opt_att_attenuator_list_to_high";
    if (hierarchy_depth(ctx) < 2) {
        return true;
    }
    char path[kPathBytes];
    char interface_key[kControllerNameBytes];
    char attenuator_name[kControllerNameBytes];
    path[0] = '\0';
    interface_key[0] = '\0';
    attenuator_name[0] = '\0';
    if (compare_path(ctx, hierarchy_node(ctx, 1), "interface-configuration/interface-name", path, interface_key) == 1) {
        OCATT_TRACE(ctx, kReporter, "interface_key: %s", interface_key);
    }
    if (is_controller_name_valid(ctx, interface_key, attenuator_name) == 1) {
        return true;
    }
    OCATT_TRACE(ctx, kReporter, "controller name is not good, attenuator_name: %s", attenuator_name);
    return false;
}

} // namespace

/**
 * Opens the attenuator entry of an interface that is an OTS controller with attenuator.
 *
 * Shape:  one native entry -> one OpenConfig entry, still without its key; any other interface adds nothing.
 * Errors: ZPF_RC_INVALID_ARGS without a node or an output tree; otherwise the result of the add, or 0.
 * Source: Quarn-KMT-VN-ifmgr-cfg interface-configuration; openconfig-optical-attenuator attenuator.
 */
extern "C" qerrno oc_opt_att_attenuator_list_to_high(zpf_map_ctx ctx, const qidl_zpf_datatree* node,
                                                     qidl_zpf_datatree* out)
{
    OCATT_REQUIRE_CONTEXT(ctx);
    OCATT_TRACE(ctx, __func__, "Start");
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, __func__, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    qerrno result = ZPF_RC_OK;
    if (is_attenuator_entry(ctx)) {
        if (zpf_map_is_request_delete(node) != 0) {
            OCATT_TRACE(ctx, __func__, "delete request set high node");
            result = open_entry(ctx, out, kAttenuator, node);
        } else {
            OCATT_TRACE(ctx, __func__, "not a delete request set high node");
            result = open_entry(ctx, out, kAttenuator, nullptr);
        }
    }
    OCATT_TRACE(ctx, __func__, "End");
    return result;
}

namespace {

/** Adds the names of an attenuator, unless the client has asked for another one. */
qerrno add_names(zpf_map_ctx ctx, qidl_zpf_datatree* out, const char* attenuator_name, const char* requested_key)
{
    constexpr const char* kReporter = "oc_opt_att_attenuator_key_to_high";
    OCATT_TRACE(ctx, kReporter, "reg_dup_datatree key: %s", requested_key);
    if (requested_key[0] != '\0' && std::strcmp(requested_key, attenuator_name) != 0) {
        OCATT_ERROR(ctx, kReporter, "attenuator_name [%s] does not match with key [%s], discard it!", attenuator_name,
                    requested_key);
        return ZPF_RC_OK;
    }
    const qerrno result = fill_leaf(ctx, out, kAttenuatorName, attenuator_name);
    return wants_config_leaves(ctx) ? fill_leaf(ctx, out, kConfigName, attenuator_name) : result;
}

qerrno translate_interface_name(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    constexpr const char* kReporter = "oc_opt_att_attenuator_key_to_high";
    char path[kPathBytes];
    char requested_key[kAttenuatorNameBytes];
    path[0] = '\0';
    requested_key[0] = '\0';
    if (compare_path(ctx, requested_tree(ctx), kAttenuatorName.path, path, requested_key) == 1) {
        OCATT_TRACE(ctx, kReporter, " attenuator_key= %s", requested_key);
    }
    if (node->_data == nullptr) {
        return ZPF_RC_OK;
    }
    OCATT_TRACE(ctx, kReporter, "controller_name = %s", path); // the path, in spite of the word
    char attenuator_name[kControllerNameBytes];
    if (is_controller_name_valid(ctx, node->_data, attenuator_name) != 1) {
        return ZPF_RC_SKIP_INSTANCE;
    }
    return add_names(ctx, out, attenuator_name, requested_key);
}

} // namespace

/**
 * Turns the name of an interface into the key of its attenuator.
 *
 * Shape:  one native leaf -> name, and config/name unless only state is asked for.
 * Domain: controllers with attenuator; a leaf without value, and one that the client has not asked for, add nothing.
 * Errors: ZPF_RC_INVALID_ARGS without a node or an output tree; ZPF_RC_SKIP_INSTANCE for any other interface; otherwise
 *         the result of the last add, or 0.
 * Source: Quarn-KMT-VN-ifmgr-cfg interface-name; openconfig-optical-attenuator attenuator/name, config/name.
 */
extern "C" qerrno oc_opt_att_attenuator_key_to_high(zpf_map_ctx ctx, const qidl_zpf_datatree* node,
                                                    qidl_zpf_datatree* out)
{
    OCATT_REQUIRE_CONTEXT(ctx);
    OCATT_TRACE(ctx, __func__, "Start");
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, __func__, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    const qerrno result = translate_interface_name(ctx, node, out);
    OCATT_TRACE(ctx, __func__, "End");
    return result;
}

/** Children of an interface in another module's namespace: OTS configuration is mapped, anything else is ignored. */
extern "C" qerrno
ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_interfaceconfiguration_parse_augments(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    OCATT_REQUIRE_CONTEXT(ctx);
    OCATT_TRACE(ctx, __func__, "Start");
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, __func__, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    qerrno result = ZPF_RC_OK;
    if (zpf_map_do_these_match(node->ns, ZPF_NS_CONTROLLER_OTS_CFG) != 0) {
        result =
            ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_augment_lvla_interface_configuration(ctx, node, out);
    }
    OCATT_TRACE(ctx, __func__, "End");
    return result;
}
