// SPDX-License-Identifier: Apache-2.0
//
// Loading with every message kept.
#include "loaded_models.hpp"

#include <filesystem>
#include <set>

namespace zpf::test {

LoadedModels load_models(const std::string& folder, const std::vector<std::string>& modules)
{
    ly_log_options(LY_LOSTORE);
    ly_log_level(LY_LLWRN);
    ly_ctx* raw = nullptr;
    LoadedModels models;
    if (ly_ctx_new(folder.c_str(), LY_CTX_NO_YANGLIBRARY | LY_CTX_DISABLE_SEARCHDIR_CWD, &raw) != LY_SUCCESS) {
        models.complaints.push_back(folder + ": libyang gives no context");
        return models;
    }
    models.context.reset(raw);
    for (const std::string& module : modules) {
        ly_ctx_load_module(raw, module.c_str(), nullptr, nullptr);
    }
    for (const ly_err_item* item = ly_err_first(raw); item != nullptr; item = item->next) {
        models.complaints.emplace_back(item->msg ? item->msg : "");
    }
    return models;
}

std::vector<std::string> modules_in(const std::string& folder)
{
    std::set<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
        const std::string stem = file.path().stem();
        if (file.path().extension() == ".yang") {
            names.insert(stem.substr(0, stem.find('@')));
        }
    }
    return {names.begin(), names.end()};
}

const lys_module* find_module(const LoadedModels& models, const std::string& name)
{
    return models.context ? ly_ctx_get_module_implemented(models.context.get(), name.c_str()) : nullptr;
}

} // namespace zpf::test
