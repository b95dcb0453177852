"""Without kopad on the bus: every form fails with ServiceUnavailableError, nothing hangs.

Runs on a private bus where nobody owns the service's name (see CMakeLists.txt)."""

import asyncio

import pytest
from gi.repository import GLib

import kopapositioning as kp


def test_every_form_reports_the_missing_service(positioning):
    with pytest.raises(kp.ServiceUnavailableError) as caught:
        positioning.current_position(timeout=5)
    assert caught.value.cause.kind is kp.FailureKind.NO_SERVICE
    assert isinstance(caught.value, kp.GeneralError) and caught.value.code == -1000

    async def main():
        return await asyncio.gather(positioning.current_measurements_async(timeout=5),
                                    positioning.last_known_position_async(timeout=5),
                                    return_exceptions=True)

    assert [type(e) for e in asyncio.run(main())] == [kp.ServiceUnavailableError] * 2
    positioning.close()  # the module's loop thread stops with its last user

    loop = GLib.MainLoop()
    done = []
    with kp.Positioning() as other:
        other.start_current_position(lambda r: (done.append(r), loop.quit()), timeout=5)
        GLib.timeout_add_seconds(10, loop.quit)
        loop.run()
    assert type(done[0].exception()) is kp.ServiceUnavailableError
