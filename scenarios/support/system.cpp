// SPDX-License-Identifier: Apache-2.0
//
// Where the build has put models and plug-in.
#include "system.hpp"

#include <cstdlib>
#include <filesystem>
#include <string_view>

namespace zpf::scenarios {

namespace {

std::string models_folder()
{
    return wants_published_models() ? ZPF_YANG_PUBLISHED_DIR : ZPF_YANG_DIR;
}

} // namespace

bool wants_published_models()
{
    const char* const wanted = std::getenv("ZPF_SCENARIO_MODELS");
    return wanted != nullptr && std::string_view{wanted} == "published";
}

std::string missing_models()
{
    if (wants_published_models() && !std::filesystem::exists(models_folder())) {
        return "no published modules: configure with -DZPF_PUBLISHED_MODELS_DIR=<their folder>";
    }
    return {};
}

System::System() : models_({models_folder()}), plugin_(OC_ATTENUATOR_PLUGIN), driver_(models_.schema(), plugin_) {}

const System& System::shared()
{
    static const System system;
    return system;
}

EditOptions System::judged_edit(int32_t default_operation) const
{
    EditOptions options;
    options.default_operation = default_operation;
    options.validate = [this](const Node& after) { return bridge::validate_native(models_, after); };
    return options;
}

} // namespace zpf::scenarios
