"""The asyncio forms: concurrent requests, cancellation that reaches the service, updates."""

import asyncio
import threading
import time

import pytest

import kopapositioning as kp


def run(coroutine):
    return asyncio.run(asyncio.wait_for(coroutine, 30))


def test_the_four_requests_run_together_under_gather(sim, positioning):
    sim.push("currentPosition", "delay 200 reply")

    async def main():
        measurements = await positioning.current_measurements_async()
        return await asyncio.gather(
            positioning.current_position_async(timeout=5),
            positioning.current_measurements_async(),
            positioning.last_known_position_async(),
            positioning.convert_to_position_async(measurements),
            return_exceptions=True)

    current, measurements, last, converted = run(main())
    assert isinstance(current, kp.Position) and current.time.tzinfo is not None
    assert isinstance(measurements, kp.Measurements) and measurements.cells
    assert isinstance(last, kp.Position) and isinstance(converted, kp.Position)
    assert positioning.outstanding == 0


def test_requests_of_one_kind_may_be_outstanding_together(sim, positioning):
    sim.push("currentPosition", "delay 300 reply", "error 46")

    async def main():
        return await asyncio.gather(*(positioning.current_position_async() for _ in range(2)),
                                    return_exceptions=True)

    results = run(main())
    assert sorted(type(r).__name__ for r in results) == ["NotPositionedError", "Position"]
    assert len(sim.requests()) == 2


def test_a_cancelled_task_cancels_its_request_at_the_service(sim, positioning):
    sim.push("currentPosition", "noreply")

    async def main():
        task = asyncio.create_task(positioning.current_position_async(timeout=None))
        await asyncio.get_running_loop().run_in_executor(None, sim.wait_for_requests, 1)
        task.cancel()
        with pytest.raises(asyncio.CancelledError):
            await task
        # The event loop goes on, and so does the client.
        return await positioning.last_known_position_async()

    assert isinstance(run(main()), kp.Position)
    assert sim.wait_for_cancels(1)
    assert sim.cancelled_serials() == [sim.requests()[0][1]]
    assert positioning.outstanding == 0


def test_a_task_that_times_out_cancels_its_request_too(sim, positioning):
    sim.push("currentMeasurements", "noreply")

    async def main():
        with pytest.raises(asyncio.TimeoutError):
            await asyncio.wait_for(positioning.current_measurements_async(), 0.3)

    run(main())
    assert sim.wait_for_cancels(1)


def test_updates_report_positions_and_failures_until_closed(sim, positioning):
    sim.push("currentPosition", "error 46", "reply")

    async def main():
        updates = positioning.updates(interval=0.05)
        async with updates:
            with pytest.raises(kp.NotPositionedError):
                await updates.__anext__()
            positions = []
            async for position in updates:
                positions.append(position)
                if len(positions) == 3:
                    break
        return positions

    positions = run(main())
    assert all(isinstance(p, kp.Position) for p in positions)
    assert positioning.outstanding == 0
    with pytest.raises(ValueError):
        positioning.updates(interval=0)


def test_closing_while_a_callback_runs_on_the_loop_thread_does_not_deadlock(sim, positioning):
    # The module's loop thread delivers once an asyncio request has started it. Closing waits
    # for the callback under way, which needs the GIL back after its sleep: close() must not
    # hold the GIL while it waits.
    run(positioning.last_known_position_async())
    entered, finished = threading.Event(), threading.Event()

    def slow(request):
        entered.set()
        time.sleep(0.2)
        finished.set()

    positioning.start_current_position(slow)
    assert entered.wait(10)
    positioning.close()
    assert finished.is_set()
