"""Positions from the positioning service kopad.

kopapositioning asks kopad, over the D-Bus system bus, for the current
position, the radio measurements in view, the last known position, or the
position of given measurements::

    import kopapositioning

    with kopapositioning.Positioning() as positioning:
        position = positioning.current_position(timeout=5)
        print(position.latitude, position.longitude, position.time)

In asyncio programs::

    async def main():
        positioning = kopapositioning.Positioning()
        position = await positioning.current_position_async()
        async with positioning.updates(interval=1.0) as updates:
            async for position in updates:
                print(position)

In GLib programs (PyGObject), the callback forms deliver from the program's
own ``GLib.MainLoop``::

    def on_position(request):
        try:
            print(request.result())
        except kopapositioning.KopaError as error:
            print("no position:", error)

    positioning.start_current_position(on_position)

A failed request raises a subclass of :class:`KopaError` named after what
went wrong (:class:`RequestTimeoutError`, :class:`NotPositionedError`,
:class:`ServiceUnavailableError`, ...); each carries the library's result
code, its name, a message and the cause behind it.
"""

import atexit as _atexit

from . import _kopapositioning
from ._errors import (
    Cause,
    ClosedError,
    FailureKind,
    GeneralError,
    InformationShortageError,
    KopaError,
    MalformedTextError,
    MethodNotSupportedError,
    NetworkError,
    NoObserverError,
    NotAuthorizedError,
    NotPositionedError,
    NotSupportedError,
    RequestPendingError,
    RequestTimeoutError,
    SendError,
    ServerError,
    ServiceUnavailableError,
    error_class,
)
from ._positioning import DEFAULT_TIMEOUT, UPDATES_KEPT, Positioning, Request, Updates
from ._values import AccessPoint, Cell, Measurements, PacketData, Position, PositionMethod, Radio

__all__ = [
    "AccessPoint", "Cause", "Cell", "ClosedError", "DEFAULT_TIMEOUT", "FailureKind", "GeneralError",
    "InformationShortageError", "KopaError", "MalformedTextError", "Measurements",
    "MethodNotSupportedError", "NetworkError", "NoObserverError", "NotAuthorizedError",
    "NotPositionedError", "NotSupportedError", "PacketData", "Position", "PositionMethod",
    "Positioning", "Radio", "Request", "RequestPendingError", "RequestTimeoutError", "SendError",
    "ServerError", "ServiceUnavailableError", "UPDATES_KEPT", "Updates", "error_class",
]

# The public classes are kopapositioning's, in help() and in tracebacks alike.
for _name in __all__:
    _value = globals()[_name]
    if isinstance(_value, type):
        _value.__module__ = __name__
del _name, _value

# The module's loop thread is stopped before the interpreter goes away, so that no delivery
# waits for the GIL of an interpreter that is finalizing.
_atexit.register(_kopapositioning.shutdown)
