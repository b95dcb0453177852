"""Fixtures of the kopapositioning suite: the simulator's control interface and a Positioning.

The suite runs inside scripts/with-sim-bus: DBUS_SYSTEM_BUS_ADDRESS names a private bus on
which kopad-sim runs (or, for the files marked "nosim", nobody does).
"""

import gc
import os

import pytest
from gi.repository import Gio, GLib

import kopapositioning
from kopapositioning import _kopapositioning

_SIM = ("com.ruvex.location.kopad", "/com/ruvex/location/kopad",
        "com.ruvex.location.kopad.Simulator")


class SimControl:
    """The simulator's control interface, over a GDBus connection of its own."""

    def __init__(self):
        assert "DBUS_SYSTEM_BUS_ADDRESS" in os.environ, "run the suite inside with-sim-bus"
        self._bus = Gio.bus_get_sync(Gio.BusType.SYSTEM, None)

    def _call(self, method, args=None, timeout_ms=10000):
        reply = self._bus.call_sync(*_SIM, method, args, None, Gio.DBusCallFlags.NONE,
                                    timeout_ms, None)
        return reply.unpack() if reply is not None else ()

    def reset(self):
        self._call("Reset")

    def load_scenario(self, text):
        self._call("LoadScenario", GLib.Variant("(s)", (text,)))

    def push(self, member, *outcomes):
        self._call("PushOutcomes", GLib.Variant("(sas)", (member, list(outcomes))))

    def requests(self):
        """(member, serial, sender, args) of every request that arrived."""
        return self._call("GetRequests")[0]

    def cancels(self):
        """(sender, serial, serials) of every cancel signal that arrived."""
        return self._call("GetCancels")[0]

    def wait_for_requests(self, count, timeout_ms=5000):
        return self._call("WaitForRequests", GLib.Variant("(uu)", (count, timeout_ms)),
                          timeout_ms + 5000)[0]

    def wait_for_cancels(self, count, timeout_ms=5000):
        return self._call("WaitForCancels", GLib.Variant("(uu)", (count, timeout_ms)),
                          timeout_ms + 5000)[0]

    def cancelled_serials(self):
        return sorted(s for _, _, serials in self.cancels() for s in serials)


@pytest.fixture
def sim():
    control = SimControl()
    control.reset()
    return control


@pytest.fixture
def positioning():
    p = kopapositioning.Positioning()
    yield p
    p.close()
    del p
    gc.collect()
    # Whoever used the module's loop thread has given it back: the next test starts clean.
    assert not _kopapositioning.loop_thread_running()
