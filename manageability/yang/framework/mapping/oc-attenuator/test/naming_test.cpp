// SPDX-License-Identifier: Apache-2.0
//
// Attenuator and controller names, and the conversions between them.
#include "plugin_fixture.hpp"

#include <cstring>
#include <random>

namespace {

using test::Plugin;

struct ControllerCase {
    const char* controller;
    int32_t valid;
    const char* attenuator; /**< "untouched" where nothing is written. */
};

const ControllerCase kControllers[] = {
    {"Ots0/0/0/0", 1, "0/0-VOA-BST0"},
    {"Ots0/0/0/2", 1, "0/0-VOA-BST2"},
    {"Ots0/0/0/02", 1, "0/0-VOA-BST2"},
    {"Ots0/0/0/2/1", 1, "0/0-VOA-BST2"},
    {"Ots0/0/0/1", 0, "untouched"},
    {"Ots0/0/0/3", 0, "untouched"},
    {"Ots0/0/0/4", 0, "untouched"},
    {"Ots0/0/0/25", 0, "untouched"},
    {"Ots0/0/0/-2", 0, "untouched"},
    {"Ots0/0/0/", 0, "untouched"},
    {"Ots0/0/0", 0, "untouched"},
    {"XOts0/0/0/2", 0, "untouched"},
    {"GigabitEthernet0/0/0/0", 0, "untouched"},
    {"", 0, "untouched"},
};

class ControllerName : public test::PluginTest {};

TEST_F(ControllerName, IsValidForTheTwoAttenuatorPortsOnly)
{
    auto* is_valid = Plugin::shared().get<int32_t(zpf_map_ctx, const char*, char*)>("is_controller_name_valid");
    for (const ControllerCase& each : kControllers) {
        char name[20] = "untouched";
        EXPECT_EQ(is_valid(framework.ctx(), each.controller, name), each.valid) << each.controller;
        EXPECT_STREQ(name, each.attenuator) << each.controller;
    }
}

TEST_F(ControllerName, BecomesAnAttenuatorNameForTheTwoAttenuatorPortsOnly)
{
    auto* convert = Plugin::shared().get<void(const char*, char*)>("ots_ctrl_key_to_atten_key");
    for (const ControllerCase& each : kControllers) {
        char name[20] = "untouched";
        convert(each.controller, name);
        EXPECT_STREQ(name, each.attenuator) << each.controller;
    }
}

TEST_F(ControllerName, IsReportedWithItsAttenuatorOrAsDiscarded)
{
    auto* is_valid = Plugin::shared().get<int32_t(zpf_map_ctx, const char*, char*)>("is_controller_name_valid");
    framework.logs_trace = true;
    framework.logs_error = true;
    char name[20] = "";
    is_valid(framework.ctx(), "Ots0/0/0/2", name);
    is_valid(framework.ctx(), "Ots0/0/0/7", name);
    EXPECT_THAT(framework.messages("TRC"),
                ::testing::ElementsAre("controller_name = Ots0/0/0/2", "attenuator_name = 0/0-VOA-BST2",
                                       "controller_name = Ots0/0/0/7"));
    EXPECT_THAT(framework.messages("ERR"),
                ::testing::ElementsAre("Invalid controller_name [Ots0/0/0/7] and port id [7], discard it!"));
}

TEST_F(ControllerName, ListHoldsTheTwoControllersAndEnds)
{
    auto** list = Plugin::shared().get<const char*>("controller_att_ots_list");
    EXPECT_STREQ(list[0], "Ots0/0/0/0");
    EXPECT_STREQ(list[1], "Ots0/0/0/2");
    EXPECT_EQ(list[2], nullptr);
}

struct AttenuatorCase {
    const char* attenuator;
    const char* port;
};

const AttenuatorCase kAttenuators[] = {
    {"0/0-VOA-BST0", "0"},
    {"0/0-VOA-BST2", "2"},
    {"0/0-VOA-BST7", "7"},
    {"0/0-VOA-BST02", "2"},
    {"0/0-VOA-BST25", "25"},
    {"0/0-VOA-BST2 x", "2"},
    {"0/0-VOA-BST", "-1"},
    {"0/0-VOA-", "-1"},
    {"foo", "-1"},
    {"x0/0-VOA-BST2y", "-1"},
    {"", "-1"},
    // Only nine characters of the word are read: the rest of the digits is not seen.
    {"0/0-VOA-BST1234567890", "123456"},
    {"0/0-VOA-aVeryLongWordThatIsNoPort", "-1"},
};

TEST(AttenuatorName, BecomesTheThreeControllerKeys)
{
    for (const auto& [function, prefix] : {std::pair{"atten_key_to_ots_ctrl_key", "Ots0/0/0/"},
                                           std::pair{"atten_key_to_kelda_ots_ctrl_key", "Ots0_0_0_"},
                                           std::pair{"convert_attenuator_key_to_otsctrl_port", "0/0-OtsCtrl-0/"}}) {
        auto* convert = Plugin::shared().get<void(const char*, char*)>(function);
        for (const AttenuatorCase& each : kAttenuators) {
            char key[200];
            std::memset(key, 'x', sizeof key);
            convert(each.attenuator, key);
            EXPECT_EQ(key, std::string{prefix} + each.port) << function << " of " << each.attenuator;
        }
    }
}

TEST_F(ControllerName, LeadsBackToTheAttenuatorItCameFrom)
{
    auto* to_controller = Plugin::shared().get<void(const char*, char*)>("atten_key_to_ots_ctrl_key");
    auto* is_valid = Plugin::shared().get<int32_t(zpf_map_ctx, const char*, char*)>("is_controller_name_valid");
    for (const char* attenuator : {"0/0-VOA-BST0", "0/0-VOA-BST2"}) {
        char controller[200];
        char back[20] = "";
        to_controller(attenuator, controller);
        EXPECT_EQ(is_valid(framework.ctx(), controller, back), 1);
        EXPECT_STREQ(back, attenuator);
    }
}

/** Text made of pieces of names, so that most cases are nearly one. */
std::string random_name(std::mt19937& random)
{
    static const char* const pieces[] = {"Ots0/0/0/", "Ots0/0/0", "0/0-VOA-", "BST",         "0",           "2",
                                         "1",         " ",        "-",        "+",           "\t",          "x",
                                         "02",        "25",       "0x2",      "99999999999", "0/0-VOA-BST2"};
    std::string name;
    for (std::size_t i = 0, count = random() % 5; i < count; ++i) {
        name += pieces[random() % std::size(pieces)];
    }
    return name;
}

TEST_F(ControllerName, IsReadAsAScanOfItsFormReadsIt)
{
    auto* is_valid = Plugin::shared().get<int32_t(zpf_map_ctx, const char*, char*)>("is_controller_name_valid");
    std::mt19937 random{1};
    for (int i = 0; i < 20000; ++i) {
        const std::string name = random_name(random);
        int port = -1;
        std::sscanf(name.c_str(), "Ots0/0/0/%d", &port);
        char attenuator[20] = "";
        ASSERT_EQ(is_valid(framework.ctx(), name.c_str(), attenuator), port == 0 || port == 2 ? 1 : 0) << name;
    }
}

TEST(AttenuatorName, IsReadAsAScanOfItsFormReadsIt)
{
    auto* convert = Plugin::shared().get<void(const char*, char*)>("atten_key_to_ots_ctrl_key");
    std::mt19937 random{2};
    for (int i = 0; i < 20000; ++i) {
        const std::string name = random_name(random);
        int port = -1;
        char word[10] = "";
        std::sscanf(name.c_str(), "0/0-VOA-%9s", word);
        std::sscanf(word, "BST%d", &port);
        char controller[200];
        convert(name.c_str(), controller);
        ASSERT_EQ(controller, "Ots0/0/0/" + std::to_string(port)) << name;
    }
}

} // namespace
