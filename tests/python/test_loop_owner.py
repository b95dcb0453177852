"""Who runs GLib's default main context, as Python programs arrange it."""

import asyncio
import threading
import time

import pytest
from gi.repository import GLib

import kopapositioning as kp
from kopapositioning import _kopapositioning


def run(coroutine):
    return asyncio.run(asyncio.wait_for(coroutine, 20))


def test_a_glib_loop_of_the_programs_own_thread_delivers_without_delay(sim, positioning):
    loop = GLib.MainLoop()
    thread = threading.Thread(target=loop.run)
    thread.start()
    try:
        while not loop.is_running():
            time.sleep(0.001)

        async def main():
            started = time.monotonic()
            for _ in range(5):
                await positioning.current_position_async()
                assert not _kopapositioning.loop_thread_running()
            return time.monotonic() - started

        # Each request is a round trip on the private bus, not a second of looking around.
        assert run(main()) < 2.5
    finally:
        loop.quit()
        thread.join()


def test_an_asyncio_request_beside_a_blocking_one_is_answered(sim, positioning):
    # The blocking request runs the context while it waits, longer than any look around; the
    # asyncio answer comes after it has let go.
    sim.push("lastKnownPosition", "delay 1500 reply")
    sim.push("currentPosition", "delay 2500 reply")
    blocking = threading.Thread(target=positioning.last_known_position)
    blocking.start()
    assert sim.wait_for_requests(1)

    async def main():
        return await positioning.current_position_async(timeout=4)

    try:
        assert isinstance(run(main()), kp.Position)
    finally:
        blocking.join()


def test_closing_ends_every_waiting_coroutine_and_iteration(sim, positioning):
    sim.push("currentPosition", "reply", "noreply")

    async def main():
        updates = positioning.updates(interval=0.01, timeout=None)
        seen = []

        async def consume():
            async for position in updates:
                seen.append(position)

        consumer = asyncio.create_task(consume())
        await asyncio.get_running_loop().run_in_executor(None, sim.wait_for_requests, 2)
        await updates.aclose()  # while the consumer waits in its iteration
        await consumer
        waiting = asyncio.create_task(positioning.current_position_async(timeout=None))
        await asyncio.get_running_loop().run_in_executor(None, sim.wait_for_requests, 3)
        positioning.close()
        with pytest.raises(kp.ClosedError):
            await waiting
        return seen

    assert len(run(main())) == 1
    positioning.close()
    with pytest.raises(kp.ClosedError):
        positioning.current_position()


def test_a_slow_consumer_of_updates_finds_only_the_newest(sim, positioning):
    async def main():
        async with positioning.updates(interval=0.001) as updates:
            await updates.__anext__()
            await asyncio.get_running_loop().run_in_executor(None, sim.wait_for_requests, 60)
            return updates._queue.qsize()

    assert run(main()) <= kp.UPDATES_KEPT


def test_an_unreadable_answer_raises_one_class_on_every_path(sim, positioning):
    sim.push("currentPosition", "reply garbage")
    errors = []
    for request in (positioning.current_position,  # before the loop thread started
                    lambda: run(positioning.current_position_async()),
                    positioning.current_position):  # while it runs
        with pytest.raises(kp.KopaError) as caught:
            request()
        errors.append(caught.value)
    assert {type(e) for e in errors} == {kp.GeneralError}
    assert {e.cause.kind for e in errors} == {kp.FailureKind.UNREADABLE_REPLY}
