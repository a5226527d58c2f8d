# SPDX-License-Identifier: Apache-2.0
#
# Subtree and XPath filters, with-defaults, schemas, the YANG library and the monitoring data.
import re
import unittest

from lxml import etree

from configs import *
from support import AgentTest
from wire import elements, local

NSMAP = f'xmlns:o="{OC}" xmlns:a="{IFMGR}" xmlns:t="{OTS}" xmlns:p="{OPER}" xmlns:n="{NACM}"'
ENTRY = "/a:interface-configurations/a:interface-configuration"


class SubtreeFilters(AgentTest):
    """RFC 6241, section 6."""

    def interfaces(self, leaves):
        return {re.search(r"interface-name='([^']*)'", path)[1] for path in leaves}

    def test_no_filter_gives_everything_and_an_empty_one_nothing(self):
        everything = self.session.get_config()
        self.assertIn(native_path("Ots0/0/0/2"), everything)
        self.assertIn(oc_path(BST2), everything)
        reply = self.session.ok('<get-config><source><running/></source><filter type="subtree"/></get-config>')
        self.assertEqual(reply.leaves(), {})

    def test_a_selection_node_takes_the_subtree(self):
        leaves = self.session.get_config(native("<interface-configuration><interface-name/></interface-configuration>"))
        names = {"GigabitEthernet0/0/0/0", "Ots0/0/0/0", "Ots0/0/0/1", "Ots0/0/0/2"}
        self.assertEqual(set(leaves.values()) - {"act"}, names)
        self.assertFalse([path for path in leaves if not path.endswith(("/interface-name", "/active"))])

    def test_content_match_selects_entries(self):
        leaves = self.session.get_config(native(
            "<interface-configuration><interface-name>Ots0/0/0/2</interface-name></interface-configuration>"))
        self.assertEqual(self.interfaces(leaves), {"Ots0/0/0/2"})
        self.assertEqual(leaves[native_path("Ots0/0/0/2")], "95")

    def test_content_match_on_what_is_no_key(self):
        leaves = self.session.get_config(native(
            "<interface-configuration><description>uplink</description></interface-configuration>"))
        self.assertEqual(self.interfaces(leaves), {"GigabitEthernet0/0/0/0"})

    def test_content_match_beside_a_selection_cuts(self):
        leaves = self.session.get_config(native(
            "<interface-configuration><active>act</active><interface-name>Ots0/0/0/0</interface-name><description/>"
            "</interface-configuration>"))
        self.assertEqual(leaves, {native_path("Ots0/0/0/0", "active"): "act",
                                  native_path("Ots0/0/0/0", "interface-name"): "Ots0/0/0/0",
                                  native_path("Ots0/0/0/0", "description"): "b0"})

    def test_two_entries_are_a_union(self):
        leaves = self.session.get_config(native("".join(
            f"<interface-configuration><interface-name>Ots0/0/0/{n}</interface-name></interface-configuration>"
            for n in (0, 1))))
        self.assertEqual(self.interfaces(leaves), {"Ots0/0/0/0", "Ots0/0/0/1"})

    def test_several_trees_in_one_filter(self):
        leaves = self.session.get_config(oc() + native())
        self.assertIn(oc_path(BST2), leaves)
        self.assertIn(native_path("Ots0/0/0/2"), leaves)

    def test_elements_without_a_namespace_select_in_any(self):
        leaves = self.session.get_config('<interface-configurations xmlns="">'
                                         "<interface-configuration><interface-name>Ots0/0/0/1</interface-name>"
                                         "</interface-configuration></interface-configurations>")
        self.assertEqual(self.interfaces(leaves), {"Ots0/0/0/1"})

    def test_other_namespaces_and_names_select_nothing(self):
        for inner in (native().replace(IFMGR, "urn:example:none"), f'<nothing xmlns="{IFMGR}"/>',
                      native("<interface-configuration><colour/></interface-configuration>")):
            self.assertEqual(self.session.get_config(inner), {}, inner)

    def test_attribute_match_selects_nothing_where_data_have_no_attributes(self):
        inner = f'<interface-configurations xmlns="{IFMGR}" xmlns:x="urn:example:x" x:y="z"/>'
        self.assertEqual(self.session.get_config(inner), {})

        for inner in ('<attenuators foo="bar"/>', '<attenuators><attenuator foo="bar"/></attenuators>',
                      f'<attenuators><attenuator><name foo="bar">{BST2}</name></attenuator></attenuators>'):
            self.assertEqual(self.session.get_config(f'<optical-attenuator xmlns="{OC}">{inner}</optical-attenuator>'),
                             {}, inner)

    def test_get_config_has_no_state(self):
        self.assertFalse([path for path in self.session.get_config(oc()) if "/state/" in path])
        self.assertEqual(self.session.get_config(f'<ots-oper xmlns="{OPER}"/>'), {})

    def test_readings_are_read_natively(self):
        leaves = self.session.get(f'<ots-oper xmlns="{OPER}"><ots-ports><ots-port><name>Ots0/0/0/1</name></ots-port>'
                                  "</ots-ports></ots-oper>")
        self.assertEqual(leaves["/ots-oper/ots-ports/ots-port[name='Ots0/0/0/1']/ots-info/tx-voa-attenuation"], "77")
        self.assertFalse([path for path in leaves if "Ots0/0/0/2" in path])


class XPathFilters(AgentTest):
    def xpath(self, select, get=False, nsmap=NSMAP):
        select = select.replace("&", "&amp;").replace('"', "&quot;").replace("<", "&lt;")
        source = "" if get else "<source><running/></source>"
        word = "get" if get else "get-config"
        return self.session.rpc(f'<{word}>{source}<filter type="xpath" {nsmap} select="{select}"/></{word}>')

    def leaves(self, select, **options):
        reply = self.xpath(select, **options)
        self.assertFalse(reply.errors, reply.text)
        return reply.leaves()

    def test_a_path_with_keys_selects_an_entry_with_all_below(self):
        leaves = self.leaves(f"{ENTRY}[a:active='act'][a:interface-name='Ots0/0/0/0']")
        self.assertEqual(leaves[native_path("Ots0/0/0/0", "description")], "b0")
        self.assertFalse([path for path in leaves if "Ots0/0/0/0" not in path])

    def test_a_path_to_a_leaf_brings_the_keys_above_it(self):
        self.assertEqual(self.leaves(f"{ENTRY}[a:interface-name='Ots0/0/0/2']/t:ots/t:ots-tx-voa-attenuation"), {
            native_path("Ots0/0/0/2", "active"): "act", native_path("Ots0/0/0/2", "interface-name"): "Ots0/0/0/2",
            native_path("Ots0/0/0/2"): "95"})

    def test_the_client_s_tree_can_be_selected_from(self):
        leaves = self.leaves(f"/o:optical-attenuator/o:attenuators/o:attenuator[o:name='{BST2}']/o:config")
        self.assertEqual(leaves[oc_path(BST2)], "9.5")
        self.assertFalse([path for path in leaves if BST0 in path])
        state = self.leaves(f"/o:optical-attenuator/o:attenuators/o:attenuator[o:name='{BST2}']/o:state/o:enabled",
                            get=True)
        self.assertIn(oc_path(BST2, "state/enabled"), state)

    def test_unions(self):
        leaves = self.leaves(f"{ENTRY}[a:interface-name='Ots0/0/0/0'] | {ENTRY}[a:interface-name='Ots0/0/0/1']"
                             " | /o:optical-attenuator")
        self.assertIn(native_path("Ots0/0/0/0"), leaves)
        self.assertIn(native_path("Ots0/0/0/1"), leaves)
        self.assertNotIn(native_path("Ots0/0/0/2"), leaves)
        self.assertIn(oc_path(BST2), leaves)

    def test_predicates_on_values(self):
        for predicate, wanted in (("t:ots/t:ots-tx-voa-attenuation > 50", {"1", "2"}),
                                  ("t:ots/t:ots-tx-voa-attenuation < 50", {"0"}),
                                  ("t:ots/t:ots-tx-voa-attenuation = 95 or a:description = 'b0'", {"0", "2"}),
                                  ("t:ots and not(a:description)", {"1", "2"}),
                                  ("starts-with(a:interface-name, 'Ots') and contains(a:interface-name, '/2')", {"2"}),
                                  ("count(t:ots/*) = 2 and string-length(a:interface-name) = 10", {"0", "1", "2"})):
            with self.subTest(predicate):
                leaves = self.leaves(f"{ENTRY}[{predicate}]")
                self.assertEqual({re.search(r"Ots0/0/0/(\d)", path)[1] for path in leaves}, wanted)

    def test_paths_go_on_after_conditions(self):
        wanted = {native_path("Ots0/0/0/2", "active"): "act",
                  native_path("Ots0/0/0/2", "interface-name"): "Ots0/0/0/2", native_path("Ots0/0/0/2"): "95"}
        for predicate in ("[a:active='act' and a:interface-name='Ots0/0/0/2']",
                          "[a:interface-name='none' or t:ots/t:ots-tx-voa-attenuation=95]",
                          "[t:ots[t:ots-tx-voa-attenuation and 1=1]/t:ots-tx-voa-attenuation=95]"):
            with self.subTest(predicate):
                self.assertEqual(self.leaves(f"{ENTRY}{predicate}/t:ots/t:ots-tx-voa-attenuation"), wanted)
        for select in (f"{ENTRY}[a:active='none'][a:active and a:description]/t:ots",
                       "//a:nothing[a:active or a:description]/t:ots"):
            self.assertEqual(self.leaves(select), {}, select)

    def test_positions_axes_and_wildcards(self):
        self.assertEqual(self.leaves("//t:ots-tx-voa-attenuation[. = 77]")[native_path("Ots0/0/0/1")], "77")
        self.assertEqual(set(self.leaves("/a:interface-configurations/*[a:description = 'uplink']/a:description")
                             .values()), {"act", "GigabitEthernet0/0/0/0", "uplink"})
        self.assertEqual(len({path.rsplit("/", 1)[0] for path in self.leaves(f"{ENTRY}[last()]/a:interface-name")}), 1)
        self.assertIn(native_path("Ots0/0/0/2"), self.leaves("//t:ots-tx-voa-attenuation[. = 95]/ancestor::t:ots"))

    def test_the_root_is_everything(self):
        everything = self.session.get_config()
        self.assertEqual(self.leaves("/"), everything)
        self.assertEqual(self.leaves("/*"), everything)

    def test_one_that_selects_nothing_gives_nothing(self):
        self.assertEqual(self.leaves(f"{ENTRY}[a:interface-name='none']"), {})
        self.assertEqual(self.leaves("/a:interface-configurations[false()]"), {})

    def test_bad_expressions_are_refused(self):
        for select in ("/a:interface-configurations[", "/z:interface-configurations", "count(//a:active)", "'text'",
                       "/a:interface-configurations/unknown-function()", ""):
            with self.subTest(select):
                reply = self.xpath(select)
                self.assertTrue(reply.errors, reply.text)
                self.assertIn(reply.errors[0].tag, ("invalid-value", "bad-attribute", "missing-attribute",
                                                    "unknown-namespace"), reply.errors)

    def test_a_filter_without_select_or_of_another_type_is_refused(self):
        reply = self.session.rpc('<get><filter type="xpath"/></get>')
        self.assert_refused(reply, "missing-attribute", info=[("bad-attribute", "select"), ("bad-element", "filter")])
        self.assertTrue(self.session.rpc('<get><filter type="regex"/></get>').errors)


class Depth(AgentTest):
    """max-depth of get-data counts from each selected node (RFC 8526, 3.1.1)."""

    def read(self, filter_text, depth):
        reply = self.session.ok('<get-data xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-nmda" '
                                f'xmlns:ds="urn:ietf:params:xml:ns:yang:ietf-datastores" {NSMAP}>'
                                f"<datastore>ds:running</datastore>{filter_text}<max-depth>{depth}</max-depth></get-data>")
        return reply.text

    def test_it_counts_from_what_an_expression_selects(self):
        entry = f"/o:optical-attenuator/o:attenuators/o:attenuator[o:name='{BST2}']"
        leaf = self.read(f"<xpath-filter>{entry}/o:config/o:attenuation</xpath-filter>", 1)
        self.assertIn("<attenuation>9.5</attenuation>", leaf)
        alone = self.read(f"<xpath-filter>{entry}</xpath-filter>", 1)
        self.assertIn(f"<attenuator><name>{BST2}</name></attenuator>", alone)
        two = self.read(f"<xpath-filter>{entry}</xpath-filter>", 2)
        self.assertIn("<config/>", two)
        self.assertNotIn("<attenuation>", two)

    def test_it_counts_from_what_a_subtree_selects(self):
        top = self.read(f'<subtree-filter><optical-attenuator xmlns="{OC}"/></subtree-filter>', 1)
        self.assertRegex(top, r"<optical-attenuator [^>]*/>")


class Parameters(AgentTest):
    def test_one_that_stands_twice_is_refused(self):
        mode = ('<with-defaults xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults">report-all'
                "</with-defaults>")
        for inner, name in (("<filter/><filter/>", "filter"), (mode + mode, "with-defaults")):
            self.assert_refused(self.session.rpc(f"<get>{inner}</get>"), "bad-element", info=[("bad-element", name)])


class Defaults(AgentTest):
    def read(self, mode, filter_text, word="get-config"):
        source = "<source><running/></source>" if word == "get-config" else ""
        more = (f'<with-defaults xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults">{mode}</with-defaults>'
                if mode else "")
        return self.session.rpc(f'<{word}>{source}<filter type="subtree">{filter_text}</filter>{more}</{word}>')

    def test_modes(self):
        self.assertTrue(self.session.edit(nacm("<enable-nacm>true</enable-nacm><write-default>permit</write-default>")).ok)
        explicit = self.read("explicit", nacm()).leaves()
        self.assertEqual(explicit, {"/nacm/enable-nacm": "true", "/nacm/write-default": "permit"})
        self.assertEqual(self.read("", nacm()).leaves(), explicit)
        every = self.read("report-all", nacm()).leaves()
        self.assertEqual((every["/nacm/read-default"], every["/nacm/exec-default"]), ("permit", "permit"))
        self.assertEqual(self.read("trim", nacm()).leaves(), {"/nacm/write-default": "permit"})
        tagged = self.read("report-all-tagged", nacm())
        tags = {etree.QName(node).localname: node.get("{urn:ietf:params:xml:ns:netconf:default:1.0}default")
                for node in tagged.root.iter() if isinstance(node.tag, str)}
        self.assertEqual((tags["read-default"], tags["write-default"]), ("true", None))

    def test_unknown_mode_is_refused(self):
        self.assert_refused(self.read("all", nacm()), "invalid-value", info=[("bad-element", "with-defaults")])

    def test_modes_apply_to_get_as_well(self):
        self.assertIn("/nacm/read-default", self.read("report-all", nacm(), "get").leaves())
        self.assertNotIn("/nacm/read-default", self.read("", nacm(), "get").leaves())


class Schemas(AgentTest):
    def schemas(self):
        data = self.session.ok(f'<get><filter type="subtree"><netconf-state xmlns="{MONITORING}"><schemas/>'
                               "</netconf-state></filter></get>").data
        return [{local(leaf): leaf.text or "" for leaf in elements(schema)} for schema in elements(data[0][0])]

    def get_schema(self, inner):
        return self.session.rpc(f'<get-schema xmlns="{MONITORING}">{inner}</get-schema>')

    def test_every_schema_that_is_listed_can_be_fetched(self):
        schemas = self.schemas()
        self.assertGreater(len(schemas), 20)
        for schema in schemas:
            name, revision = schema["identifier"], schema["version"]
            version = f"<version>{revision}</version>" if revision else ""
            reply = self.get_schema(f"<identifier>{name}</identifier>{version}<format>yang</format>")
            self.assertFalse(reply.errors, reply.text)
            self.assertRegex(reply.data.text, rf"module\s+{re.escape(name)}\s*{{")
            self.assertIn(schema["namespace"], reply.data.text)
            self.assertIn(revision, reply.data.text)

    def test_every_announced_module_is_listed(self):
        listed = {(schema["identifier"], schema["version"]) for schema in self.schemas()}
        for capability in self.session.capabilities:
            module = re.search(r"[?&]module=([^&]+)&revision=([^&]+)", capability)
            if module:
                self.assertIn((module[1], module[2]), listed)

    def test_what_is_not_there_is_refused(self):
        self.assert_refused(self.get_schema("<identifier>no-such</identifier>"), "invalid-value")
        self.assert_refused(self.get_schema("<identifier>ietf-netconf</identifier><version>1999-01-01</version>"),
                            "invalid-value")
        self.assert_refused(self.get_schema("<identifier>ietf-netconf</identifier><format>yin</format>"),
                            "invalid-value")
        self.assert_refused(self.get_schema(""), "missing-element")

    def test_the_library_lists_the_same_modules(self):
        data = self.session.ok('<get><filter type="subtree"><yang-library '
                               'xmlns="urn:ietf:params:xml:ns:yang:ietf-yang-library"/></filter></get>')
        content_id = re.search(r"<content-id>([^<]+)</content-id>", data.text)[1]
        self.assertTrue(any(f"content-id={content_id}" in capability for capability in self.session.capabilities))
        names = set(re.findall(r"<module><name>([^<]+)</name>", data.text))
        self.assertLessEqual({"openconfig-optical-attenuator", "ietf-netconf-nmda", "ietf-datastores",
                              "Quarn-KMT-VN-ifmgr-cfg"}, names)
        for store in ("running", "candidate", "operational"):
            self.assertRegex(data.text, rf"<name[^>]*>[a-z]+:{store}</name>")

    def test_monitoring_counts_this_session(self):
        for _ in range(3):
            self.session.rpc("<validate/>")
        data = self.session.ok(f'<get><filter type="subtree"><netconf-state xmlns="{MONITORING}"><sessions/>'
                               "</netconf-state></filter></get>").data
        own = next(entry for entry in elements(data[0][0])
                   if {local(x): x.text for x in elements(entry)}["session-id"] == str(self.session.session_id))
        leaves = {local(x): x.text for x in elements(own)}
        self.assertEqual(leaves["out-rpc-errors"], "3")
        self.assertEqual(leaves["in-rpcs"], "5")  # the reset before the test, the three, and this one
        self.assertIn("username", leaves)


class Counters(AgentTest):
    def test_requests_and_refusals_are_counted(self):
        before = self.agent_state()
        self.session.edit(oc(attenuator(BST2, "4")))
        self.session.edit(oc(attenuator(BST2, "21")))
        after = self.agent_state()
        grown = lambda path: int(after.get(path, 0)) - int(before.get(path, 0))
        self.assertEqual(grown("/agent/request[operation='edit-config']/done"), 1)
        self.assertEqual(grown("/agent/request[operation='edit-config']/refused"), 1)
        self.assertEqual(grown("/agent/refusal[tag='invalid-value']/count"), 1)
        self.assertGreaterEqual(grown("/agent/store/edits"), 1)

    def agent_state(self):
        data = self.session.ok(f'<get><filter type="subtree"><agent xmlns="{AGENT}"/></filter></get>').data
        found = {}
        for top in etree.ElementTree(data).iter():
            if local(top) in ("request", "refusal") and len(top):
                key = elements(top)[0]
                for leaf in elements(top)[1:]:
                    found[f"/agent/{local(top)}[{local(key)}='{key.text}']/{local(leaf)}"] = leaf.text
            if local(top) == "store":
                found.update({f"/agent/store/{local(leaf)}": leaf.text for leaf in elements(top)})
        return found


if __name__ == "__main__":
    unittest.main()
