// SPDX-License-Identifier: Apache-2.0
//
// Hand-written translations of OTS port state into OpenConfig attenuators: which ports are attenuators, their names,
// and the leaves that are made from the one native attenuation.
//
// Unlike configuration, a port that is no attenuator or not asked for is dropped with everything below it.
#include "ymap_ocopticalattenuator_quarn_kmt_vn_controller_ots_oper.hpp"

#include "attenuation_units.hpp"
#include "paths.hpp"
#include "utility.hpp"

#include <cstring>

using namespace oc_attenuator;

namespace {

constexpr const char* kListReporter = "ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_list_lvla_otsoper_"
                                      "otsports_otsport";

/** Whether the client has asked for this attenuator, or for none in particular. */
bool is_requested(zpf_map_ctx ctx, const char* attenuator_name)
{
    char path[kPathBytes];
    char requested_key[kAttenuatorNameBytes];
    path[0] = '\0';
    requested_key[0] = '\0';
    if (compare_path(ctx, requested_tree(ctx), kAttenuatorName.path, path, requested_key) == 1) {
        OCATT_TRACE(ctx, kListReporter, "reg_dup_datatree key: %s", requested_key);
    }
    if (requested_key[0] == '\0' || std::strcmp(requested_key, attenuator_name) == 0) {
        return true;
    }
    OCATT_ERROR(ctx, kListReporter, "attenautor_name [%s] does not match with key [%s], discard it!", attenuator_name,
                requested_key);
    return false;
}

/** Opens the attenuator entry of the port being walked. @return ZPF_RC_SKIP_INSTANCE for a port that is not wanted */
qerrno open_attenuator(zpf_map_ctx ctx, qidl_zpf_datatree* out)
{
    zpf_map_node_info port{};
    qerrno result = zpf_map_get_node_info(ctx, kPort.path, "name", &port);
    OCATT_TRACE(ctx, kListReporter, "controller_name: %s", text_or_null(port.key_value));
    if (port.key_value == nullptr) {
        OCATT_TRACE(ctx, kListReporter, "ERROR controller_name is NULL");
        return ZPF_RC_SKIP_INSTANCE;
    }
    char attenuator_name[kControllerNameBytes];
    if (is_controller_name_valid(ctx, port.key_value, attenuator_name) != 1) {
        return ZPF_RC_SKIP_INSTANCE;
    }
    OCATT_TRACE(ctx, kListReporter, "attenuator_name: %s", attenuator_name);
    if (is_get(operation_of(ctx))) {
        if (!is_requested(ctx, attenuator_name)) {
            return ZPF_RC_SKIP_INSTANCE;
        }
        result = zpf_map_search_or_add_list(ctx, out, &ctx->request->list_ctx_current.plist, kAttenuator.path,
                                            attenuator_name, "name", kAttenuator.ns);
    }
    ctx->print_enabled = 1;
    zpf_map_print_datatree_internal(ctx, current_output_entry(ctx), "POST list_ctx_current.plist mapped tree");
    return result;
}

} // namespace

/**
 * Opens the attenuator entry of a port that is an OTS controller with attenuator.
 *
 * Shape:  one native entry -> one OpenConfig entry with its key, found or created.
 * Errors: ZPF_RC_INVALID_ARGS without a node or an output tree; ZPF_RC_SKIP_INSTANCE for any other port and for one
 * that the client has not asked for; otherwise the result of the last framework operation. Source:
 * Quarn-KMT-VN-controller-ots-oper ots-port; openconfig-optical-attenuator attenuator.
 */
extern "C" qerrno ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_list_lvla_otsoper_otsports_otsport(
    zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    OCATT_REQUIRE_CONTEXT(ctx);
    OCATT_TRACE(ctx, __func__, "Start");
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, __func__, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    const qerrno result = open_attenuator(ctx, out);
    OCATT_TRACE(ctx, __func__, "End");
    return result;
}

namespace {

qerrno add_names(zpf_map_ctx ctx, qidl_zpf_datatree* out, const char* attenuator_name)
{
    qerrno result = ZPF_RC_OK;
    if (wants_config_leaves(ctx)) {
        result = fill_leaf(ctx, out, kConfigName, attenuator_name);
    }
    if (is_get(operation_of(ctx))) {
        OCATT_TRACE(ctx, "oc_opt_att_state_get_attenuator_key_to_high",
                    "Get request oc_opt_att_state_get_attenuator_key_to_high");
        result = fill_leaf(ctx, out, kStateName, attenuator_name);
    }
    return result;
}

} // namespace

/**
 * Turns the name of a port into the names of its attenuator; the key itself comes with the entry.
 *
 * Shape:  one native leaf -> config/name unless only state is asked for, and state/name in a get.
 * Domain: controllers with attenuator; anything else adds nothing.
 * Errors: ZPF_RC_INVALID_ARGS without a node or an output tree; otherwise the result of the last add, or 0.
 * Source: Quarn-KMT-VN-controller-ots-oper ots-port/name; openconfig-optical-attenuator config/name, state/name.
 */
extern "C" qerrno oc_opt_att_state_get_attenuator_key_to_high(zpf_map_ctx ctx, const qidl_zpf_datatree* node,
                                                              qidl_zpf_datatree* out)
{
    OCATT_REQUIRE_CONTEXT(ctx);
    OCATT_TRACE(ctx, __func__, "Start");
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, __func__, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    zpf_map_print_datatree_internal(ctx, requested_tree(ctx), "reg_dup_datatree");
    OCATT_TRACE(ctx, __func__, "qidl_zpf_datatree_get_data(input): %s", text_or_null(node->_data));
    qerrno result = ZPF_RC_OK;
    char attenuator_name[kControllerNameBytes];
    if (node->_data != nullptr && is_controller_name_valid(ctx, node->_data, attenuator_name) == 1) {
        result = add_names(ctx, out, attenuator_name);
    }
    OCATT_TRACE(ctx, __func__, "End");
    return result;
}

namespace {

constexpr const char* kAttenuationReporter = "oc_opt_att_state_attenuation_to_high";

/** Shows in the trace which attenuator the value goes to; decides nothing. */
void trace_current_attenuator(zpf_map_ctx ctx)
{
    const qidl_zpf_datatree* attenuator = current_output_entry(ctx);
    zpf_map_print_datatree_internal(ctx, attenuator, "plist");
    char path[kPathBytes];
    char key[kAttenuatorNameBytes];
    path[0] = '\0';
    key[0] = '\0';
    if (compare_path(ctx, attenuator, "attenuator/name", path, key) == 1) {
        OCATT_TRACE(ctx, kAttenuationReporter, "key:  %s ", key);
        OCATT_TRACE(ctx, kAttenuationReporter, "controller_name:  %s ", path);
    }
}

/** Adds everything that is made from the attenuation of a port. */
qerrno add_attenuation_leaves(zpf_map_ctx ctx, qidl_zpf_datatree* out, double db, const char* db_text)
{
    qerrno result = ZPF_RC_OK;
    if (wants_config_leaves(ctx)) {
        result = fill_leaf(ctx, out, kConfigAttenuation, db_text);
    }
    if (is_get(operation_of(ctx))) {
        fill_leaf(ctx, out, kStateAttenuation, db_text);
        fill_leaf(ctx, out, kStateInstant, db_text); // the device measures none: what is set is reported
        result = fill_leaf(ctx, out, kStateEnabled, db > 0.0 ? "true" : "false");
    }
    return result;
}

} // namespace

/**
 * Turns the attenuation of a port into the attenuation leaves of its attenuator and the enabled flag.
 *
 * Shape:  one native leaf -> config/attenuation unless only state is asked for; in a get state/attenuation,
 *         actual-attenuation/instant and enabled.
 * Units:  in tenths of a dB as text; out dB as text with two fraction digits, and "true" above 0 dB.
 * Domain: any number; text that is no number counts as 0; a leaf without value adds nothing.
 * Errors: ZPF_RC_INVALID_ARGS without a node or an output tree; otherwise the result of the last add, or 0.
 * Source: Quarn-KMT-VN-controller-ots-oper tx-voa-attenuation; openconfig-optical-attenuator config/attenuation,
 *         state/attenuation, state/actual-attenuation/instant, state/enabled.
 */
extern "C" qerrno oc_opt_att_state_attenuation_to_high(zpf_map_ctx ctx, const qidl_zpf_datatree* node,
                                                       qidl_zpf_datatree* out)
{
    OCATT_REQUIRE_CONTEXT(ctx);
    OCATT_TRACE(ctx, __func__, "Start");
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, __func__, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    trace_current_attenuator(ctx);
    qerrno result = ZPF_RC_OK;
    if (node->_data != nullptr) {
        char native[kAttenuationTextBytes];
        char openconfig[kAttenuationTextBytes];
        native[0] = '\0';
        zpf_strcpy_s(__func__, native, sizeof native, node->_data);
        OCATT_TRACE(ctx, __func__, "attenuation-native = %s", native);
        const double db = native_text_to_db(native);
        write_db_text(db, openconfig);
        OCATT_TRACE(ctx, __func__, "attenuation-oc = %s", openconfig);
        result = add_attenuation_leaves(ctx, out, db, openconfig);
    }
    OCATT_TRACE(ctx, __func__, "End");
    return result;
}
