// SPDX-License-Identifier: Apache-2.0
//
// Walkers over Quarn-KMT-VN-controller-ots-oper, in the form in which a generator writes them: one record per node,
// rows of children in the order in which their tags are compared, no logic. How a record is walked is written in
// walker_native.hpp.
#include "ymap_ocopticalattenuator_quarn_kmt_vn_controller_ots_oper.hpp"

#include "walker_native.hpp"

#include "zpf_namespaces.h"

using namespace oc_attenuator;

namespace {

constexpr NativeLeaf kTxVoaAttenuation{
    function("ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_lvla_otsoper_otsinfo_txvoaattenuation"),
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_leaf_lvla_otsoper_otsinfo_txvoaattenuation};
constexpr NativeLeaf kPortName{
    function("ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_lvla_otsoper_otsport_name"),
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_leaf_lvla_otsoper_otsport_name};

constexpr Child kOtsInfoChildren[] = {
    {"tx-voa-attenuation", walk_native_leaf<kTxVoaAttenuation>, In::kGet},
};
constexpr NativeContainer kOtsInfo{
    function("ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_lvla_otsoper_otsport_otsinfo"),
    ZPF_NS_CONTROLLER_OTS_OPER,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_cont_lvla_otsoper_otsport_otsinfo, kOtsInfoChildren,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_lvla_otsoper_otsport_otsinfo_parse_augments};

constexpr Child kOtsPortChildren[] = {
    {"ots-info", walk_native_container<kOtsInfo>, In::kGet},
    {"name", walk_native_leaf<kPortName>, In::kGet},
};
constexpr const char* kOtsPortKeys[] = {"name"};
constexpr NativeList kOtsPort{
    function("ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_lvla_otsoper_otsports_otsport"),
    ZPF_NS_CONTROLLER_OTS_OPER,
    "/ots-oper/ots-ports/ots-port",
    kOtsPortKeys,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_list_lvla_otsoper_otsports_otsport,
    kOtsPortChildren,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_lvla_otsoper_otsports_otsport_parse_augments,
    ZPF_RC_OK};

constexpr Child kOtsPortsChildren[] = {
    {"ots-port", walk_native_list<kOtsPort>, In::kGet},
};
constexpr NativeContainer kOtsPorts{
    function("ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_lvla_otsoper_otsports"),
    ZPF_NS_CONTROLLER_OTS_OPER, ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_cont_lvla_otsoper_otsports,
    kOtsPortsChildren, ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_lvla_otsoper_otsports_parse_augments};

constexpr Child kOtsOperChildren[] = {
    {"ots-ports", walk_native_container<kOtsPorts>, In::kGet},
};
constexpr NativeContainer kOtsOper{
    function("ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_lvla_otsoper"), ZPF_NS_CONTROLLER_OTS_OPER,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_cont_lvla_otsoper, kOtsOperChildren,
    ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_lvla_otsoper_parse_augments};

} // namespace

// Exported walkers.
OCATT_WALKER(ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_lvla_otsoper, walk_native_container<kOtsOper>);
OCATT_NODE(OCATT_WEAK, ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_lvla_otsoper_parse_augments,
           ignores_augments);
OCATT_NODE(OCATT_WEAK, ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_lvla_otsoper_otsports_parse_augments,
           ignores_augments);
OCATT_NODE(OCATT_WEAK,
           ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_lvla_otsoper_otsports_otsport_parse_augments,
           ignores_augments);
OCATT_NODE(OCATT_WEAK,
           ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_lvla_otsoper_otsport_otsinfo_parse_augments,
           ignores_augments);
