// SPDX-License-Identifier: Apache-2.0
//
// The device and the requests that are measured. Texts stand without blanks between elements, as clients send them.
#pragma once

namespace zpf::bench {

/// Two attenuators, two other interfaces; configuration and state.
inline constexpr const char* kNative = R"(<data xmlns="urn:ietf:params:xml:ns:netconf:base:1.0">
<interface-configurations xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-ifmgr-cfg">
  <interface-configuration>
    <active>act</active><interface-name>GigabitEthernet0/0/0/0</interface-name><description>uplink</description>
  </interface-configuration>
  <interface-configuration>
    <active>act</active><interface-name>Ots0/0/0/0</interface-name>
    <ots xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-controller-ots-cfg">
      <ots-tx-voa-attenuation>30</ots-tx-voa-attenuation>
    </ots>
  </interface-configuration>
  <interface-configuration>
    <active>act</active><interface-name>Ots0/0/0/1</interface-name>
    <ots xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-controller-ots-cfg">
      <ots-tx-voa-attenuation>77</ots-tx-voa-attenuation>
    </ots>
  </interface-configuration>
  <interface-configuration>
    <active>act</active><interface-name>Ots0/0/0/2</interface-name>
    <ots xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-controller-ots-cfg">
      <ots-tx-voa-attenuation>95</ots-tx-voa-attenuation>
    </ots>
  </interface-configuration>
</interface-configurations>
<ots-oper xmlns="http://quarn.example/ns/yang/Quarn-KMT-VN-controller-ots-oper">
  <ots-ports>
    <ots-port><name>Ots0/0/0/0</name><ots-info><tx-voa-attenuation>31</tx-voa-attenuation></ots-info></ots-port>
    <ots-port><name>Ots0/0/0/1</name><ots-info><tx-voa-attenuation>76</tx-voa-attenuation></ots-info></ots-port>
    <ots-port><name>Ots0/0/0/2</name><ots-info><tx-voa-attenuation>96</tx-voa-attenuation></ots-info></ots-port>
  </ots-ports>
</ots-oper>
</data>)";

inline constexpr const char* kEditOneLeaf =
    R"(<optical-attenuator xmlns="http://openconfig.net/yang/optical-attenuator"><attenuators><attenuator>)"
    R"(<name>0/0-VOA-BST2</name><config><name>0/0-VOA-BST2</name><attenuation>12.5</attenuation></config>)"
    R"(</attenuator></attenuators></optical-attenuator>)";

inline constexpr const char* kEditRefused =
    R"(<optical-attenuator xmlns="http://openconfig.net/yang/optical-attenuator"><attenuators><attenuator>)"
    R"(<name>0/0-VOA-BST2</name><config><name>0/0-VOA-BST2</name><attenuation>20.01</attenuation></config>)"
    R"(</attenuator></attenuators></optical-attenuator>)";

inline constexpr const char* kGetOneEntry =
    R"(<optical-attenuator xmlns="http://openconfig.net/yang/optical-attenuator"><attenuators><attenuator>)"
    R"(<name>0/0-VOA-BST2</name></attenuator></attenuators></optical-attenuator>)";

inline constexpr const char* kGetEverything =
    R"(<optical-attenuator xmlns="http://openconfig.net/yang/optical-attenuator"/>)";

} // namespace zpf::bench
