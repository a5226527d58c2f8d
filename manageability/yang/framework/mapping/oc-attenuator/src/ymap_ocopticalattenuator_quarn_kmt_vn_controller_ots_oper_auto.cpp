// SPDX-License-Identifier: Apache-2.0
//
// Node callbacks of Quarn-KMT-VN-controller-ots-oper, in the form in which a generator writes them: one row per
// exported name, no logic. What a row's word means is written in callback_shapes.hpp.
#include "ymap_ocopticalattenuator_quarn_kmt_vn_controller_ots_oper.hpp"

// Defaults.
OCATT_CONTAINER(OCATT_EXPORTED, ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_duck_map_container);
OCATT_NODE(OCATT_EXPORTED, ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_duck_map_list, passes_over);
OCATT_NODE(OCATT_EXPORTED, ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_duck_map_leaf, passes_over);

// Mapped nodes, and nodes with a body of their own.
OCATT_CONTAINER(OCATT_WEAK, ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_cont_lvla_otsoper);
OCATT_CONTAINER(OCATT_WEAK, ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_cont_lvla_otsoper_otsports);
OCATT_CONTAINER(OCATT_WEAK, ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_cont_lvla_otsoper_otsport_otsinfo);
OCATT_NODE(OCATT_WEAK,
           ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_leaf_lvla_otsoper_otsinfo_txvoaattenuation, calls,
           oc_opt_att_state_attenuation_to_high);
OCATT_NODE(OCATT_WEAK, ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_leaf_lvla_otsoper_otsport_name, calls,
           oc_opt_att_state_get_attenuator_key_to_high);

// Replaced by a hand-written function of the name without its last word.
OCATT_REPLACED_NODE(
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_list_lvla_otsoper_otsports_otsport_generated, passes_over);
