# SPDX-License-Identifier: Apache-2.0
#
# Access rules, seen by users who log in by SSH, while a session of the agent's own user sets them.
import unittest

import ncclients
from configs import *
from support import Agent, AgentTest
from wire import Wire, local


def rules(*rows, user="ann", more=""):
    """Rules for a group of one user: (action, operations, matching)."""
    texts = "".join(f"<rule><name>r{n}</name>{match}<access-operations>{operations}</access-operations>"
                    f"<action>{action}</action></rule>" for n, (action, operations, match) in enumerate(rows))
    return nacm(f"{more}<groups><group><name>g</name><user-name>{user}</user-name></group></groups>"
                f"<rule-list><name>l</name><group>g</group>{texts}</rule-list>")


def path(text):
    return f'<path xmlns:o="{OC}" xmlns:a="{IFMGR}" xmlns:t="{OTS}">{text}</path>'


ANY = "<module-name>*</module-name>"
OC_TREE = path("/o:optical-attenuator")
OC_BST2 = path(f"/o:optical-attenuator/o:attenuators/o:attenuator[o:name='{BST2}']")
NATIVE_TREE = path("/a:interface-configurations")


class AccessTest(AgentTest):
    users = ("ann", "bob")

    def setUp(self):
        super().setUp()
        self.ann = self.user("ann")

    def user(self, name):
        transport, channel = ncclients.over_ssh_channel(self.agent, name)
        self.addCleanup(transport.close)
        return Wire(channel)

    def set_rules(self, *rows, **options):
        reply = self.session.edit(rules(*rows, **options))
        self.assertTrue(reply.ok, reply.text)

    def denied(self, name):
        text = self.session.ok(f'<get><filter type="subtree"><nacm xmlns="{NACM}"/></filter></get>')
        return int(text.leaves().get(f"/nacm/{name}", 0))


class Defaults(AccessTest):
    def test_users_read_and_do_not_write(self):
        self.assertEqual(self.ann.get_config(oc())[oc_path(BST2)], "9.5")
        self.assertEqual(self.ann.get_config(native())[native_path("Ots0/0/0/2")], "95")
        self.assertIn(oc_path(BST2, "state/enabled"), self.ann.get(oc()))
        for config in (oc(attenuator(BST2, "1")), controller("Ots0/0/0/2", 1),
                       nacm("<write-default>permit</write-default>")):
            self.assert_refused(self.ann.edit(config), "access-denied")
        self.assertEqual(self.session.get_config(native())[native_path("Ots0/0/0/2")], "95")

    def test_rules_themselves_are_hidden_and_dangerous_operations_denied(self):
        self.assertEqual([p for p in self.ann.get_config() if p.startswith("/nacm")], [])
        other = self.user("bob")
        for operation_text in (f"<kill-session><session-id>{other.session_id}</session-id></kill-session>",
                               "<delete-config><target><candidate/></target></delete-config>",
                               inject("Ots0/0/0/2", "no-answer"),
                               f'<set-diagnostics xmlns="{AGENT}"><log>trace</log></set-diagnostics>'):
            self.assert_refused(self.ann.rpc(operation_text), "access-denied")
        self.assertEqual(other.get_config(oc())[oc_path(BST2)], "9.5")

    def test_the_other_ways_to_write_are_closed_as_well(self):
        self.assert_refused(self.ann.rpc(
            f"<copy-config><target><running/></target><source><config>{controller('Ots0/0/0/2', 1)}</config></source>"
            "</copy-config>"), "access-denied")
        data = (f'<edit-data xmlns="{NMDA}" xmlns:ds="urn:ietf:params:xml:ns:yang:ietf-datastores"><datastore>ds:running'
                f"</datastore><config>{oc(attenuator(BST2, '1'))}</config></edit-data>")
        self.assert_refused(self.ann.rpc(data), "access-denied")
        self.ann.edit(controller("Ots0/0/0/2", 1), "candidate")
        reply = self.ann.rpc("<commit/>")
        self.assertEqual(self.session.get_config(native())[native_path("Ots0/0/0/2")], "95", reply.text)
        self.session.ok("<discard-changes/>")

    def test_a_confirmed_commit_of_nothing_takes_nothing_back(self):
        self.ann.ok("<commit><confirmed/></commit>")
        self.assertTrue(self.session.edit(controller("Ots0/0/0/2", 12)).ok)
        self.ann.ok("<close-session/>")
        self.assertTrue(self.ann.ended())
        self.assertEqual(self.session.get_config(native())[native_path("Ots0/0/0/2")], "12")

    def test_denials_are_counted(self):
        writes, operations = self.denied("denied-data-writes"), self.denied("denied-operations")
        self.ann.edit(oc(attenuator(BST2, "1")))
        self.ann.rpc(f"<kill-session><session-id>{self.session.session_id}</session-id></kill-session>")
        self.assertEqual(self.denied("denied-data-writes"), writes + 1)
        self.assertEqual(self.denied("denied-operations"), operations + 1)

    def test_the_agent_s_own_user_has_recovery_rights(self):
        self.set_rules(("deny", "*", ANY), user="root",
                       more="<write-default>deny</write-default><read-default>deny</read-default>"
                            "<exec-default>deny</exec-default>")
        self.assertEqual(self.session.get_config(native())[native_path("Ots0/0/0/2")], "95")
        self.assertTrue(self.session.edit(controller("Ots0/0/0/2", 3)).ok)
        self.assertTrue(self.session.edit(nacm(op="delete")).ok)


class Rules(AccessTest):
    def test_one_attenuator_can_be_opened_for_writing(self):
        self.set_rules(("permit", "create read update delete", OC_BST2))
        self.assertTrue(self.ann.edit(oc(attenuator(BST2, "4.4"))).ok)
        self.assertEqual(self.session.get_config(native())[native_path("Ots0/0/0/2")], "44")
        error = self.assert_refused(self.ann.edit(oc(attenuator(BST0, "4.4"))), "access-denied")
        self.assertIn(BST0, error.path)
        self.assert_refused(self.ann.edit(oc(attenuator(BST2, "5") + attenuator(BST0, "5"))), "access-denied")
        self.assertEqual(self.session.get_config(oc())[oc_path(BST2)], "4.4")

    def test_a_rule_for_the_client_s_path_opens_no_native_one(self):
        self.set_rules(("permit", "*", OC_TREE))
        self.assertTrue(self.ann.edit(oc(attenuator(BST2, "4.4"))).ok)
        self.assert_refused(self.ann.edit(controller("Ots0/0/0/2", 1)), "access-denied")

    def test_a_rule_for_the_native_path_opens_no_client_s_one(self):
        self.set_rules(("permit", "*", NATIVE_TREE))
        self.assertTrue(self.ann.edit(controller("Ots0/0/0/2", 1)).ok)
        self.assert_refused(self.ann.edit(oc(attenuator(BST2, "4.4"))), "access-denied")

    def test_what_may_not_be_read_is_left_out(self):
        self.set_rules(("deny", "read", OC_BST2), ("deny", "read", NATIVE_TREE))
        leaves = self.ann.get_config()
        self.assertIn(oc_path(BST0), leaves)
        self.assertFalse([p for p in leaves if BST2 in p or p.startswith("/interface-conf")])
        self.assertEqual(self.ann.get_config(oc(attenuator(BST2))), {})
        self.assertEqual(self.user("bob").get_config(oc())[oc_path(BST2)], "9.5")

    def test_a_preview_does_not_show_what_may_not_be_read(self):
        preview = f'<preview-edit xmlns="{AGENT}"><config>{oc(attenuator(BST2, "1.5"))}</config></preview-edit>'
        self.set_rules(("permit", "*", OC_TREE))
        self.assertIn("<before>95</before>", self.ann.ok(preview).text)
        self.set_rules(("permit", "*", OC_TREE), ("deny", "read", NATIVE_TREE))
        self.assertNotIn("<change", self.ann.ok(preview).text)
        self.assertIn("<before>95</before>", self.session.ok(preview).text)

    def test_paths_that_nothing_can_be_judged_by_are_refused(self):
        entry = "/o:optical-attenuator/o:attenuators/o:attenuator"
        for text in ("//o:attenuation", entry + "[1]", entry + "[o:config/o:attenuation>5]", "o:optical-attenuator",
                     "/o:bogus", "/nowhere:bogus"):
            with self.subTest(text):
                config = rules(("deny", "read", path(text)))
                self.assert_refused(self.session.edit(config), "invalid-value", info=[("bad-element", "path")])
                self.assertIn(oc_path(BST2), self.ann.get_config(oc()))
        self.set_rules(("deny", "read", path(entry + "/o:config")))
        self.assertEqual([p for p in self.ann.get_config(oc()) if "/config/" in p], [])

    def test_a_filter_does_not_tell_of_what_is_hidden(self):
        self.set_rules(("deny", "read", path("/a:interface-configurations/a:interface-configuration/t:ots/"
                                             "t:ots-tx-voa-attenuation")))
        subtree = native(f"<interface-configuration>{ots(voa(95))}</interface-configuration>")
        self.assertEqual(self.ann.get_config(subtree), {})
        select = ("/a:interface-configurations/a:interface-configuration[t:ots/t:ots-tx-voa-attenuation=95]")
        reply = self.ann.ok(f'<get-config><source><running/></source><filter type="xpath" xmlns:a="{IFMGR}" '
                            f'xmlns:t="{OTS}" select="{select}"/></get-config>')
        self.assertEqual(reply.leaves(), {})

    def test_kinds_of_writing_are_told_apart(self):
        self.set_rules(("permit", "update", NATIVE_TREE))
        self.assertTrue(self.ann.edit(controller("Ots0/0/0/2", 1)).ok)
        self.assert_refused(self.ann.edit(native(interface("Ots0/0/0/8"))), "access-denied")
        self.assert_refused(self.ann.edit(native(interface("Ots0/0/0/2", op="delete"))), "access-denied")

    def test_operations_can_be_denied(self):
        for name in ("get-config", "edit-config", "lock", "commit"):
            self.set_rules(("deny", "exec", f"<module-name>ietf-netconf</module-name><rpc-name>{name}</rpc-name>"))
            requests = {"get-config": "<get-config><source><running/></source></get-config>", "commit": "<commit/>",
                        "edit-config": "<edit-config><target><running/></target><config/></edit-config>",
                        "lock": "<lock><target><running/></target></lock>"}
            for word, text in requests.items():
                reply = self.ann.rpc(text)
                tags = [error.tag for error in reply.errors]
                self.assertEqual(tags == ["access-denied"], word == name, f"{name}: {word}: {tags}")
                if word == "lock" and reply.ok:
                    self.ann.ok("<unlock><target><running/></target></unlock>")

    def test_sessions_can_always_be_closed(self):
        self.set_rules(("deny", "*", ANY), more="<exec-default>deny</exec-default>")
        self.assert_refused(self.ann.rpc("<commit/>"), "access-denied")
        self.assertTrue(self.ann.rpc("<close-session/>").ok)

    def test_changed_rules_count_from_the_next_request_on(self):
        read = f"<get-config><source><running/></source><filter type=\"subtree\">{oc()}</filter></get-config>"
        for _ in range(5):
            self.assertIn(oc_path(BST2), self.ann.ok(read).leaves())
            self.set_rules(("deny", "read", OC_TREE))
            self.assertEqual(self.ann.ok(read).leaves(), {})
            self.assertTrue(self.session.edit(nacm(op="delete")).ok)

    def test_switched_off_rules_bind_nobody(self):
        self.set_rules(("deny", "*", ANY), more="<enable-nacm>false</enable-nacm>")
        self.assertTrue(self.ann.edit(oc(attenuator(BST2, "4.4"))).ok)

    def test_notifications_can_be_denied(self):
        before = self.denied("denied-notifications")
        self.set_rules(("deny", "read", "<module-name>ietf-netconf-notifications</module-name>"
                                        "<notification-name>netconf-config-change</notification-name>"))
        self.ann.ok(SUBSCRIBE.format(""))
        self.session.edit(controller("Ots0/0/0/2", 88))
        self.open().close()
        seen = local(self.ann.notification("netconf-session-start"))
        self.assertEqual(seen, "netconf-session-start")
        self.assertGreater(self.denied("denied-notifications"), before)

    def test_no_value_of_a_hidden_reading_is_in_a_reply(self):
        self.set_rules(("deny", "read", path(f"/o:optical-attenuator/o:attenuators/o:attenuator[o:name='{BST2}']/o:state")))
        leaves = self.ann.get(oc())
        self.assertIn(oc_path(BST2), leaves)
        self.assertFalse([p for p in leaves if BST2 in p and "/state/" in p])
        self.assertIn(oc_path(BST0, "state/enabled"), leaves)


class Lasting(unittest.TestCase):
    def test_rules_survive_a_kill_and_a_stop(self):
        agent = Agent(users=["ann"])
        self.addCleanup(agent.remove)

        def ann():
            transport, channel = ncclients.over_ssh_channel(agent, "ann")
            self.addCleanup(transport.close)
            return Wire(channel)

        session = agent.connect()
        self.assertTrue(session.edit(rules(("permit", "*", OC_BST2))).ok)
        session.close()
        for end in (agent.kill, agent.stop):
            end()
            agent.start()
            user = ann()
            self.assertTrue(user.edit(oc(attenuator(BST2, "6.6"))).ok)
            self.assertEqual(user.edit(oc(attenuator(BST0, "6.6"))).errors[0].tag, "access-denied")


if __name__ == "__main__":
    unittest.main()
