// SPDX-License-Identifier: Apache-2.0
//
// The modules as the device uses them: they load without a word of complaint, and the native ones have a callback for
// each node.
#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "callback_names.hpp"
#include "loaded_models.hpp"
#include "schema_lines.hpp"
#include "zpf_namespaces.h"

namespace zpf::test {
namespace {

using ::testing::IsEmpty;
using ::testing::UnorderedElementsAreArray;

constexpr const char* kOpenConfig = "openconfig-optical-attenuator";
constexpr const char* kIfmgr = "Quarn-KMT-VN-ifmgr-cfg";
constexpr const char* kOtsCfg = "Quarn-KMT-VN-controller-ots-cfg";
constexpr const char* kOtsOper = "Quarn-KMT-VN-controller-ots-oper";

class Modules : public ::testing::Test {
protected:
    static void SetUpTestSuite() { models_ = new LoadedModels(load_models(ZPF_YANG_DIR, modules_in(ZPF_YANG_DIR))); }
    static void TearDownTestSuite()
    {
        delete models_;
        models_ = nullptr;
    }

    static const lys_module& module(const char* name)
    {
        const lys_module* const found = find_module(*models_, name);
        return found ? *found : throw std::runtime_error(std::string(name) + " is not loaded");
    }

    static std::string facts(const char* name, const std::string& path) { return schema_lines(module(name)).at(path); }

    static LoadedModels* models_;
};

LoadedModels* Modules::models_ = nullptr;

TEST_F(Modules, LoadTogetherWithoutErrorsAndWarnings)
{
    EXPECT_THAT(models_->complaints, IsEmpty());
    for (const std::string& name : modules_in(ZPF_YANG_DIR)) {
        EXPECT_NE(find_module(*models_, name), nullptr) << name;
    }
}

TEST_F(Modules, LoadOneByOneInAnyCompany)
{
    for (const std::string& name : modules_in(ZPF_YANG_DIR)) {
        const LoadedModels alone = load_models(ZPF_YANG_DIR, {name});
        EXPECT_THAT(alone.complaints, IsEmpty()) << name;
        EXPECT_NE(find_module(alone, name), nullptr) << name;
    }
}

TEST_F(Modules, CarryTheNamespacesThatTheLibraryComparesWith)
{
    EXPECT_STREQ(module(kOpenConfig).ns, ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR);
    EXPECT_STREQ(module(kIfmgr).ns, ZPF_NS_IFMGR_CFG);
    EXPECT_STREQ(module(kOtsCfg).ns, ZPF_NS_CONTROLLER_OTS_CFG);
    EXPECT_STREQ(module(kOtsOper).ns, ZPF_NS_CONTROLLER_OTS_OPER);
}

TEST_F(Modules, HaveTheKeysThatTheMappingSupplies)
{
    const std::string entry = "/Quarn-KMT-VN-ifmgr-cfg:interface-configurations/interface-configuration";
    EXPECT_THAT(facts(kIfmgr, entry), ::testing::StartsWith("list rw children active interface-name "));
    for (const char* key : {"/active", "/interface-name", "/mtus/mtu/owner"}) {
        EXPECT_THAT(facts(kIfmgr, entry + key), ::testing::StartsWith("leaf rw key type string")) << key;
    }
    EXPECT_THAT(facts(kOtsOper, "/Quarn-KMT-VN-controller-ots-oper:ots-oper/ots-ports/ots-port/name"),
                ::testing::HasSubstr(" key type string"));
}

TEST_F(Modules, TakeTheAttenuationInWholeTenthsOfADecibel)
{
    EXPECT_EQ(facts(kIfmgr, "/Quarn-KMT-VN-ifmgr-cfg:interface-configurations/interface-configuration/"
                            "Quarn-KMT-VN-controller-ots-cfg:ots/ots-tx-voa-attenuation"),
              "leaf rw type uint32 [0..200] units 0.1 dB");
    EXPECT_EQ(
        facts(kOtsOper, "/Quarn-KMT-VN-controller-ots-oper:ots-oper/ots-ports/ots-port/ots-info/tx-voa-attenuation"),
        "leaf ro type int32 units 0.1 dB");
}

TEST_F(Modules, DemandNothingButKeysOfNativeData)
{
    for (const char* name : {kIfmgr, kOtsOper}) {
        for (const auto& [path, line] : schema_lines(module(name))) {
            EXPECT_THAT(line, ::testing::Not(::testing::HasSubstr(" mandatory"))) << path;
            EXPECT_THAT(line, ::testing::Not(::testing::HasSubstr(" default "))) << path;
        }
    }
}

/// Names from the golden file that belong to one module.
std::vector<std::string> golden_names(const std::string& module_part)
{
    std::ifstream file(ZPF_GOLDEN_CALLBACKS);
    std::vector<std::string> names;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind('#', 0) != 0 && line.find("_" + module_part + "_") != std::string::npos) {
            names.push_back(line);
        }
    }
    return names;
}

class NativeCallbacks : public Modules, public ::testing::WithParamInterface<std::pair<const char*, std::size_t>> {};

TEST_P(NativeCallbacks, AreOneForEachNodeOfTheModelAndNoMore)
{
    const auto [name, count] = GetParam();
    const auto names = callback_names(*models_->context, module(name), "xo");
    std::string part = name;
    std::erase(part, '-');
    std::transform(part.begin(), part.end(), part.begin(), [](unsigned char c) { return std::tolower(c); });
    EXPECT_EQ(names.size(), count);
    EXPECT_THAT(names, UnorderedElementsAreArray(golden_names(part)));
}

INSTANTIATE_TEST_SUITE_P(Native, NativeCallbacks,
                         ::testing::Values(std::pair{kIfmgr, 27U}, std::pair{kOtsCfg, 37U}, std::pair{kOtsOper, 6U}),
                         [](const auto& tested) {
                             std::string name = tested.param.first;
                             std::erase(name, '-');
                             return name;
                         });

// The published model has grown since the callbacks were named: nodes that the plug-in does not know it passes by.
TEST_F(Modules, OfOpenConfigHaveACallbackForEachNodeButTheNewest)
{
    auto names = golden_names("openconfigopticalattenuator");
    EXPECT_EQ(names.size(), 43U);
    const std::string leaf = "ymap_ox_ocopticalattenuator_openconfigopticalattenuator_leaf_lvla_opticalattenuator_";
    for (const char* newest : {"config_maxoutputpower", "config_maxoutputpowerthreshold", "state_maxoutputpower",
                               "state_maxoutputpowerthreshold", "state_systemderivedtargetoutputpower"}) {
        names.push_back(leaf + newest);
    }
    EXPECT_THAT(callback_names(*models_->context, module(kOpenConfig), "ox"), UnorderedElementsAreArray(names));
}

} // namespace
} // namespace zpf::test
