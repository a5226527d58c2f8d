// SPDX-License-Identifier: Apache-2.0
//
// Walkers over Quarn-KMT-VN-controller-ots-cfg, in the form in which a generator writes them: one record per node, rows
// of children in the order in which their tags are compared, no logic. How a record is walked is written in
// walker_native.hpp.
#include "ymap_ocopticalattenuator_quarn_kmt_vn_controller_ots_cfg.hpp"

#include "walker_native.hpp"

#include "zpf_namespaces.h"

using namespace oc_attenuator;

namespace {

constexpr NativeLeaf kTxVoaAttenuation{
    function("ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_otstxvoaattenuation"),
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_leaf_lvla_ots_otstxvoaattenuation};

constexpr Child kIngressChannelSliceAttnChildren[] = {
    {"ingress-channel-slice-attn", passes_over_key},
};
constexpr const char* kIngressChannelSliceAttnKeys[] = {"ingress-channel-slice-attn"};
constexpr NativeList kIngressChannelSliceAttn{
    function("ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_ingresschannelsliceattns_"
             "ingresschannelsliceattn"),
    ZPF_NS_CONTROLLER_OTS_CFG,
    "/a1:interface-configurations/a1:interface-configuration/ots/ingress-channel-slice-attns/"
    "ingress-channel-slice-attn",
    kIngressChannelSliceAttnKeys,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_duck_map_list,
    kIngressChannelSliceAttnChildren,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_ingresschannelsliceattns_ingresschannelsliceattn_parse_augments,
    ZPF_RC_OK};

constexpr Child kIngressChannelSliceAttnsChildren[] = {
    {"ingress-channel-slice-attn", walk_native_list<kIngressChannelSliceAttn>},
};
constexpr NativeContainer kIngressChannelSliceAttns{
    function("ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_ingresschannelsliceattns"),
    ZPF_NS_CONTROLLER_OTS_CFG, ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_duck_map_container,
    kIngressChannelSliceAttnsChildren,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_ingresschannelsliceattns_parse_augments};

constexpr Child kRamanTxPowerChildren[] = {
    {"raman-tx-power-instance", passes_over_key},
};
constexpr const char* kRamanTxPowerKeys[] = {"raman-tx-power-instance"};
constexpr NativeList kRamanTxPower{
    function("ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_ramantxpowers_ramantxpower"),
    ZPF_NS_CONTROLLER_OTS_CFG,
    "/a1:interface-configurations/a1:interface-configuration/ots/raman-tx-powers/raman-tx-power",
    kRamanTxPowerKeys,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_duck_map_list,
    kRamanTxPowerChildren,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_ramantxpowers_ramantxpower_parse_augments,
    ZPF_RC_OK};

constexpr Child kRamanTxPowersChildren[] = {
    {"raman-tx-power", walk_native_list<kRamanTxPower>},
};
constexpr NativeContainer kRamanTxPowers{
    function("ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_ramantxpowers"),
    ZPF_NS_CONTROLLER_OTS_CFG, ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_duck_map_container,
    kRamanTxPowersChildren,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_ramantxpowers_parse_augments};

constexpr Child kEgressChannelSliceAttnChildren[] = {
    {"egress-channel-slice-attn", passes_over_key},
};
constexpr const char* kEgressChannelSliceAttnKeys[] = {"egress-channel-slice-attn"};
constexpr NativeList kEgressChannelSliceAttn{
    function("ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_egresschannelsliceattns_"
             "egresschannelsliceattn"),
    ZPF_NS_CONTROLLER_OTS_CFG,
    "/a1:interface-configurations/a1:interface-configuration/ots/egress-channel-slice-attns/egress-channel-slice-attn",
    kEgressChannelSliceAttnKeys,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_duck_map_list,
    kEgressChannelSliceAttnChildren,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_egresschannelsliceattns_egresschannelsliceattn_parse_augments,
    ZPF_RC_OK};

constexpr Child kEgressChannelSliceAttnsChildren[] = {
    {"egress-channel-slice-attn", walk_native_list<kEgressChannelSliceAttn>},
};
constexpr NativeContainer kEgressChannelSliceAttns{
    function("ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_egresschannelsliceattns"),
    ZPF_NS_CONTROLLER_OTS_CFG, ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_duck_map_container,
    kEgressChannelSliceAttnsChildren,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_egresschannelsliceattns_parse_augments};

constexpr Child kOtsChildren[] = {
    {"ingress-channel-slice-attns", walk_native_container<kIngressChannelSliceAttns>},
    {"raman-tx-powers", walk_native_container<kRamanTxPowers>},
    {"egress-channel-slice-attns", walk_native_container<kEgressChannelSliceAttns>},
    {"ots-tx-voa-attenuation", walk_native_leaf<kTxVoaAttenuation>},
};
constexpr NativeContainer kOts{function("ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots"),
                               ZPF_NS_CONTROLLER_OTS_CFG,
                               ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_cont_lvla_ots, kOtsChildren,
                               ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_parse_augments};

constexpr NativeAugment kInterfaceConfigurationAugment{
    ZPF_NS_CONTROLLER_OTS_CFG, "ots", walk_native_container<kOts>,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_interface_configuration_parse_augments};

} // namespace

// Exported walkers.
OCATT_NODE(OCATT_EXPORTED, ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_augment_lvla_interface_configuration,
           enters_augment, kInterfaceConfigurationAugment);
OCATT_NODE(OCATT_WEAK,
           ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_interface_configuration_parse_augments,
           ignores_augments);
OCATT_NODE(OCATT_WEAK, ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_parse_augments,
           ignores_augments);
OCATT_NODE(OCATT_WEAK,
           ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_ingresschannelsliceattns_parse_augments,
           ignores_augments);
OCATT_NODE(
    OCATT_WEAK,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_ingresschannelsliceattns_ingresschannelsliceattn_parse_augments,
    ignores_augments);
OCATT_NODE(OCATT_WEAK, ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_ramantxpowers_parse_augments,
           ignores_augments);
OCATT_NODE(OCATT_WEAK,
           ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_ramantxpowers_ramantxpower_parse_augments,
           ignores_augments);
OCATT_NODE(OCATT_WEAK,
           ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_egresschannelsliceattns_parse_augments,
           ignores_augments);
OCATT_NODE(
    OCATT_WEAK,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_lvla_ots_egresschannelsliceattns_egresschannelsliceattn_parse_augments,
    ignores_augments);
