// SPDX-License-Identifier: Apache-2.0
//
// Node callbacks of openconfig-optical-attenuator, in the form in which a generator writes them: one row per exported
// name, no logic. What a row's word means is written in callback_shapes.hpp.
#include "ymap_ocopticalattenuator_openconfig_optical_attenuator.hpp"

// Defaults.
OCATT_CONTAINER(OCATT_EXPORTED, ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_container);
OCATT_NODE(OCATT_EXPORTED, ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_list, passes_over);
OCATT_NODE(OCATT_EXPORTED, ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf, refuses_leaf);

// Mapped nodes, and nodes with a body of their own.
OCATT_CONTAINER(OCATT_WEAK, ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator);
OCATT_CONTAINER(OCATT_WEAK,
                ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator_attenuators);
OCATT_CONTAINER(OCATT_WEAK,
                ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator_attenuator_config);
OCATT_CONTAINER(OCATT_WEAK,
                ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator_attenuator_state);
OCATT_CONTAINER(
    OCATT_WEAK,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator_state_actualattenuation);
OCATT_NODE(OCATT_WEAK,
           ymap_ox_ocopticalattenuator_openconfigopticalattenuator_list_lvla_opticalattenuator_attenuators_attenuator,
           calls, oc_opt_att_attenuator_list_to_low);
OCATT_NODE(OCATT_WEAK,
           ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_attenuator_name, calls,
           oc_opt_att_attenuator_key_to_low);
OCATT_NODE(OCATT_WEAK, ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_config_name,
           calls, oc_opt_att_cfg_get_attenuator_key_to_low);
OCATT_NODE(OCATT_WEAK,
           ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_config_attenuation,
           calls, oc_opt_att_cfg_attenuation_to_low);
OCATT_NODE(OCATT_WEAK,
           ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_config_enabled,
           refuses_leaf);
OCATT_NODE(OCATT_WEAK, ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_state_name,
           calls, oc_opt_att_state_get_attenuator_key_to_low);
OCATT_NODE(OCATT_WEAK,
           ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_state_attenuation, calls,
           oc_opt_att_state_attenuation_to_low);
OCATT_NODE(OCATT_WEAK,
           ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_state_enabled, calls,
           oc_opt_att_enabled_to_low);
OCATT_NODE(OCATT_WEAK,
           ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_state_egressport, calls,
           oc_opt_att_state_egress_port_to_low);
OCATT_NODE(
    OCATT_WEAK,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_actualattenuation_instant,
    calls, oc_opt_att_state_actual_atten_instant_to_low);

// Nodes without a mapping: second names of the defaults.
OCATT_ALIAS(ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator_state_outputpowertotal,
            ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_container);
OCATT_ALIAS(ymap_ox_ocopticalattenuator_openconfigopticalattenuator_cont_lvla_opticalattenuator_state_opticalreturnloss,
            ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_container);
OCATT_ALIAS(ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_config_attenuationmode,
            ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_config_targetoutputpower,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_state_attenuationmode,
            ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_state_targetoutputpower,
            ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_state_component,
            ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_state_ingressport,
            ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_actualattenuation_avg,
            ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_actualattenuation_min,
            ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_actualattenuation_max,
            ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_actualattenuation_interval,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_actualattenuation_mintime,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_actualattenuation_maxtime,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_outputpowertotal_instant,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_outputpowertotal_avg,
            ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_outputpowertotal_min,
            ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_outputpowertotal_max,
            ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_outputpowertotal_interval,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_outputpowertotal_mintime,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_outputpowertotal_maxtime,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_opticalreturnloss_instant,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_opticalreturnloss_avg,
            ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_opticalreturnloss_min,
            ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_opticalreturnloss_max,
            ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_opticalreturnloss_interval,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_opticalreturnloss_mintime,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
OCATT_ALIAS(
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_opticalreturnloss_maxtime,
    ymap_ox_ocopticalattenuator_openconfigopticalattenuator_duck_map_leaf);
