# SPDX-License-Identifier: Apache-2.0
#
# Debian's yangcli logs in over SSH with a key, fetches the models from the agent, and edits through the candidate and
# directly.
import shutil
import subprocess
import unittest

from configs import *
from support import AgentTest


@unittest.skipUnless(shutil.which("yangcli"), "yangcli is not installed")
class Yangcli(AgentTest):
    users = ("ann",)
    extra_config = permit_all("ann")

    def run_script(self, *commands):
        """Runs commands in a session of ann's. Returns what yangcli printed."""
        script = self.agent.folder / "script"
        script.write_text("\n".join(commands) + "\n")
        done = subprocess.run(
            ["yangcli", "--server=127.0.0.1", f"--ncport={self.agent.ssh_port}", "--user=ann", "--password=none",
             f"--private-key={self.agent.folder}/ann", f"--public-key={self.agent.folder}/ann.pub", "--batch-mode",
             f"--run-script={script}", "--autoaliases=false", "--autohistory=false", "--autouservars=false"],
            stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=120)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertIn("NETCONF session established for ann", done.stdout)
        return done.stdout

    def test_it_logs_in_reads_and_edits_once(self):
        leaf = f"/optical-attenuator/attenuators/attenuator[name='{BST2}']/config/attenuation"
        printed = self.run_script("sget-config source=running /optical-attenuator", f"replace {leaf} --value=12.5",
                                  "commit", "sget-config source=running /optical-attenuator")
        self.assertRegex(printed, r"(?s)attenuation 9\.50?\b.*attenuation 12\.50?\b")
        self.assertEqual(printed.count("RPC OK Reply"), 2, printed)
        self.assertEqual(self.session.get_config(oc())[oc_path(BST2)], "12.5")
        self.assertEqual(self.session.get_config(native())[native_path("Ots0/0/0/2")], "125")

    def test_it_shows_why_an_edit_is_refused(self):
        leaf = ("/interface-configurations/interface-configuration[active='act'][interface-name='Ots0/0/0/2']"
                "/ots/ots-tx-voa-attenuation")
        self.session.ok(inject("Ots0/0/0/2", "refuse-value", 60))
        self.addCleanup(self.session.ok, clear("Ots0/0/0/2"))
        printed = self.run_script(f"replace {leaf} --value=60", "commit")
        self.assertIn("operation-failed", printed)
        self.assertIn("device-refused", printed)
        self.session.ok("<discard-changes/>")
        self.assertEqual(self.session.get_config(native())[native_path("Ots0/0/0/2")], "95")


if __name__ == "__main__":
    unittest.main()
