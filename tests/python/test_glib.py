"""The GLib callback form, delivered by the program's own GLib.MainLoop, and cancels that
reach the service when a request is given up or its Positioning collected."""

import gc
import threading
import time

from gi.repository import GLib

import kopapositioning as kp
from kopapositioning import _kopapositioning


def run_loop_until(loop, done, seconds=10):
    def give_up():
        loop.quit()
        return GLib.SOURCE_REMOVE

    source = GLib.timeout_add_seconds(seconds, give_up)
    while not done():
        loop.run()
        if GLib.main_context_default().find_source_by_id(source) is None:
            break
    if GLib.main_context_default().find_source_by_id(source) is not None:
        GLib.source_remove(source)


def test_callbacks_come_from_the_programs_own_loop(sim, positioning):
    sim.push("currentPosition", "delay 100 reply", "error 46")
    loop = GLib.MainLoop()
    finished = []

    def on_done(request):
        finished.append((request, threading.get_ident()))
        if len(finished) == 3:
            loop.quit()

    first = positioning.start_current_position(on_done)
    second = positioning.start_current_position(on_done, timeout=5)
    positioning.start_current_measurements(on_done)  # nobody keeps this one: it still runs
    assert not _kopapositioning.loop_thread_running()
    run_loop_until(loop, lambda: len(finished) >= 3)

    assert {ident for _, ident in finished} == {threading.get_ident()}
    assert isinstance(first.result(), kp.Position)
    assert isinstance(second.exception(), kp.NotPositionedError)
    assert [r.done() for r, _ in finished] == [True] * 3
    assert not _kopapositioning.loop_thread_running()


def test_a_cancelled_request_calls_nothing_and_the_service_hears_of_it(sim, positioning):
    sim.push("lastKnownPosition", "delay 200 reply")
    called = []
    request = positioning.start_last_known_position(called.append)
    assert sim.wait_for_requests(1)
    assert request.cancel() and request.cancelled() and request.cancel()
    assert sim.wait_for_cancels(1)
    loop = GLib.MainLoop()
    GLib.timeout_add(400, loop.quit)
    loop.run()  # the late reply arrives and is dropped
    assert called == []


def test_a_collected_positioning_cancels_what_it_has_outstanding(sim):
    sim.push("currentPosition", "noreply")
    sim.push("convertToPosition", "noreply")
    positioning = kp.Positioning()
    positioning.start_current_position(lambda r: None, timeout=None)
    request = positioning.start_convert_to_position(
        kp.Measurements(access_points=[kp.AccessPoint("0a:00:27:00:00:01", -50)]), print)
    assert sim.wait_for_requests(2)
    del positioning
    gc.collect()
    expected = sorted(serial for _, serial, _, _ in sim.requests())
    deadline = time.monotonic() + 10
    while sim.cancelled_serials() != expected and time.monotonic() < deadline:
        sim.wait_for_cancels(len(sim.cancels()) + 1, 200)
    assert sim.cancelled_serials() == expected
    assert request.cancel() and request.cancelled()
