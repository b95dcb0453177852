"""Positioning: the four requests in blocking, asyncio and GLib-callback forms."""

from __future__ import annotations

import asyncio
import weakref
from typing import Any, Callable, Generic, Optional, Set, Tuple, TypeVar, Union

from . import _kopapositioning as _core
from ._errors import ClosedError, KopaError, error_for_failure
from ._values import Measurements, PacketData, Position

_Kind = _core.RequestKind
T = TypeVar("T", Position, Measurements)

#: The default time-out of a request, in seconds.
DEFAULT_TIMEOUT = 30.0

#: How many reports :class:`Updates` keeps for a consumer that iterates more slowly than they
#: come: the newest ones; older ones are dropped.
UPDATES_KEPT = 8

_END = object()  # queued to end an iteration of Updates

_CONVERT = {
    _Kind.CURRENT_POSITION: Position._from_core,
    _Kind.CURRENT_MEASUREMENTS: Measurements._from_core,
    _Kind.LAST_KNOWN_POSITION: Position._from_core,
    _Kind.CONVERT_TO_POSITION: Position._from_core,
}


def _timeout_ms(timeout: Optional[float]) -> int:
    if timeout is None:
        return 0  # no deadline of our own: the library's 24-hour ceiling
    if timeout <= 0:
        raise ValueError(f"timeout must be positive or None, not {timeout!r}")
    return max(1, round(timeout * 1000))


def _measurements_text(measurements: Union[Measurements, str]) -> str:
    if isinstance(measurements, Measurements):
        return measurements.text
    if isinstance(measurements, str):
        return Measurements.from_text(measurements).text  # raises MalformedTextError early
    raise TypeError(f"measurements must be Measurements or str, not {type(measurements).__name__}")


def _outcome(kind: Any, value: Any, failure: Optional[tuple]) -> Any:
    if failure is not None:
        raise error_for_failure(failure)
    return _CONVERT[kind](value)


def _settle(future: "asyncio.Future[Any]", kind: Any, value: Any, failure: Optional[tuple]) -> None:
    if future.done():
        return  # cancelled while the outcome was on its way
    try:
        future.set_result(_outcome(kind, value, failure))
    except KopaError as error:
        future.set_exception(error)


def _fail_closed(future: "asyncio.Future[Any]") -> None:
    if not future.done():
        future.set_exception(ClosedError("the Positioning was closed"))


def _call_soon(loop: asyncio.AbstractEventLoop, function: Callable[..., Any], *args: Any) -> None:
    try:
        loop.call_soon_threadsafe(function, *args)
    except RuntimeError:
        pass  # the event loop is closed: nobody waits there any more


class Request(Generic[T]):
    """A request of the GLib callback form, made by a ``start_...`` method.

    Its callback is called with this request, once, from the GLib main loop that
    runs the default main context (``GLib.MainLoop().run()`` in the program),
    unless it is cancelled first. Like :class:`concurrent.futures.Future`:
    :meth:`result` returns the value or raises the request's :class:`KopaError`.

    The :class:`Positioning` object keeps the request going: the program need not
    keep this object. Closing or collecting the Positioning cancels it.
    """

    def __init__(self, owner: "Positioning", kind: Any,
                 callback: Callable[["Request[T]"], Any]) -> None:
        self._owner = weakref.ref(owner)
        self._kind = kind
        self._callback: Optional[Callable[["Request[T]"], Any]] = callback
        self._token = 0
        self._state = "pending"
        self._value: Any = None
        self._error: Optional[KopaError] = None

    def _deliver(self, value: Any, failure: Optional[tuple]) -> None:
        try:
            self._value = _outcome(self._kind, value, failure)
        except KopaError as error:
            self._error = error
        self._state = "done"
        callback, self._callback = self._callback, None
        if callback is not None:
            callback(self)

    def cancel(self) -> bool:
        """Gives the request up: its callback will not be called, and the service is sent
        the cancel. False when it had already finished. Safe from any thread, and from inside
        a callback."""
        if self._state != "pending":
            return self._state == "cancelled"
        owner = self._owner()
        if owner is not None:
            owner._core.cancel(self._token)
        if self._state != "pending":
            return False  # it finished meanwhile
        self._state = "cancelled"
        self._callback = None
        return True

    def cancelled(self) -> bool:
        """True when the request was cancelled."""
        return self._state == "cancelled"

    def done(self) -> bool:
        """True when the request finished or was cancelled."""
        return self._state != "pending"

    def result(self) -> T:
        """The value; raises the request's :class:`KopaError`, or
        :class:`asyncio.InvalidStateError` while it is pending or after a cancel."""
        if self._state != "done":
            raise asyncio.InvalidStateError(f"request is {self._state}")
        if self._error is not None:
            raise self._error
        return self._value

    def exception(self) -> Optional[KopaError]:
        """The request's :class:`KopaError`, or None when it succeeded."""
        if self._state != "done":
            raise asyncio.InvalidStateError(f"request is {self._state}")
        return self._error

    def __repr__(self) -> str:
        return f"<kopapositioning.Request {self._kind.name.lower()} {self._state}>"


class Updates:
    """Positions at an interval, as an asynchronous iterator::

        async with positioning.updates(interval=1.0) as updates:
            async for position in updates:
                ...

    One request is outstanding at a time; the first starts at the first
    iteration. A failed request raises its :class:`KopaError` from that
    iteration, and the updates go on: iterate again to continue. A consumer
    slower than the interval gets the newest reports: the iterator keeps
    :data:`UPDATES_KEPT` of them and drops older ones. Leaving the
    ``async with`` block, :meth:`aclose`, closing the :class:`Positioning`, or
    collecting the iterator ends them; an iteration waiting at that moment
    ends at once.
    """

    def __init__(self, owner: "Positioning", interval_ms: int, minimum_distance: float,
                 timeout_ms: int, request_parameter: int, packet_data: int) -> None:
        self._owner = owner
        self._arguments = (interval_ms, minimum_distance, timeout_ms, request_parameter,
                           int(packet_data))
        self._queue: Optional["asyncio.Queue[Any]"] = None
        self._loop: Optional[asyncio.AbstractEventLoop] = None
        self._token = 0
        self._closed = False

    def _start(self) -> None:
        loop = asyncio.get_running_loop()
        queue: "asyncio.Queue[Any]" = asyncio.Queue(UPDATES_KEPT)

        def keep_newest(report: Any) -> None:
            if queue.full():
                queue.get_nowait()
            queue.put_nowait(report)

        def deliver(value: Any, failure: Optional[tuple]) -> None:
            _call_soon(loop, keep_newest, (value, failure))

        self._owner._check_open()
        self._owner._core.use_loop_thread()
        self._token = self._owner._core.subscribe(*self._arguments, deliver)
        self._queue, self._loop = queue, loop
        self._owner._updates.add(self)

    def __aiter__(self) -> "Updates":
        return self

    async def __anext__(self) -> Position:
        if self._closed:
            raise StopAsyncIteration
        if self._queue is None:
            self._start()
        assert self._queue is not None
        report = await self._queue.get()
        if report is _END or self._closed:
            raise StopAsyncIteration
        value, failure = report
        return _outcome(_Kind.CURRENT_POSITION, value, failure)

    async def aclose(self) -> None:
        """Ends the updates; the request outstanding is cancelled."""
        self.close()

    def close(self) -> None:
        """Ends the updates from synchronous code, from any thread."""
        if self._closed:
            return
        self._closed = True
        if self._token:
            token, self._token = self._token, 0
            self._owner._core.cancel(token)
        if self._loop is not None and self._queue is not None:
            queue = self._queue
            _call_soon(self._loop, lambda: queue.full() or queue.put_nowait(_END))

    async def __aenter__(self) -> "Updates":
        return self

    async def __aexit__(self, *exc_info: Any) -> None:
        self.close()

    def __del__(self) -> None:
        if getattr(self, "_token", 0):
            self.close()


class Positioning:
    """A client of the positioning service kopad on the D-Bus system bus.

    Every request comes in three forms:

    * blocking: :meth:`current_position` and so on wait for the answer. The GIL
      is released meanwhile, so other Python threads run.
    * asyncio: ``await positioning.current_position_async()`` and so on.
      Cancelling the task cancels the request (the service is sent the cancel).
    * GLib callback: :meth:`start_current_position` and so on call their callback
      from the program's own ``GLib.MainLoop``.

    Answers arrive on the thread that runs GLib's default main context. The
    module looks who runs it rather than guessing: where the program runs a
    ``GLib.MainLoop`` of its own (on any thread), that loop delivers; in a
    program that runs none, the asyncio forms start the module's own loop
    thread, which runs while Positioning objects that used it are open. A GLib
    program should run its loop before it makes asyncio requests (a loop that
    starts later would wait for the module's thread).

    Failures raise a :class:`KopaError` subclass. Any number of requests, of any
    kind, may be outstanding at once. :meth:`close` (or leaving a ``with``
    block, or collecting the object) cancels every one still outstanding.
    Positioning objects may be used from several threads.

    Keyword arguments of the requests:

    * ``timeout``: seconds to wait for the answer (default 30); None waits as
      long as the library allows (24 hours). A request that times out raises
      :class:`RequestTimeoutError`, and the service is sent the cancel. The
      time-out is kept to the millisecond in every form, however busy the GLib
      loop is, with one exception: a blocking request made inside a GLib
      callback of the program's own loop waits whole seconds (rounded up) and
      sends no cancel, since its answer cannot come through that loop.
    * ``request_parameter``: an unsigned integer passed to the service unchanged.
    * ``packet_data``: whether the service may use packet data
      (:class:`PacketData`, default ``ALLOWED``).
    """

    def __init__(self) -> None:
        self._core = _core.CoreClient()
        self._closed = False
        # Coroutines awaiting an answer, and the updates iterated, which close() ends.
        self._awaiting: Set[Tuple[asyncio.AbstractEventLoop, "asyncio.Future[Any]"]] = set()
        self._updates: "weakref.WeakSet[Updates]" = weakref.WeakSet()

    def close(self) -> None:
        """Cancels every request and subscription still outstanding. A coroutine
        awaiting one raises :class:`ClosedError` at once, and the iterations of
        :meth:`updates` end. Idempotent; safe from any thread."""
        self._closed = True
        self._core.close()
        for loop, future in list(self._awaiting):
            _call_soon(loop, _fail_closed, future)
        for updates in list(self._updates):
            updates.close()

    def _check_open(self) -> None:
        if self._closed:
            raise ClosedError("request on a closed Positioning")

    def __enter__(self) -> "Positioning":
        return self

    def __exit__(self, *exc_info: Any) -> None:
        self.close()

    @property
    def outstanding(self) -> int:
        """The number of requests and subscriptions not finished yet."""
        return self._core.outstanding()

    # Blocking --------------------------------------------------------------

    def current_position(self, *, timeout: Optional[float] = DEFAULT_TIMEOUT,
                         request_parameter: int = 0,
                         packet_data: PacketData = PacketData.ALLOWED) -> Position:
        """Asks the service for the current position and waits for it."""
        return self._blocking(_Kind.CURRENT_POSITION, timeout, request_parameter, packet_data)

    def current_measurements(self, *, timeout: Optional[float] = DEFAULT_TIMEOUT,
                             request_parameter: int = 0) -> Measurements:
        """Asks the service for the radio measurements in view and waits for them."""
        return self._blocking(_Kind.CURRENT_MEASUREMENTS, timeout, request_parameter,
                              PacketData.ALLOWED)

    def last_known_position(self, *, timeout: Optional[float] = DEFAULT_TIMEOUT,
                            request_parameter: int = 0) -> Position:
        """Asks the service for the last position it found and waits for it."""
        return self._blocking(_Kind.LAST_KNOWN_POSITION, timeout, request_parameter,
                              PacketData.ALLOWED)

    def convert_to_position(self, measurements: Union[Measurements, str], *,
                            timeout: Optional[float] = DEFAULT_TIMEOUT,
                            packet_data: PacketData = PacketData.ALLOWED) -> Position:
        """Asks the service for the position of ``measurements`` (a :class:`Measurements`
        or its text) and waits for it. An unreadable text raises
        :class:`MalformedTextError` before anything is sent."""
        return self._blocking(_Kind.CONVERT_TO_POSITION, timeout, 0, packet_data,
                              _measurements_text(measurements))

    def _blocking(self, kind: Any, timeout: Optional[float], request_parameter: int,
                  packet_data: int, text: str = "") -> Any:
        self._check_open()
        value, failure = self._core.request(kind, _timeout_ms(timeout), request_parameter,
                                            int(packet_data), text)
        return _outcome(kind, value, failure)

    # asyncio ---------------------------------------------------------------

    async def current_position_async(self, *, timeout: Optional[float] = DEFAULT_TIMEOUT,
                                     request_parameter: int = 0,
                                     packet_data: PacketData = PacketData.ALLOWED) -> Position:
        """The current position, for asyncio."""
        return await self._awaited(_Kind.CURRENT_POSITION, timeout, request_parameter,
                                   packet_data)

    async def current_measurements_async(self, *, timeout: Optional[float] = DEFAULT_TIMEOUT,
                                         request_parameter: int = 0) -> Measurements:
        """The radio measurements in view, for asyncio."""
        return await self._awaited(_Kind.CURRENT_MEASUREMENTS, timeout, request_parameter,
                                   PacketData.ALLOWED)

    async def last_known_position_async(self, *, timeout: Optional[float] = DEFAULT_TIMEOUT,
                                        request_parameter: int = 0) -> Position:
        """The last position the service found, for asyncio."""
        return await self._awaited(_Kind.LAST_KNOWN_POSITION, timeout, request_parameter,
                                   PacketData.ALLOWED)

    async def convert_to_position_async(self, measurements: Union[Measurements, str], *,
                                        timeout: Optional[float] = DEFAULT_TIMEOUT,
                                        packet_data: PacketData = PacketData.ALLOWED
                                        ) -> Position:
        """The position of ``measurements``, for asyncio."""
        return await self._awaited(_Kind.CONVERT_TO_POSITION, timeout, 0, packet_data,
                                   _measurements_text(measurements))

    async def _awaited(self, kind: Any, timeout: Optional[float], request_parameter: int,
                       packet_data: int, text: str = "") -> Any:
        loop = asyncio.get_running_loop()
        future = loop.create_future()

        def deliver(value: Any, failure: Optional[tuple]) -> None:
            # On the GLib loop's thread: hand over, do the work on the event loop's.
            _call_soon(loop, _settle, future, kind, value, failure)

        self._check_open()
        self._core.use_loop_thread()
        waiting = (loop, future)
        self._awaiting.add(waiting)
        try:
            token = self._core.start(kind, _timeout_ms(timeout), request_parameter,
                                     int(packet_data), text, deliver)
            return await future
        except asyncio.CancelledError:
            self._core.cancel(token)
            raise
        finally:
            self._awaiting.discard(waiting)

    # GLib callback form -----------------------------------------------------

    def start_current_position(self, callback: Callable[[Request[Position]], Any], *,
                               timeout: Optional[float] = DEFAULT_TIMEOUT,
                               request_parameter: int = 0,
                               packet_data: PacketData = PacketData.ALLOWED
                               ) -> Request[Position]:
        """Starts a current-position request; ``callback(request)`` is called from the GLib
        main loop, where ``request.result()`` gives the position or raises."""
        return self._started(_Kind.CURRENT_POSITION, callback, timeout, request_parameter,
                             packet_data)

    def start_current_measurements(self, callback: Callable[[Request[Measurements]], Any], *,
                                   timeout: Optional[float] = DEFAULT_TIMEOUT,
                                   request_parameter: int = 0) -> Request[Measurements]:
        """Starts a measurements request; see :meth:`start_current_position`."""
        return self._started(_Kind.CURRENT_MEASUREMENTS, callback, timeout, request_parameter,
                             PacketData.ALLOWED)

    def start_last_known_position(self, callback: Callable[[Request[Position]], Any], *,
                                  timeout: Optional[float] = DEFAULT_TIMEOUT,
                                  request_parameter: int = 0) -> Request[Position]:
        """Starts a last-known-position request; see :meth:`start_current_position`."""
        return self._started(_Kind.LAST_KNOWN_POSITION, callback, timeout, request_parameter,
                             PacketData.ALLOWED)

    def start_convert_to_position(self, measurements: Union[Measurements, str],
                                  callback: Callable[[Request[Position]], Any], *,
                                  timeout: Optional[float] = DEFAULT_TIMEOUT,
                                  packet_data: PacketData = PacketData.ALLOWED
                                  ) -> Request[Position]:
        """Starts a conversion; see :meth:`start_current_position`."""
        return self._started(_Kind.CONVERT_TO_POSITION, callback, timeout, 0, packet_data,
                             _measurements_text(measurements))

    def _started(self, kind: Any, callback: Callable[[Any], Any], timeout: Optional[float],
                 request_parameter: int, packet_data: int, text: str = "") -> Request[Any]:
        self._check_open()
        request: Request[Any] = Request(self, kind, callback)
        request._token = self._core.start(kind, _timeout_ms(timeout), request_parameter,
                                          int(packet_data), text, request._deliver)
        return request

    # Subscriptions ---------------------------------------------------------

    def updates(self, *, interval: float = 1.0, minimum_distance: float = 0.0,
                timeout: Optional[float] = DEFAULT_TIMEOUT, request_parameter: int = 0,
                packet_data: PacketData = PacketData.ALLOWED) -> Updates:
        """Current positions every ``interval`` seconds, as an asynchronous iterator
        (:class:`Updates`). Positions closer than ``minimum_distance`` metres to the last
        one reported are left out; failures are always reported."""
        if interval <= 0:
            raise ValueError(f"interval must be positive, not {interval!r}")
        if minimum_distance < 0:
            raise ValueError(f"minimum_distance must not be negative, not {minimum_distance!r}")
        return Updates(self, max(1, round(interval * 1000)), minimum_distance,
                       _timeout_ms(timeout), request_parameter, packet_data)
