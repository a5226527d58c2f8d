# SPDX-License-Identifier: Apache-2.0
#
# Namespace URIs of the four modules: what clients send and what the device's own models carry. They are compared as
# whole strings, so a device whose models have other URIs is built with other values here and nothing else changes.
set(ZPF_NATIVE_NS_BASE "http://quarn.example/ns/yang/")
set(ZPF_NS_OPENCONFIG_OPTICAL_ATTENUATOR "http://openconfig.net/yang/optical-attenuator" CACHE STRING
    "Namespace URI of openconfig-optical-attenuator")
set(ZPF_NS_IFMGR_CFG "${ZPF_NATIVE_NS_BASE}Quarn-KMT-VN-ifmgr-cfg" CACHE STRING
    "Namespace URI of Quarn-KMT-VN-ifmgr-cfg")
set(ZPF_NS_CONTROLLER_OTS_CFG "${ZPF_NATIVE_NS_BASE}Quarn-KMT-VN-controller-ots-cfg" CACHE STRING
    "Namespace URI of Quarn-KMT-VN-controller-ots-cfg")
set(ZPF_NS_CONTROLLER_OTS_OPER "${ZPF_NATIVE_NS_BASE}Quarn-KMT-VN-controller-ots-oper" CACHE STRING
    "Namespace URI of Quarn-KMT-VN-controller-ots-oper")
configure_file(${PROJECT_SOURCE_DIR}/cmake/namespaces.h.in ${PROJECT_BINARY_DIR}/generated/zpf_namespaces.h @ONLY)
