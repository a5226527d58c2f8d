// SPDX-License-Identifier: Apache-2.0
//
// Walkers over Quarn-KMT-VN-ifmgr-cfg, in the form in which a generator writes them: one record per node, rows of
// children in the order in which their tags are compared, no logic. How a record is walked is written in
// walker_native.hpp.
#include "ymap_ocopticalattenuator_quarn_kmt_vn_ifmgr_cfg.hpp"

#include "walker_native.hpp"

#include "zpf_namespaces.h"

using namespace oc_attenuator;

namespace {

constexpr NativeLeaf kInterfaceName{
    function("ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_interfaceconfiguration_"
             "interfacename"),
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_leaf_lvla_interfaceconfigurations_interfaceconfiguration_interfacename};

constexpr NativeContainer kDampening{
    function(
        "ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_interfaceconfiguration_dampening"),
    ZPF_NS_IFMGR_CFG,
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_duck_map_container,
    {},
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_interfaceconfiguration_dampening_parse_augments};

constexpr NativeContainer kEncapsulation{
    function("ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_interfaceconfiguration_"
             "encapsulation"),
    ZPF_NS_IFMGR_CFG,
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_duck_map_container,
    {},
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_interfaceconfiguration_encapsulation_parse_augments};

constexpr Child kMtuChildren[] = {
    {"owner", passes_over_key},
};
constexpr const char* kMtuKeys[] = {"owner"};
constexpr NativeList kMtu{
    function("ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_mtus_mtu"),
    ZPF_NS_IFMGR_CFG,
    "/interface-configurations/interface-configuration/mtus/mtu",
    kMtuKeys,
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_duck_map_list,
    kMtuChildren,
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_mtus_mtu_parse_augments,
    ZPF_RC_SKIP_INSTANCE};

constexpr Child kMtusChildren[] = {
    {"mtu", walk_native_list<kMtu>},
};
constexpr NativeContainer kMtus{
    function("ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_interfaceconfiguration_mtus"),
    ZPF_NS_IFMGR_CFG, ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_duck_map_container, kMtusChildren,
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_interfaceconfiguration_mtus_parse_augments};

constexpr Child kInterfaceConfigurationChildren[] = {
    {"dampening", walk_native_container<kDampening>},
    {"mtus", walk_native_container<kMtus>},
    {"encapsulation", walk_native_container<kEncapsulation>},
    {"interface-name", walk_native_leaf<kInterfaceName>},
};
constexpr const char* kInterfaceConfigurationKeys[] = {"active", "interface-name"};
constexpr NativeList kInterfaceConfiguration{
    function("ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_interfaceconfiguration"),
    ZPF_NS_IFMGR_CFG,
    "/interface-configurations/interface-configuration",
    kInterfaceConfigurationKeys,
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_list_lvla_interfaceconfigurations_interfaceconfiguration,
    kInterfaceConfigurationChildren,
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_interfaceconfiguration_parse_augments,
    ZPF_RC_SKIP_INSTANCE};

constexpr Child kInterfaceConfigurationsChildren[] = {
    {"interface-configuration", walk_native_list<kInterfaceConfiguration>},
};
constexpr NativeContainer kInterfaceConfigurations{
    function("ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations"), ZPF_NS_IFMGR_CFG,
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_cont_lvla_interfaceconfigurations, kInterfaceConfigurationsChildren,
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_parse_augments};

constexpr NativeContainer kGlobalInterfaceConfiguration{
    function("ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_globalinterfaceconfiguration"),
    ZPF_NS_IFMGR_CFG,
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_duck_map_container,
    {},
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_globalinterfaceconfiguration_parse_augments};

} // namespace

// Exported walkers.
OCATT_WALKER(ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations,
             walk_native_container<kInterfaceConfigurations>);
OCATT_WALKER(ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_globalinterfaceconfiguration,
             walk_native_container<kGlobalInterfaceConfiguration>);
OCATT_NODE(OCATT_WEAK, ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_parse_augments,
           ignores_augments);
OCATT_NODE(OCATT_WEAK, ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_globalinterfaceconfiguration_parse_augments,
           ignores_augments);
OCATT_NODE(
    OCATT_WEAK,
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_interfaceconfiguration_dampening_parse_augments,
    ignores_augments);
OCATT_NODE(
    OCATT_WEAK,
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_interfaceconfiguration_mtus_parse_augments,
    ignores_augments);
OCATT_NODE(OCATT_WEAK,
           ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_mtus_mtu_parse_augments,
           ignores_augments);
OCATT_NODE(
    OCATT_WEAK,
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_interfaceconfiguration_encapsulation_parse_augments,
    ignores_augments);

// Replaced by a hand-written function of the name without its last word.
OCATT_REPLACED_NODE(
    ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_interfaceconfiguration_parse_augments_generated,
    ignores_augments);
