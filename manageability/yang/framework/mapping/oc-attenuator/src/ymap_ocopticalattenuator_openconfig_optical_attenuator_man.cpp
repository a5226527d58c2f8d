// SPDX-License-Identifier: Apache-2.0
//
// Hand-written translations of OpenConfig attenuators into native requests: keys to entries, leaves to leaves.
//
// An attenuator is one OTS controller. Of the adds that a translation makes only the last one's result counts: what
// the framework could not do in an earlier one it remembers itself.
#include "ymap_ocopticalattenuator_openconfig_optical_attenuator.hpp"

#include "attenuation_units.hpp"
#include "paths.hpp"
#include "utility.hpp"

#include <charconv>
#include <cstring>

using namespace oc_attenuator;

namespace {

constexpr double kMinNativeTenths = 0.0;
constexpr double kMaxNativeTenths = 200.0; // 20.0 dB
constexpr std::size_t kValueBytes = 200;

bool has_attenuator_prefix(const char* name)
{
    return name != nullptr && std::strstr(name, "0/0-VOA-") != nullptr;
}

/** Whether a name may be an attenuator's. Loose on purpose: the parts are looked for anywhere in the text. */
bool is_well_formed(const char* name)
{
    return has_attenuator_prefix(name) &&
           (std::strstr(name, "BST0") != nullptr || std::strstr(name, "BST2") != nullptr);
}

/** Adds the native configuration entries of all controllers with an attenuator. @return the last add's result, or 0 */
qerrno add_all_interfaces(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    qerrno result = ZPF_RC_OK;
    for (const char* const* controller = controller_att_ots_list; *controller != nullptr; ++controller) {
        char attenuator_name[kAttenuatorNameBytes];
        if (is_controller_name_valid(ctx, *controller, attenuator_name) == 1) {
            open_entry(ctx, out, kInterface, node);
            set_leaf(ctx, out, kInterfaceName, *controller, node);
            result = set_leaf(ctx, out, kInterfaceActive, kActive, nullptr);
        }
    }
    return result;
}

/** Adds the native state entries of all controllers with an attenuator. @return the last add's result, or `result` */
qerrno add_all_ports(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out, qerrno result)
{
    constexpr const char* kReporter = "oc_opt_att_attenuator_list_to_low";
    OCATT_TRACE(ctx, kReporter, "Get request without key");
    for (const char* const* controller = controller_att_ots_list; *controller != nullptr; ++controller) {
        char attenuator_name[kAttenuatorNameBytes];
        if (is_controller_name_valid(ctx, *controller, attenuator_name) == 1) {
            OCATT_TRACE(ctx, kReporter, "controller_att_ots: %s", *controller);
            open_entry(ctx, out, kPort, nullptr);
            set_leaf(ctx, out, kPortName, *controller, node);
            result = set_leaf(ctx, out, kPortAttenuation, nullptr, nullptr);
        }
    }
    return result;
}

/** The native state entry of a get with a key. The key's own leaf normally brings it: list nodes carry no text. */
qerrno add_keyed_port(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out, const char* key,
                      qerrno result)
{
    OCATT_TRACE(ctx, "oc_opt_att_attenuator_list_to_low", "Get request with key = %s", key);
    return is_well_formed(node->_data) ? open_entry(ctx, out, kPort, nullptr) : result;
}

} // namespace

/**
 * Opens the native entries of an attenuator list entry.
 *
 * Shape:  one OpenConfig list entry -> one native entry; an entry without key -> the entries of both controllers, with
 *         their keys. A get opens operational entries, too.
 * Errors: ZPF_RC_INVALID_ARGS without a node or an output tree; otherwise the result of the last add that counts.
 * Source: openconfig-optical-attenuator attenuator; Quarn-KMT-VN-ifmgr-cfg interface-configuration,
 *         Quarn-KMT-VN-controller-ots-oper ots-port.
 */
extern "C" qerrno oc_opt_att_attenuator_list_to_low(zpf_map_ctx ctx, const qidl_zpf_datatree* node,
                                                    qidl_zpf_datatree* out)
{
    OCATT_REQUIRE_CONTEXT(ctx);
    OCATT_TRACE(ctx, __func__, "Start");
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, __func__, "Invalid arguments passed!");
        const qerrno refused = refuse_arguments(ctx);
        OCATT_TRACE(ctx, __func__, "End");
        return refused;
    }
    char path[kPathBytes];
    char key[kAttenuatorNameBytes];
    path[0] = '\0';
    key[0] = '\0';
    if (compare_path(ctx, hierarchy_node(ctx, 0), "optical-attenuator/attenuators/attenuator/name", path, key) == 1) {
        OCATT_TRACE(ctx, __func__, "node_data key: %s", key);
    }
    const bool has_key = key[0] != '\0';
    qerrno result = ZPF_RC_OK;
    if (zpf_map_is_request_delete(node) != 0) {
        result = open_entry(ctx, out, kInterface, node);
    } else if (has_key) {
        result = open_entry(ctx, out, kInterface, nullptr);
    } else {
        result = add_all_interfaces(ctx, node, out);
    }
    if (is_get(operation_of(ctx))) {
        result = has_key ? add_keyed_port(ctx, node, out, key, result) : add_all_ports(ctx, node, out, result);
    }
    OCATT_TRACE(ctx, __func__, "End");
    return result;
}

namespace {

/** Adds the native configuration entry of a controller by its keys. `active` carries its value in a delete, too. */
qerrno add_interface_keys(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out,
                          const char* controller_name)
{
    constexpr const char* kReporter = "oc_opt_att_attenuator_key_to_low";
    if (is_read(operation_of(ctx))) {
        OCATT_TRACE(ctx, kReporter, "oc_opt_att_attenuator_key_to_low: get or get-config");
        fill_leaf(ctx, out, kInterfaceName, controller_name);
    } else if (zpf_map_is_request_delete(node) != 0) {
        OCATT_TRACE(ctx, kReporter, "oc_opt_att_attenuator_key_to_low: delete");
        open_entry(ctx, out, kInterface, node);
        fill_leaf(ctx, out, kInterfaceName, controller_name, node);
    } else {
        OCATT_TRACE(ctx, kReporter, "oc_opt_att_attenuator_key_to_low: edit-config");
        fill_leaf(ctx, out, kInterfaceName, controller_name, node);
    }
    return fill_leaf(ctx, out, kInterfaceActive, kActive);
}

/** Converts the name of a key leaf and adds what it stands for; see the translation below. */
qerrno translate_key(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    constexpr const char* kReporter = "oc_opt_att_attenuator_key_to_low";
    const char* attenuator_name = node->_data;
    const bool mapped = is_well_formed(attenuator_name);
    char controller_name[kControllerNameBytes];
    controller_name[0] = '\0';
    qerrno result = ZPF_RC_OK;
    if (mapped) {
        atten_key_to_ots_ctrl_key(attenuator_name, controller_name);
        OCATT_TRACE(ctx, kReporter, "attenuator_name = %s", attenuator_name);
        OCATT_TRACE(ctx, kReporter, "controller_name = %s", controller_name);
        result = add_interface_keys(ctx, node, out, controller_name);
    }
    if (!is_get(operation_of(ctx))) {
        return result;
    }
    if (attenuator_name != nullptr && !mapped) {
        return refuse_value(ctx, node->tag, "Invalid key input:accept only 0/0-VOA-BST0 or 0/0-VOA-BST2");
    }
    return fill_leaf(ctx, out, kPortName, controller_name);
}

} // namespace

/**
 * Turns the key of an attenuator into the keys of its native entries.
 *
 * Shape:  one OpenConfig leaf -> interface-name and active, and the port's name in a get.
 * Domain: a malformed name is refused in a get and ignored otherwise; a leaf without value adds an empty port name in
 *         a get and nothing otherwise.
 * Errors: ZPF_RC_INVALID_ARGS without a node or an output tree; ZPF_RC_INVALID_VALUE for a malformed name in a get,
 * with error tag, message and path set and nothing added; otherwise the result of the last add. Source:
 * openconfig-optical-attenuator attenuator/name; Quarn-KMT-VN-ifmgr-cfg interface-name and active,
 *         Quarn-KMT-VN-controller-ots-oper ots-port/name.
 */
extern "C" qerrno oc_opt_att_attenuator_key_to_low(zpf_map_ctx ctx, const qidl_zpf_datatree* node,
                                                   qidl_zpf_datatree* out)
{
    OCATT_REQUIRE_CONTEXT(ctx);
    OCATT_TRACE(ctx, __func__, "Start");
    qerrno result = ZPF_RC_OK;
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, __func__, "Invalid arguments passed!");
        result = refuse_arguments(ctx);
    } else {
        result = translate_key(ctx, node, out);
    }
    OCATT_TRACE(ctx, __func__, "End");
    return result;
}

namespace {

qerrno translate_config_name(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    constexpr const char* kReporter = "oc_opt_att_cfg_get_attenuator_key_to_low";
    if (!is_well_formed(node->_data)) {
        return ZPF_RC_OK;
    }
    char controller_name[kControllerNameBytes];
    atten_key_to_ots_ctrl_key(node->_data, controller_name);
    OCATT_TRACE(ctx, kReporter, "attenuator_name = %s", node->_data);
    OCATT_TRACE(ctx, kReporter, "controller_name = %s", controller_name);
    if (is_read(operation_of(ctx))) {
        OCATT_TRACE(ctx, kReporter, "oc_opt_att_cfg_get_attenuator_key_to_low: get or get-config");
        fill_leaf(ctx, out, kInterfaceName, controller_name);
    } else {
        if (zpf_map_is_request_delete(node) != 0) {
            OCATT_TRACE(ctx, kReporter, "oc_opt_att_cfg_get_attenuator_key_to_low: delete");
        } else {
            OCATT_TRACE(ctx, kReporter, "oc_opt_att_cfg_get_attenuator_key_to_low: edit-config");
        }
        fill_leaf(ctx, out, kInterfaceName, controller_name, node);
    }
    return fill_leaf(ctx, out, kInterfaceActive, kActive);
}

} // namespace

/**
 * Turns the configured name of an attenuator into the keys of its native entry, where it repeats the list key.
 *
 * Shape:  one OpenConfig leaf -> interface-name and active.
 * Domain: a malformed or missing name is ignored.
 * Errors: ZPF_RC_INVALID_ARGS without a node or an output tree; otherwise the result of the last add, or 0.
 * Source: openconfig-optical-attenuator config/name; Quarn-KMT-VN-ifmgr-cfg interface-name and active.
 */
extern "C" qerrno oc_opt_att_cfg_get_attenuator_key_to_low(zpf_map_ctx ctx, const qidl_zpf_datatree* node,
                                                           qidl_zpf_datatree* out)
{
    OCATT_REQUIRE_CONTEXT(ctx);
    OCATT_TRACE(ctx, __func__, "Start");
    qerrno result = ZPF_RC_OK;
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, __func__, "Invalid arguments passed!");
        result = refuse_arguments(ctx);
    } else {
        result = translate_config_name(ctx, node, out);
    }
    OCATT_TRACE(ctx, __func__, "End");
    return result;
}

/**
 * Asks for the port whose name gives the attenuator's state name.
 *
 * Shape:  one OpenConfig leaf -> the port's name, in reads.
 * Domain: any name, well formed or not.
 * Errors: ZPF_RC_INVALID_ARGS without a node or an output tree; otherwise the result of the add, or 0.
 * Source: openconfig-optical-attenuator state/name; Quarn-KMT-VN-controller-ots-oper ots-port/name.
 */
extern "C" qerrno oc_opt_att_state_get_attenuator_key_to_low(zpf_map_ctx ctx, const qidl_zpf_datatree* node,
                                                             qidl_zpf_datatree* out)
{
    OCATT_REQUIRE_CONTEXT(ctx);
    OCATT_TRACE(ctx, __func__, "Start");
    qerrno result = ZPF_RC_OK;
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, __func__, "Invalid arguments passed!");
        result = refuse_arguments(ctx);
    } else if (node->_data != nullptr) {
        char controller_name[kControllerNameBytes];
        atten_key_to_ots_ctrl_key(node->_data, controller_name);
        OCATT_TRACE(ctx, __func__, "oc_opt_att_state_get_attenuator_key_to_low - attenuator_name = %s", node->_data);
        OCATT_TRACE(ctx, __func__, "oc_opt_att_state_get_attenuator_key_to_low - controller_name = %s",
                    controller_name);
        if (is_read(operation_of(ctx))) {
            OCATT_TRACE(ctx, __func__, "get request oc_opt_att_state_get_attenuator_key_to_low");
            result = fill_leaf(ctx, out, kPortName, controller_name);
        }
    }
    OCATT_TRACE(ctx, __func__, "End");
    return result;
}

namespace {

/** Turns dB text into the native text, in the same buffer. @return false out of range, with the buffer as it was */
bool convert_attenuation(zpf_map_ctx ctx, char (&text)[kValueBytes])
{
    constexpr const char* kReporter = "oc_opt_att_cfg_attenuation_to_low";
    OCATT_TRACE(ctx, kReporter, "attenuation-oc = %s", text);
    const double tenths = db_text_to_tenths(text);
    if (!(tenths >= kMinNativeTenths && tenths <= kMaxNativeTenths)) { // so written, what is no number fails, too
        return false;
    }
    *std::to_chars(text, text + sizeof text - 1, static_cast<int>(tenths)).ptr = '\0';
    OCATT_TRACE(ctx, kReporter, "attenuation-native = %s", text);
    return true;
}

qerrno add_attenuation(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out, const char* text)
{
    constexpr const char* kReporter = "oc_opt_att_cfg_attenuation_to_low";
    if (is_read(operation_of(ctx))) {
        OCATT_TRACE(ctx, kReporter, "oc_opt_att_cfg_attenuation_to_low: get or get-config");
        return set_leaf(ctx, out, kInterfaceAttenuation, text, nullptr);
    }
    if (zpf_map_is_request_delete(node) != 0) {
        OCATT_TRACE(ctx, kReporter, "oc_opt_att_cfg_attenuation_to_low: delete");
        return set_leaf(ctx, out, kInterfaceAttenuation, nullptr, node);
    }
    OCATT_TRACE(ctx, kReporter, "oc_opt_att_cfg_attenuation_to_low: edit-config");
    return set_leaf(ctx, out, kInterfaceAttenuation, text, node);
}

} // namespace

/**
 * Turns the configured attenuation of one attenuator into the native setting of its controller.
 *
 * Shape:  one OpenConfig leaf -> one native leaf of the current interface-configuration entry.
 * Units:  in dB as decimal text; out whole tenths of a dB as decimal text, truncated toward zero.
 * Domain: 0 to 200 tenths, both ends included, in every kind of request; text that is no number counts as 0; a leaf
 *         without value adds the empty text.
 * Errors: ZPF_RC_INVALID_ARGS without a node or an output tree; ZPF_RC_INVALID_VALUE out of range, with error tag,
 *         message and path set and nothing added; otherwise the result of the add.
 * Source: openconfig-optical-attenuator config/attenuation; Quarn-KMT-VN-controller-ots-cfg ots-tx-voa-attenuation.
 */
extern "C" qerrno oc_opt_att_cfg_attenuation_to_low(zpf_map_ctx ctx, const qidl_zpf_datatree* node,
                                                    qidl_zpf_datatree* out)
{
    OCATT_REQUIRE_CONTEXT(ctx);
    OCATT_TRACE(ctx, __func__, "Start");
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, __func__, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    char text[kValueBytes];
    text[0] = '\0';
    bool accepted = true;
    if (node->_data != nullptr) {
        zpf_strcpy_s(__func__, text, sizeof text, node->_data);
        accepted = convert_attenuation(ctx, text);
    }
    const qerrno result = accepted ? add_attenuation(ctx, node, out, text)
                                   : refuse_value(ctx, node->tag, "Invalid argument:VN support range from 0 to 200");
    OCATT_TRACE(ctx, __func__, "End");
    return result;
}

namespace oc_attenuator {
namespace {

/**
 * Asks for the native leaf that a state leaf is made from. Edits of state are ignored.
 *
 * Shape:  one OpenConfig leaf -> one native leaf without value, in reads.
 * Errors: ZPF_RC_INVALID_ARGS without a node or an output tree; otherwise the result of the add, or 0.
 */
template <const Function& kSelf, const SchemaPath& kNativeLeaf>
qerrno selects(zpf_map_ctx ctx, const qidl_zpf_datatree* node, qidl_zpf_datatree* out)
{
    OCATT_TRACE(ctx, kSelf.name, "Start");
    if (node == nullptr || out == nullptr) {
        OCATT_ERROR(ctx, kSelf.name, "Invalid arguments passed!");
        return refuse_arguments(ctx);
    }
    const qerrno result = is_read(operation_of(ctx)) ? fill_leaf(ctx, out, kNativeLeaf, nullptr) : ZPF_RC_OK;
    OCATT_TRACE(ctx, kSelf.name, "End");
    return result;
}

} // namespace
} // namespace oc_attenuator

OCATT_NODE(OCATT_EXPORTED, oc_opt_att_state_attenuation_to_low, selects, kPortAttenuation);
OCATT_NODE(OCATT_EXPORTED, oc_opt_att_enabled_to_low, selects, kPortAttenuation); // enabled is "attenuates at all"
OCATT_NODE(OCATT_EXPORTED, oc_opt_att_state_egress_port_to_low, selects, kPortName);
OCATT_NODE(OCATT_EXPORTED, oc_opt_att_state_actual_atten_instant_to_low, selects, kPortAttenuation);
