// SPDX-License-Identifier: Apache-2.0
//
// The plug-in as its host sees it: a file that is loaded, and functions that are found by name.
#ifndef OC_ATTENUATOR_PLUGIN_UNDER_TEST_HPP
#define OC_ATTENUATOR_PLUGIN_UNDER_TEST_HPP

#include "zpf/zpf.h"

#include <string>

namespace test {

using NodeFunction = qerrno(zpf_map_ctx, const qidl_zpf_datatree*, qidl_zpf_datatree*);
using ContainerFunction = qerrno(zpf_map_ctx, const qidl_zpf_datatree*, uint32_t, qidl_zpf_datatree*);

/** A loaded plug-in; closed at its end. */
class Plugin {
public:
    Plugin();
    ~Plugin();
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    /** The one that lives as long as the program. */
    static Plugin& shared();

    /** The plug-in's own symbol, whatever the program exports under that name; the test ends when there is none. */
    void* symbol(const std::string& name);
    template <typename Type>
    Type* get(const std::string& name)
    {
        return reinterpret_cast<Type*>(symbol(name));
    }
    NodeFunction* node(const std::string& name) { return get<NodeFunction>(name); }
    ContainerFunction* container(const std::string& name) { return get<ContainerFunction>(name); }

private:
    void* handle_;
};

// Common beginnings of the exported names.
inline const std::string kOx = "ymap_ox_ocopticalattenuator_openconfigopticalattenuator_";
inline const std::string kIfmgr = "ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_";
inline const std::string kOtsCfg = "ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotscfg_";
inline const std::string kOtsOper = "ymap_xo_ocopticalattenuator_quarnkmtvncontrollerotsoper_";

} // namespace test

#endif
