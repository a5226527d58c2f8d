// SPDX-License-Identifier: Apache-2.0
//
// The schema paths that translations add to, each with the namespace of its module, and the three ways to add.
#ifndef OC_ATTENUATOR_PATHS_HPP
#define OC_ATTENUATOR_PATHS_HPP

#include "zpf/zpf.h"

#include "zpf_namespaces.h"

namespace oc_attenuator {

struct SchemaPath {
    const char* path;
    const char* ns;
};

// Native configuration: one entry per controller.
constexpr SchemaPath kInterface{"/interface-configurations/interface-configuration", ZPF_NS_IFMGR_CFG};
constexpr SchemaPath kInterfaceName{"/interface-configurations/interface-configuration/interface-name",
                                    ZPF_NS_IFMGR_CFG};
constexpr SchemaPath kInterfaceActive{"/interface-configurations/interface-configuration/active", ZPF_NS_IFMGR_CFG};
constexpr SchemaPath kInterfaceAttenuation{
    "/interface-configurations/interface-configuration/ots/ots-tx-voa-attenuation", ZPF_NS_CONTROLLER_OTS_CFG};

// Native state: one entry per OTS port, named as its controller.
constexpr SchemaPath kPort{"/ots-oper/ots-ports/ots-port", ZPF_NS_CONTROLLER_OTS_OPER};
constexpr SchemaPath kPortName{"/ots-oper/ots-ports/ots-port/name", ZPF_NS_CONTROLLER_OTS_OPER};
constexpr SchemaPath kPortAttenuation{"/ots-oper/ots-ports/ots-port/ots-info/tx-voa-attenuation",
                                      ZPF_NS_CONTROLLER_OTS_OPER};

// OpenConfig: one entry per attenuator.
constexpr SchemaPath kAttenuator{"/optical-attenuator/attenuators/attenuator", ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR};
constexpr SchemaPath kAttenuatorName{"/optical-attenuator/attenuators/attenuator/name",
                                     ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR};
constexpr SchemaPath kConfigName{"/optical-attenuator/attenuators/attenuator/config/name",
                                 ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR};
constexpr SchemaPath kConfigAttenuation{"/optical-attenuator/attenuators/attenuator/config/attenuation",
                                        ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR};
constexpr SchemaPath kStateName{"/optical-attenuator/attenuators/attenuator/state/name",
                                ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR};
constexpr SchemaPath kStateAttenuation{"/optical-attenuator/attenuators/attenuator/state/attenuation",
                                       ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR};
constexpr SchemaPath kStateInstant{"/optical-attenuator/attenuators/attenuator/state/actual-attenuation/instant",
                                   ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR};
constexpr SchemaPath kStateEnabled{"/optical-attenuator/attenuators/attenuator/state/enabled",
                                   ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR};

/** The value of every native entry's leaf `active`. */
constexpr const char* kActive = "act";

/** Opens an entry of the list that the path ends at; it takes the source's operation, merge without source. */
inline qerrno open_entry(zpf_map_ctx ctx, qidl_zpf_datatree* out, const SchemaPath& list,
                         const qidl_zpf_datatree* source)
{
    return zpf_map_datatree_add_path_flagged(ctx, out, list.path, list.ns, nullptr, source, nullptr, 1, 0);
}

/** Decides the value and the operation of a leaf. */
inline qerrno set_leaf(zpf_map_ctx ctx, qidl_zpf_datatree* out, const SchemaPath& leaf, const char* value,
                       const qidl_zpf_datatree* source)
{
    return zpf_map_datatree_add_path_flagged(ctx, out, leaf.path, leaf.ns, value, source, nullptr, 0, 1);
}

/** Adds what is missing of a leaf; a value that is there stays. */
inline qerrno fill_leaf(zpf_map_ctx ctx, qidl_zpf_datatree* out, const SchemaPath& leaf, const char* value,
                        const qidl_zpf_datatree* source = nullptr)
{
    return zpf_map_datatree_add_path_flagged(ctx, out, leaf.path, leaf.ns, value, source, nullptr, 0, 0);
}

} // namespace oc_attenuator

#endif
