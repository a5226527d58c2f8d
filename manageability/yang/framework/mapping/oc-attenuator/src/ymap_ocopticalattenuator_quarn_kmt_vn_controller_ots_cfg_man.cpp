// SPDX-License-Identifier: Apache-2.0
//
// Hand-written translation of OTS controller configuration into OpenConfig: the attenuation that is set.
// Native attenuation is whole tenths of a dB as text; OpenConfig's is dB with two fraction digits.
#include "ymap_ocopticalattenuator_quarn_kmt_vn_controller_ots_cfg.hpp"

#include "attenuation_units.hpp"
#include "paths.hpp"

using namespace oc_attenuator;

/**
 * Turns the native attenuation setting of a controller into the configured attenuation of its attenuator.
 *
 * Shape:  one native leaf -> one OpenConfig leaf of the current attenuator entry, whatever the client has asked for.
 * Units:  in tenths of a dB as text; out dB as text with two fraction digits.
 * Domain: any number; text that is no number counts as 0; a leaf without value adds nothing.
 * Errors: ZPF_RC_INVALID_ARGS without a node or an output tree; otherwise the result of the add, or 0.
 * Source: Quarn-KMT-VN-controller-ots-cfg ots-tx-voa-attenuation; openconfig-optical-attenuator config/attenuation.
 */
extern "C" qerrno oc_opt_att_cfg_attenuation_to_high(zpf_map_ctx ctx, const qidl_zpf_datatree* node,
                                                     qidl_zpf_datatree* out)
{
    OCATT_REQUIRE_CONTEXT(ctx);
    OCATT_TRACE(ctx, __func__, "Start");
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, __func__, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    qerrno result = ZPF_RC_OK;
    if (node->_data != nullptr) {
        char native[kAttenuationTextBytes];
        char openconfig[kAttenuationTextBytes];
        native[0] = '\0';
        zpf_strcpy_s(__func__, native, sizeof native, node->_data);
        OCATT_TRACE(ctx, __func__, "attenuation-native = %s", native);
        write_db_text(native_text_to_db(native), openconfig);
        OCATT_TRACE(ctx, __func__, "attenuation-oc = %s", openconfig);
        result = fill_leaf(ctx, out, kConfigAttenuation, openconfig);
    }
    OCATT_TRACE(ctx, __func__, "End");
    return result;
}
