// SPDX-License-Identifier: Apache-2.0
//
// Walkers over openconfig-optical-attenuator, in the form in which a generator writes them: one record per node, rows
// of children in the order in which their tags are compared, no logic. How a record is walked is written in
// walker_request.hpp and walker_request_list.hpp.
#include "ymap_ocopticalattenuator_openconfig_optical_attenuator.hpp"

#include "utility.hpp"
#include "walker_request_list.hpp"

using namespace oc_attenuator;

namespace {

// Leaves of attenuator.
constexpr RequestLeaf kAttenuatorName{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_attenuator_name"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_attenuator_name};

// Leaves of config.
constexpr RequestLeaf kConfigName{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_config_name"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_config_name};
constexpr RequestLeaf kConfigAttenuationMode{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_config_attenuationmode"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kConfigTargetOutputPower{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_config_targetoutputpower"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kConfigAttenuation{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_config_attenuation"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_config_attenuation};
constexpr RequestLeaf kConfigEnabled{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_config_enabled"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_config_enabled};

// Leaves of state.
constexpr RequestLeaf kStateName{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_state_name"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_state_name};
constexpr RequestLeaf kStateAttenuationMode{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_state_attenuationmode"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kStateTargetOutputPower{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_state_targetoutputpower"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kStateAttenuation{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_state_attenuation"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_state_attenuation};
constexpr RequestLeaf kStateEnabled{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_state_enabled"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_state_enabled};
constexpr RequestLeaf kStateComponent{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_state_component"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kStateIngressPort{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_state_ingressport"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kStateEgressPort{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_state_egressport"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_state_egressport};

// Leaves of actual-attenuation.
constexpr RequestLeaf kActualAttenuationInstant{
    function(
        "ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_actualattenuation_instant"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_actualattenuation_instant};
constexpr RequestLeaf kActualAttenuationAvg{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_actualattenuation_avg"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kActualAttenuationMin{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_actualattenuation_min"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kActualAttenuationMax{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_actualattenuation_max"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kActualAttenuationInterval{
    function(
        "ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_actualattenuation_interval"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kActualAttenuationMinTime{
    function(
        "ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_actualattenuation_mintime"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kActualAttenuationMaxTime{
    function(
        "ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_actualattenuation_maxtime"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};

// Leaves of output-power-total.
constexpr RequestLeaf kOutputPowerTotalInstant{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_outputpowertotal_instant"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kOutputPowerTotalAvg{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_outputpowertotal_avg"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kOutputPowerTotalMin{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_outputpowertotal_min"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kOutputPowerTotalMax{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_outputpowertotal_max"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kOutputPowerTotalInterval{
    function(
        "ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_outputpowertotal_interval"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kOutputPowerTotalMinTime{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_outputpowertotal_mintime"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kOutputPowerTotalMaxTime{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_outputpowertotal_maxtime"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};

// Leaves of optical-return-loss.
constexpr RequestLeaf kOpticalReturnLossInstant{
    function(
        "ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_opticalreturnloss_instant"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kOpticalReturnLossAvg{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_opticalreturnloss_avg"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kOpticalReturnLossMin{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_opticalreturnloss_min"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kOpticalReturnLossMax{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_opticalreturnloss_max"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kOpticalReturnLossInterval{
    function(
        "ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_opticalreturnloss_interval"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kOpticalReturnLossMinTime{
    function(
        "ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_opticalreturnloss_mintime"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};
constexpr RequestLeaf kOpticalReturnLossMaxTime{
    function(
        "ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_opticalreturnloss_maxtime"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf};

constexpr Child kActualAttenuationChildren[] = {
    {"instant", walk_request_leaf<kActualAttenuationInstant>},
    {"avg", walk_request_leaf<kActualAttenuationAvg>},
    {"min", walk_request_leaf<kActualAttenuationMin>},
    {"max", walk_request_leaf<kActualAttenuationMax>},
    {"interval", walk_request_leaf<kActualAttenuationInterval>},
    {"min-time", walk_request_leaf<kActualAttenuationMinTime>},
    {"max-time", walk_request_leaf<kActualAttenuationMaxTime>},
};
constexpr RequestContainer kActualAttenuation{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_state_actualattenuation"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator_state_actualattenuation,
    kActualAttenuationChildren,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_state_actualattenuation_parse_augments,
    false};

constexpr Child kOutputPowerTotalChildren[] = {
    {"instant", walk_request_leaf<kOutputPowerTotalInstant>},
    {"avg", walk_request_leaf<kOutputPowerTotalAvg>},
    {"min", walk_request_leaf<kOutputPowerTotalMin>},
    {"max", walk_request_leaf<kOutputPowerTotalMax>},
    {"interval", walk_request_leaf<kOutputPowerTotalInterval>},
    {"min-time", walk_request_leaf<kOutputPowerTotalMinTime>},
    {"max-time", walk_request_leaf<kOutputPowerTotalMaxTime>},
};
constexpr RequestContainer kOutputPowerTotal{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_state_outputpowertotal"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_container, kOutputPowerTotalChildren,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_state_outputpowertotal_parse_augments,
    false};

constexpr Child kOpticalReturnLossChildren[] = {
    {"instant", walk_request_leaf<kOpticalReturnLossInstant>},
    {"avg", walk_request_leaf<kOpticalReturnLossAvg>},
    {"min", walk_request_leaf<kOpticalReturnLossMin>},
    {"max", walk_request_leaf<kOpticalReturnLossMax>},
    {"interval", walk_request_leaf<kOpticalReturnLossInterval>},
    {"min-time", walk_request_leaf<kOpticalReturnLossMinTime>},
    {"max-time", walk_request_leaf<kOpticalReturnLossMaxTime>},
};
constexpr RequestContainer kOpticalReturnLoss{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_state_opticalreturnloss"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_container, kOpticalReturnLossChildren,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_state_opticalreturnloss_parse_augments,
    false};

constexpr Child kStateChildren[] = {
    {"name", walk_request_leaf<kStateName>},
    {"attenuation-mode", walk_request_leaf<kStateAttenuationMode>},
    {"target-output-power", walk_request_leaf<kStateTargetOutputPower>},
    {"attenuation", walk_request_leaf<kStateAttenuation>},
    {"enabled", walk_request_leaf<kStateEnabled>},
    {"component", walk_request_leaf<kStateComponent>},
    {"ingress-port", walk_request_leaf<kStateIngressPort>},
    {"egress-port", walk_request_leaf<kStateEgressPort>},
    {"actual-attenuation", walk_request_container<kActualAttenuation>},
    {"output-power-total", walk_request_container<kOutputPowerTotal>},
    {"optical-return-loss", walk_request_container<kOpticalReturnLoss>},
};
constexpr RequestContainer kState{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_attenuator_state"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator_attenuator_state,
    kStateChildren,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_attenuator_state_parse_augments,
    false};

constexpr Child kConfigChildren[] = {
    {"name", walk_request_leaf<kConfigName>},
    {"attenuation-mode", walk_request_leaf<kConfigAttenuationMode>},
    {"target-output-power", walk_request_leaf<kConfigTargetOutputPower>},
    {"attenuation", walk_request_leaf<kConfigAttenuation>},
    {"enabled", walk_request_leaf<kConfigEnabled>},
};
constexpr RequestContainer kConfig{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_attenuator_config"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator_attenuator_config,
    kConfigChildren,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_attenuator_config_parse_augments,
    true};

constexpr Child kAttenuatorChildren[] = {
    {"config", walk_request_container<kConfig>},
    {"state", walk_request_container<kState>, In::kGet},
};
constexpr RequestList kAttenuator{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_attenuators_attenuator"),
    "/optical-attenuator/attenuators/attenuator",
    "name",
    "/optical-attenuator/attenuators/attenuator/name",
    "config",
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_list_lvla_opticalattenuator_attenuators_attenuator,
    walk_request_leaf<kAttenuatorName>,
    kAttenuatorChildren,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_attenuators_attenuator_parse_augments};

constexpr Child kAttenuatorsChildren[] = {
    {"attenuator", walk_request_list<kAttenuator>},
};
constexpr RequestContainer kAttenuators{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_attenuators"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator_attenuators,
    kAttenuatorsChildren,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_attenuators_parse_augments, true};

constexpr Child kOpticalAttenuatorChildren[] = {
    {"attenuators", walk_request_container<kAttenuators>},
};
constexpr RequestContainer kOpticalAttenuator{
    function("ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator"),
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator,
    kOpticalAttenuatorChildren,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_parse_augments,
    true,
    print_data};

} // namespace

// Exported walkers.
OCATT_WALKER(ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator,
             walk_request_container<kOpticalAttenuator>);
OCATT_NODE(OCATT_WEAK, ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_parse_augments,
           refuses_augments);
OCATT_NODE(OCATT_WEAK,
           ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_attenuators_parse_augments,
           refuses_augments);
OCATT_NODE(
    OCATT_WEAK,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_attenuators_attenuator_parse_augments,
    refuses_augments);
OCATT_NODE(
    OCATT_WEAK,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_attenuator_config_parse_augments,
    refuses_augments);
OCATT_NODE(
    OCATT_WEAK,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_attenuator_state_parse_augments,
    refuses_augments);
OCATT_NODE(
    OCATT_WEAK,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_state_actualattenuation_parse_augments,
    refuses_augments);
OCATT_NODE(
    OCATT_WEAK,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_state_outputpowertotal_parse_augments,
    refuses_augments);
OCATT_NODE(
    OCATT_WEAK,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_lvla_opticalattenuator_state_opticalreturnloss_parse_augments,
    refuses_augments);
