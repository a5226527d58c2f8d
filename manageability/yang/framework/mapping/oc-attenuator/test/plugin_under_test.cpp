// SPDX-License-Identifier: Apache-2.0
//
// Loading the plug-in.
#include "plugin_under_test.hpp"

#include <cstdlib>
#include <dlfcn.h>
#include <iostream>

namespace test {

Plugin::Plugin() : handle_{dlopen(OC_ATTENUATOR_PLUGIN, RTLD_NOW | RTLD_LOCAL)}
{
    if (handle_ == nullptr) {
        std::cerr << dlerror() << '\n';
        std::abort();
    }
}

Plugin::~Plugin()
{
    dlclose(handle_);
}

Plugin& Plugin::shared()
{
    static Plugin plugin;
    return plugin;
}

void* Plugin::symbol(const std::string& name)
{
    void* found = dlsym(handle_, name.c_str());
    if (found == nullptr) {
        std::cerr << dlerror() << '\n';
        std::abort();
    }
    return found;
}

} // namespace test
