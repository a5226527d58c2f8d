# SPDX-License-Identifier: Apache-2.0
#
# edit-config on the client's tree, on the native ones and on the access rules: every operation where something is and
# where nothing is, default-operation, test-option, error-option, copy-config, validate.
import unittest

from configs import *
from support import AgentTest, wait_until

ABSENT, REFUSED_EXISTS, REFUSED_MISSING = None, "data-exists", "data-missing"


class Operations(AgentTest):
    """What each operation makes of a leaf or an entry: a value, nothing (ABSENT), or a refusal's tag."""

    WHERE_SOMETHING_IS = {"merge": "NEW", "replace": "NEW", "create": REFUSED_EXISTS, "delete": ABSENT, "remove": ABSENT}
    WHERE_NOTHING_IS = {"merge": "NEW", "replace": "NEW", "create": "NEW", "delete": REFUSED_MISSING, "remove": ABSENT}

    def check(self, table, prepare, make, path, new, old):
        """make(op) gives the configuration of the edit; `path` is looked at afterwards."""
        for word, outcome in table.items():
            with self.subTest(word):
                self.setUp()
                for config in prepare:
                    reply = self.session.edit(config)
                    self.assertTrue(reply.ok, reply.text)
                before = self.session.get_config()
                self.assertEqual(before.get(path), old)
                reply = self.session.edit(make(word))
                after = self.session.get_config()
                if outcome in (REFUSED_EXISTS, REFUSED_MISSING):
                    self.assert_refused(reply, outcome)
                    self.assertEqual(after, before)
                else:
                    self.assertTrue(reply.ok, reply.text)
                    self.assertEqual(after.get(path), new if outcome == "NEW" else None)

    def test_on_a_native_leaf(self):
        path = native_path("Ots0/0/0/2")
        make = lambda word: native(interface("Ots0/0/0/2", ots(voa(50, word))))
        self.check(self.WHERE_SOMETHING_IS, [], make, path, "50", "95")
        gone = native(interface("Ots0/0/0/2", ots(voa(95, "delete"))))
        self.check(self.WHERE_NOTHING_IS, [gone], make, path, "50", None)

    def test_on_a_native_entry(self):
        path = native_path("Ots0/0/0/7", "description")
        make = lambda word: native(interface("Ots0/0/0/7", "<description>new</description>", word))
        self.check(self.WHERE_NOTHING_IS, [], make, path, "new", None)
        there = native(interface("Ots0/0/0/7", "<description>old</description>"))
        self.check(self.WHERE_SOMETHING_IS, [there], make, path, "new", "old")

    def test_on_a_native_container(self):
        path = native_path("Ots0/0/0/2")
        make = lambda word: native(interface("Ots0/0/0/2", ots(voa(50), word)))
        self.check(self.WHERE_SOMETHING_IS, [], make, path, "50", "95")

    def test_on_a_list_in_a_native_list(self):
        path = native_path("Ots0/0/0/2", "ots/raman-tx-powers/raman-tx-power[raman-tx-power-instance='3']"
                           "/raman-tx-power-value")
        pump = lambda word, mw: native(interface("Ots0/0/0/2", ots(
            f"<raman-tx-powers><raman-tx-power{operation(word)}><raman-tx-power-instance>3</raman-tx-power-instance>"
            f"<raman-tx-power-value>{mw}</raman-tx-power-value></raman-tx-power></raman-tx-powers>")))
        self.check(self.WHERE_NOTHING_IS, [], lambda word: pump(word, 300), path, "300", None)
        self.check(self.WHERE_SOMETHING_IS, [pump("", 100)], lambda word: pump(word, 300), path, "300", "100")

    def test_on_a_leaf_of_the_client_s_tree(self):
        path = oc_path(BST2)
        make = lambda word: oc(attenuator(BST2, "5.0", leaf_op=word))
        self.check(self.WHERE_SOMETHING_IS, [], make, path, "5.0", "9.5")
        gone = oc(attenuator(BST2, "9.5", leaf_op="delete"))
        self.check(self.WHERE_NOTHING_IS, [gone], make, path, "5.0", None)

    def test_on_an_entry_of_the_client_s_tree(self):
        path = oc_path(BST2)
        make = lambda word: oc(attenuator(BST2, "5.0", op=word))
        self.check(self.WHERE_SOMETHING_IS, [], make, path, "5.0", "9.5")
        gone = native(interface("Ots0/0/0/2", op="delete"))
        self.check(self.WHERE_NOTHING_IS, [gone], make, path, "5.0", None)

    def test_on_a_leaf_and_an_entry_of_the_access_rules(self):
        leaf = lambda word: nacm(f"<write-default{operation(word)}>permit</write-default>")
        self.check(self.WHERE_NOTHING_IS, [], leaf, "/nacm/write-default", "permit", None)
        deny = nacm("<write-default>deny</write-default>")
        self.check(self.WHERE_SOMETHING_IS, [deny], leaf, "/nacm/write-default", "permit", "deny")
        group = lambda word, user: nacm(f"<groups><group{operation(word)}><name>g</name><user-name>{user}</user-name>"
                                        "</group></groups>")
        path = "/nacm/groups/group[name='g']/user-name"
        self.check(self.WHERE_NOTHING_IS, [], lambda word: group(word, "new"), path, "new", None)

    def test_replace_of_a_native_entry_takes_what_is_not_named(self):
        self.session.edit(native(interface("Ots0/0/0/0", ots(voa(10)), "replace")))
        left = {path: value for path, value in self.session.get_config(native()).items() if "Ots0/0/0/0" in path}
        self.assertEqual(left, {native_path("Ots0/0/0/0", "active"): "act",
                                native_path("Ots0/0/0/0", "interface-name"): "Ots0/0/0/0",
                                native_path("Ots0/0/0/0"): "10"})

    def test_delete_of_the_native_tree_empties_both_views(self):
        self.assertTrue(self.session.edit(native(op="delete")).ok)
        self.assertEqual(self.session.get_config(native()), {})
        self.assertEqual(self.session.get_config(oc()), {})

    def test_unknown_operation_is_refused(self):
        for config in (native(interface("Ots0/0/0/2", op="erase")), oc(attenuator(BST2, "1", op="erase"))):
            self.assert_refused(self.session.edit(config), "bad-attribute")


class Options(AgentTest):
    def edit(self, options, config, target="running"):
        return self.session.edit(config, target, options)

    def voa(self):
        return self.session.get_config(native())[native_path("Ots0/0/0/2")]

    def test_default_operation_none_changes_nothing_by_itself(self):
        self.assertTrue(self.edit("<default-operation>none</default-operation>",
                                  native(interface("Ots0/0/0/2", ots(voa(50))))).ok)
        self.assertEqual(self.voa(), "95")
        self.assertTrue(self.edit("<default-operation>none</default-operation>",
                                  native(interface("Ots0/0/0/2", ots(voa(50, "replace"))))).ok)
        self.assertEqual(self.voa(), "50")

    def test_default_operation_replace_takes_the_rest_of_the_tree(self):
        self.assertTrue(self.edit("<default-operation>replace</default-operation>", controller("Ots0/0/0/2", 7)).ok)
        self.assertEqual(self.session.get_config(native()), {
            native_path("Ots0/0/0/2", "active"): "act", native_path("Ots0/0/0/2", "interface-name"): "Ots0/0/0/2",
            native_path("Ots0/0/0/2"): "7"})

    def test_unknown_options_are_refused(self):
        config = controller("Ots0/0/0/2", 7)
        for options, bad in (("<default-operation>create</default-operation>", "default-operation"),
                             ("<test-option>never</test-option>", "test-option"),
                             ("<error-option>panic</error-option>", "error-option")):
            self.assert_refused(self.edit(options, config), "invalid-value", info=[("bad-element", bad)])
        self.assert_refused(self.edit("<colour>red</colour>", config), "unknown-element", info=[("bad-element", "colour")])
        self.assertEqual(self.voa(), "95")

    def test_a_leaf_that_stands_twice_is_refused(self):
        twice = "<description>one</description><description>two</description>"
        self.assert_refused(self.session.edit(native(interface("Ots0/0/0/2", twice))), "bad-element",
                            info=[("bad-element", "description")])
        self.assertNotIn(native_path("Ots0/0/0/2", "description"), self.session.get_config())

    def test_parameters_that_stand_twice_are_refused(self):
        config = f"<config>{controller('Ots0/0/0/2', 7)}</config>"
        running = "<target><running/></target>"
        for name, inner, bad in (
                ("edit-config", running + config + config, "config"),
                ("edit-config", "<target><running/><candidate/></target>" + config, "candidate"),
                ("edit-config", running + 2 * "<default-operation>merge</default-operation>" + config,
                 "default-operation"),
                ("copy-config", f"{running}<source>{config}{config}</source>", "config")):
            reply = self.session.rpc(f"<{name}>{inner}</{name}>")
            self.assert_refused(reply, "bad-element", type="protocol", info=[("bad-element", bad)])
        self.assertEqual(self.voa(), "95")

    def test_unknown_attributes_are_refused(self):
        for attributes in ('operation="delete"', f'{NC} nc:insert="first"'):
            bad = "operation" if attributes.startswith("o") else "insert"
            for config in (native(f"<interface-configuration {attributes}><active>act</active><interface-name>Ots0/0/0/2"
                                  "</interface-name></interface-configuration>"),
                           oc(f"<attenuator {attributes}><name>{BST2}</name></attenuator>")):
                name = "attenuator" if OC in config else "interface-configuration"
                self.assert_refused(self.edit("", config), "unknown-attribute",
                                    info=[("bad-attribute", bad), ("bad-element", name)])

    def test_test_only_judges_and_changes_nothing(self):
        only = "<test-option>test-only</test-option>"
        self.assertTrue(self.edit(only, controller("Ots0/0/0/2", 7)).ok)
        self.assert_refused(self.edit(only, controller("Ots0/0/0/2", 201)), "invalid-value")
        self.assert_refused(self.edit(only, oc(attenuator(BST2, "20.01"))), "invalid-value")
        self.assertEqual(self.voa(), "95")

    def test_every_error_option_leaves_nothing_of_a_refused_edit(self):
        half = controller("Ots0/0/0/2", 7) + controller("Ots0/0/0/0", 201)
        for word in ("stop-on-error", "continue-on-error", "rollback-on-error"):
            self.assert_refused(self.edit(f"<error-option>{word}</error-option>", half), "invalid-value")
            self.assertEqual(self.voa(), "95")

    def test_one_edit_of_both_trees_is_all_or_nothing(self):
        both = oc(attenuator(BST0, "1.0")) + controller("Ots0/0/0/2", 7)
        self.assertTrue(self.session.edit(both).ok)
        self.assertEqual((self.voa(), self.session.get_config(oc())[oc_path(BST0)]), ("7", "1.0"))
        bad = oc(attenuator(BST0, "2.0")) + controller("Ots0/0/0/2", 999)
        self.assert_refused(self.session.edit(bad), "invalid-value")
        self.assertEqual((self.voa(), self.session.get_config(oc())[oc_path(BST0)]), ("7", "1.0"))

    def test_a_change_in_one_tree_is_seen_in_the_other_at_once(self):
        self.session.edit(oc(attenuator(BST2, "12.34")))
        self.assertEqual(self.voa(), "123")
        self.session.edit(controller("Ots0/0/0/2", 45))
        self.assertEqual(self.session.get_config(oc())[oc_path(BST2)], "4.5")

    def test_state_follows_the_configuration(self):
        self.session.edit(oc(attenuator(BST2, "12.5")))
        leaf = oc_path(BST2, "state/actual-attenuation/instant")
        wait_until(lambda: self.session.get(oc()).get(leaf) == "12.5", "the new attenuation")

    def test_what_the_device_refuses_is_not_configured(self):
        self.session.ok(inject("Ots0/0/0/2", "refuse-value", 60))
        self.addCleanup(self.session.ok, clear("Ots0/0/0/2"))
        error = self.assert_refused(self.session.edit(oc(attenuator(BST2, "6"))), "operation-failed",
                                    app_tag="device-refused")
        self.assertIn("Ots0/0/0/2", error.path)
        self.assertEqual(self.voa(), "95")
        self.assertTrue(self.session.edit(oc(attenuator(BST2, "6.1"))).ok)

    def test_text_in_place_of_a_tree_is_refused(self):
        self.assert_refused(self.session.edit("text"), "bad-element")
        self.assert_refused(self.session.edit(native("text")), "bad-element")

    def test_keys_that_are_too_long_to_store_are_refused(self):
        error = self.assert_refused(self.session.edit(native(interface("k" * 600))), "too-big")
        self.assertFalse(error.path.startswith("/config/"), "a record's name is no path: " + error.path)
        self.assertTrue(self.session.edit(native(interface("k" * 300))).ok)

    def test_a_megabyte_in_a_leaf_is_kept(self):
        text = "y" * 1_000_000
        self.assertTrue(self.session.edit(native(interface("Ots0/0/0/0", f"<description>{text}</description>"))).ok)
        self.assertEqual(self.session.get_config(native())[native_path("Ots0/0/0/0", "description")], text)

    def test_edits_without_a_target_or_configuration_are_refused(self):
        for inner, bad in (("<config/>", "target"), ("<target><running/></target>", "config")):
            self.assert_refused(self.session.rpc(f"<edit-config>{inner}</edit-config>"), "missing-element",
                                type="protocol", info=[("bad-element", bad)])
        for store in ("startup", "url"):
            reply = self.session.rpc(f"<edit-config><target><{store}/></target><config/></edit-config>")
            self.assert_refused(reply, "operation-not-supported")


class WholeConfigurations(AgentTest):
    def copy(self, target, source):
        return self.session.rpc(f"<copy-config><target>{target}</target><source>{source}</source></copy-config>")

    def test_copy_from_given_content_makes_exactly_that(self):
        reply = self.copy("<running/>", f"<config>{controller('Ots0/0/0/0', 12)}</config>")
        self.assertTrue(reply.ok, reply.text)
        self.assertEqual(self.session.get_config(native()), {
            native_path("Ots0/0/0/0", "active"): "act", native_path("Ots0/0/0/0", "interface-name"): "Ots0/0/0/0",
            native_path("Ots0/0/0/0"): "12"})
        self.assertEqual(self.session.get_config(oc())[oc_path(BST0)], "1.2")

    def test_copy_of_bad_content_changes_nothing(self):
        before = self.session.get_config()
        self.assert_refused(self.copy("<running/>", f"<config>{controller('Ots0/0/0/0', 999)}</config>"),
                            "invalid-value")
        self.assertEqual(self.session.get_config(), before)

    def test_copy_between_datastores(self):
        self.assertTrue(self.session.edit(controller("Ots0/0/0/2", 33), "candidate").ok)
        self.assertTrue(self.copy("<running/>", "<candidate/>").ok)
        self.assertEqual(self.session.get_config(native())[native_path("Ots0/0/0/2")], "33")
        self.assertTrue(self.session.edit(controller("Ots0/0/0/2", 44), "candidate").ok)
        self.assertTrue(self.copy("<candidate/>", "<running/>").ok)
        self.assertEqual(self.session.get_config(native(), "candidate")[native_path("Ots0/0/0/2")], "33")

    def test_copy_onto_itself_and_elsewhere_is_refused(self):
        self.assert_refused(self.copy("<running/>", "<running/>"), "invalid-value")
        self.assert_refused(self.copy("<startup/>", "<running/>"), "operation-not-supported")

    def test_no_datastore_can_be_deleted(self):
        for name in ("running", "candidate", "startup"):
            reply = self.session.rpc(f"<delete-config><target><{name}/></target></delete-config>")
            self.assertTrue(reply.errors, reply.text)
            self.assertEqual(reply.errors[0].type, "protocol")

    def test_validate_judges_every_source(self):
        validate = lambda source: self.session.rpc(f"<validate><source>{source}</source></validate>")
        for source in ("<running/>", "<candidate/>", f"<config>{controller('Ots0/0/0/0', 12)}</config>",
                       f"<config>{oc(attenuator(BST2, '3'))}</config>"):
            self.assertTrue(validate(source).ok, source)
        self.assert_refused(validate(f"<config>{controller('Ots0/0/0/0', 201)}</config>"), "invalid-value")
        self.assert_refused(validate(f"<config>{oc(attenuator(BST2, '20.01'))}</config>"), "invalid-value")
        self.assert_refused(validate("<startup/>"), "operation-not-supported")
        self.assertEqual(self.session.get_config(native())[native_path("Ots0/0/0/0")], "30")


class DataEdits(AgentTest):
    """edit-data and get-data of NMDA."""

    def edit_data(self, store, config, more=""):
        return self.session.rpc(f'<edit-data xmlns="{NMDA}" xmlns:ds="urn:ietf:params:xml:ns:yang:ietf-datastores">'
                                f"<datastore>ds:{store}</datastore>{more}<config>{config}</config></edit-data>")

    def get_data(self, store, more=""):
        return self.session.rpc(f'<get-data xmlns="{NMDA}" xmlns:ds="urn:ietf:params:xml:ns:yang:ietf-datastores">'
                                f"<datastore>ds:{store}</datastore>{more}</get-data>")

    def test_edits_reach_the_datastore_named(self):
        self.assertTrue(self.edit_data("running", controller("Ots0/0/0/2", 11)).ok)
        self.assertTrue(self.edit_data("candidate", oc(attenuator(BST2, "2.2"))).ok)
        self.assertEqual(self.get_data("running").leaves()[native_path("Ots0/0/0/2")], "11")
        self.assertEqual(self.get_data("candidate").leaves()[native_path("Ots0/0/0/2")], "22")
        self.assertEqual(self.get_data("intended").leaves()[native_path("Ots0/0/0/2")], "11")
        self.session.ok("<discard-changes/>")

    def test_only_running_and_candidate_can_be_edited(self):
        for store in ("operational", "startup", "intended"):
            self.assert_refused(self.edit_data(store, controller("Ots0/0/0/2", 11)), "invalid-value")

    def test_operational_has_configuration_and_state(self):
        leaves = self.get_data("operational", f"<subtree-filter>{oc()}</subtree-filter>").leaves()
        self.assertIn(oc_path(BST2), leaves)
        self.assertIn(oc_path(BST2, "state/enabled"), leaves)

    def test_config_filter_and_depth_cut_the_reply(self):
        subtree = f"<subtree-filter>{oc()}</subtree-filter>"
        state = self.get_data("operational", subtree + "<config-filter>false</config-filter>").leaves()
        self.assertIn(oc_path(BST2, "state/enabled"), state)
        self.assertNotIn(oc_path(BST2), state)
        config = self.get_data("operational", subtree + "<config-filter>true</config-filter>").leaves()
        self.assertIn(oc_path(BST2), config)
        self.assertNotIn(oc_path(BST2, "state/enabled"), config)
        flat = self.get_data("running", subtree + "<max-depth>3</max-depth>").leaves()  # from attenuators on
        self.assertIn(oc_path(BST2, "name"), flat)
        self.assertNotIn(oc_path(BST2), flat)

    def test_an_xpath_filter_selects(self):
        leaves = self.get_data("running", f'<xpath-filter xmlns:a="{IFMGR}">/a:interface-configurations/'
                               "a:interface-configuration[a:interface-name='Ots0/0/0/1']</xpath-filter>").leaves()
        self.assertTrue(leaves)
        self.assertTrue(all("Ots0/0/0/1" in path for path in leaves), leaves)


if __name__ == "__main__":
    unittest.main()
