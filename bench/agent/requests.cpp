// SPDX-License-Identifier: Apache-2.0
//
// Texts of requests and of a device.
#include "requests.hpp"

#include <fmt/format.h>

#include <iterator>

namespace zpf::bench {

namespace {

constexpr const char* kOpenConfig = "http://openconfig.net/yang/optical-attenuator";

std::string tree(const std::string& attenuators)
{
    return fmt::format(R"(<optical-attenuator xmlns="{}"><attenuators>{}</attenuators></optical-attenuator>)",
                       kOpenConfig, attenuators);
}

std::string attenuator(const char* name, const std::string& attenuation_db)
{
    return fmt::format("<attenuator><name>{0}</name><config><name>{0}</name><attenuation>{1}</attenuation></config>"
                       "</attenuator>",
                       name, attenuation_db);
}

std::string one()
{
    return fmt::format(R"(<filter type="subtree">{}</filter>)",
                       tree(fmt::format("<attenuator><name>{}</name></attenuator>", kAttenuator)));
}

std::string edit(const std::string& attenuators)
{
    return fmt::format("<edit-config><target><running/></target><config>{}</config></edit-config>", tree(attenuators));
}

uint64_t tenths(uint64_t number)
{
    return number % 191 + 10; // 1.0 to 20.0 dB; netconfd takes smaller ones for negative
}

} // namespace

std::string get_all()
{
    return fmt::format(R"(<get><filter type="subtree"><optical-attenuator xmlns="{}"/></filter></get>)", kOpenConfig);
}

std::string get_one()
{
    return "<get>" + one() + "</get>";
}

std::string get_config_one()
{
    return "<get-config><source><running/></source>" + one() + "</get-config>";
}

std::string edit_one(uint64_t number)
{
    return edit(attenuator(kAttenuator, edited_db(number)));
}

std::string edited_db(uint64_t number)
{
    const uint64_t value = tenths(number);
    return value % 10 == 0 ? fmt::format("{}", value / 10) : fmt::format("{}.{}", value / 10, value % 10);
}

std::string edit_both()
{
    return edit(attenuator("0/0-VOA-BST0", "3.0") + attenuator(kAttenuator, "9.5"));
}

std::string native_seed(std::size_t interfaces)
{
    std::string text = R"(<data xmlns="urn:ietf:params:xml:ns:netconf:base:1.0"><interface-configurations )"
                       R"(xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-ifmgr-cfg">)";
    const auto out = std::back_inserter(text);
    static constexpr std::size_t kOts = 3;
    for (std::size_t i = kOts; i < interfaces; ++i) {
        fmt::format_to(out,
                       "<interface-configuration><active>act</active><interface-name>GigabitEthernet0/0/{}/{}"
                       "</interface-name><description>port {}</description></interface-configuration>",
                       i / 48, i % 48, i);
    }
    std::string ports;
    for (const auto& [port, value] : {std::pair{0, 30}, {1, 77}, {2, 95}}) {
        fmt::format_to(out,
                       "<interface-configuration><active>act</active><interface-name>Ots0/0/0/{}</interface-name>"
                       R"(<ots xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-controller-ots-cfg">)"
                       "<ots-tx-voa-attenuation>{}</ots-tx-voa-attenuation></ots></interface-configuration>",
                       port, value);
        ports += fmt::format("<ots-port><name>Ots0/0/0/{}</name><ots-info><tx-voa-attenuation>{}</tx-voa-attenuation>"
                             "</ots-info></ots-port>",
                             port, value);
    }
    fmt::format_to(out,
                   "</interface-configurations>"
                   R"(<ots-oper xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-controller-ots-oper">)"
                   "<ots-ports>{}</ots-ports></ots-oper></data>\n",
                   ports);
    return text;
}

} // namespace zpf::bench
