#!/usr/bin/env python3
"""with_mock.py SSOD FILE.xml COMMAND...: runs a command with a mock of the account service behind the client library,
on a bus of its own, and gives its exit code."""
import os
import pathlib
import subprocess
import sys
import tempfile
import time

import dbus

BUS_NAME = "example.korvane.SSO1"


def main(ssod, description, command):
    with tempfile.TemporaryDirectory() as folder:
        # The bus of the service itself: it lets as much be under way.
        subprocess.run([ssod, "--keep-bus=" + folder], check=True)
        address = "unix:path=" + folder + "/bus"
        bus = dbus.bus.BusConnection(address)
        template = pathlib.Path(__file__).with_name("account_mock.py")
        told = {"DBUS_SESSION_BUS_ADDRESS": address, "SSO_BUS_ADDRESS": address, "SSO_STATE": "test",
                "SSO_TEST_BUS_XML": description}
        environment = {**os.environ, **told}
        with subprocess.Popen(
            [sys.executable, "-m", "dbusmock", "--session", "--template", str(template)],
            env=environment,
            stdout=subprocess.DEVNULL,
        ) as mock:
            try:
                deadline = time.monotonic() + 10
                while not bus.name_has_owner(BUS_NAME):
                    if mock.poll() is not None or time.monotonic() > deadline:
                        sys.exit("with_mock.py: the mock did not start")
                    time.sleep(0.01)
                return subprocess.run(command, env=environment, check=False).returncode
            finally:
                mock.terminate()
                bus.close()
                while os.path.exists(folder + "/bus"):  # until its keeper has seen that nobody is left
                    time.sleep(0.05)
                os.makedirs(folder, exist_ok=True)


sys.exit(main(sys.argv[1], sys.argv[2], sys.argv[3:]))
