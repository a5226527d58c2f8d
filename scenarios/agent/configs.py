# SPDX-License-Identifier: Apache-2.0
#
# Configuration and filters as text, in the two models and in that of the access rules.
"""Texts that tests send."""

OC = "http://openconfig.net/yang/optical-attenuator"
IFMGR = "http://quarn.example/ns/yang/Quarn-KMT-VN-ifmgr-cfg"
OTS = "http://quarn.example/ns/yang/Quarn-KMT-VN-controller-ots-cfg"
OPER = "http://quarn.example/ns/yang/Quarn-KMT-VN-controller-ots-oper"
NACM = "urn:ietf:params:xml:ns:yang:ietf-netconf-acm"
AGENT = "urn:zpf:yang:zpf-agent"
MONITORING = "urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"
NMDA = "urn:ietf:params:xml:ns:yang:ietf-netconf-nmda"
NC = 'xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0"'

BST0, BST2 = "0/0-VOA-BST0", "0/0-VOA-BST2"
CONTROLLER = {BST0: "Ots0/0/0/0", BST2: "Ots0/0/0/2"}


def operation(word):
    return f' {NC} nc:operation="{word}"' if word else ""


def oc(inner="", op=""):
    """OpenConfig's tree down to `attenuators`; `inner` holds entries."""
    return f'<optical-attenuator xmlns="{OC}"><attenuators{operation(op)}>{inner}</attenuators></optical-attenuator>'


def attenuator(name, db=None, op="", leaf_op=""):
    """An entry of OpenConfig's; without `db` it has its name alone. An empty `db` gives a leaf without a value."""
    config = "" if db is None else f"<config><attenuation{operation(leaf_op)}>{db}</attenuation></config>"
    return f"<attenuator{operation(op)}><name>{name}</name>{config}</attenuator>"


def native(inner="", op=""):
    return f'<interface-configurations xmlns="{IFMGR}"{operation(op)}>{inner}</interface-configurations>'


def interface(name, inner="", op="", active="act"):
    return (f"<interface-configuration{operation(op)}><active>{active}</active><interface-name>{name}</interface-name>"
            f"{inner}</interface-configuration>")


def ots(inner="", op=""):
    return f'<ots xmlns="{OTS}"{operation(op)}>{inner}</ots>'


def voa(tenths, op=""):
    return f"<ots-tx-voa-attenuation{operation(op)}>{tenths}</ots-tx-voa-attenuation>"


def controller(name, tenths):
    """A native entry with an attenuation."""
    return native(interface(name, ots(voa(tenths))))


def native_path(name, leaf="ots/ots-tx-voa-attenuation"):
    return (f"/interface-configurations/interface-configuration[active='act'][interface-name='{name}']/{leaf}")


def oc_path(name, leaf="config/attenuation"):
    return f"/optical-attenuator/attenuators/attenuator[name='{name}']/{leaf}"


def nacm(inner="", op=""):
    return f'<nacm xmlns="{NACM}"{operation(op)}>{inner}</nacm>'


def permit_all(user):
    """Rules that let one user do everything."""
    return nacm(f"<groups><group><name>all</name><user-name>{user}</user-name></group></groups>"
                "<rule-list><name>all</name><group>all</group><rule><name>all</name><module-name>*</module-name>"
                "<access-operations>*</access-operations><action>permit</action></rule></rule-list>")


def inject(port, kind, value=None):
    more = "" if value is None else f"<value>{value}</value>"
    return f'<inject-fault xmlns="{AGENT}"><port>{port}</port><kind>{kind}</kind>{more}</inject-fault>'


def clear(port):
    return f'<clear-fault xmlns="{AGENT}"><port>{port}</port></clear-fault>'


SUBSCRIBE = '<create-subscription xmlns="urn:ietf:params:xml:ns:netconf:notification:1.0">{}</create-subscription>'
