"""The exceptions a failed request raises: one class for each result code."""

from __future__ import annotations

import enum
from typing import Dict, NamedTuple, Type

from . import _kopapositioning as _core


class FailureKind(enum.IntEnum):
    """Where a failure came from."""

    NONE = 0
    NO_BUS = 1  #: the system bus could not be reached
    NO_SERVICE = 2  #: nobody owns the service's bus name
    POLICY = 3  #: the bus's policy refused the call
    SERVICE_ERROR = 4  #: the service answered with an error of its own
    NO_REPLY = 5  #: no answer within the time-out
    DBUS_ERROR = 6  #: another D-Bus error
    UNREADABLE_REPLY = 7  #: an answer that could not be read
    NOT_SENT = 8  #: the request could not be built or sent
    REFUSED = 9  #: refused before anything was sent


class Cause(NamedTuple):
    """Why a request failed: the D-Bus error behind the result code, or the library's reason."""

    kind: FailureKind
    error_name: str  #: the D-Bus error name; empty for the library's own reasons
    message: str  #: the D-Bus error's message, or the library's reason in words


class KopaError(Exception):
    """A request failed. Its subclasses say how; catch them by meaning.

    Attributes: ``code`` (the library's result code, e.g. -2105), ``name``
    (its symbolic name, e.g. ``"KOPA_ERROR_NOT_POSITIONED"``), ``message``
    (one line in English) and ``cause`` (a :class:`Cause`).
    """

    def __init__(self, code: int, name: str, message: str, cause: Cause) -> None:
        super().__init__(code, name, message, cause)
        self.code = code
        self.name = name
        self.message = message
        self.cause = cause

    def __str__(self) -> str:
        text = f"{self.name} ({self.code}): {self.message}"
        if self.cause.error_name or self.cause.message:
            inner = ": ".join(p for p in (self.cause.error_name, self.cause.message) if p)
            text += f" [{inner}]"
        return text

    def __reduce__(self):  # exceptions keep their attributes through pickle
        return (type(self), (self.code, self.name, self.message, self.cause))


class GeneralError(KopaError):
    """KOPA_ERROR_GENERAL: no usable answer (bad request, unreadable reply, internal error)."""


class ServiceUnavailableError(GeneralError, ConnectionError):
    """KOPA_ERROR_GENERAL because the system bus or the service could not be reached."""


class SendError(KopaError):
    """KOPA_ERROR_SEND: the request could not be handed to D-Bus."""


class NotSupportedError(KopaError):
    """KOPA_ERROR_NOT_SUPPORTED: the operation is not available."""


class MethodNotSupportedError(NotSupportedError):
    """KOPA_ERROR_METHOD_NOT_SUPPORTED: the service lacks the positioning method asked for."""


class NoObserverError(KopaError):
    """KOPA_ERROR_NO_OBSERVER: an asynchronous request without anyone to receive it."""


class RequestPendingError(KopaError):
    """KOPA_ERROR_REQUEST_PENDING: a request of the same kind is outstanding."""


class NotAuthorizedError(KopaError, PermissionError):
    """KOPA_ERROR_NOT_AUTHORIZED: the service refuses the caller."""


class RequestTimeoutError(KopaError, TimeoutError):
    """KOPA_ERROR_NO_REPLY: no answer within the time-out."""


class InformationShortageError(KopaError):
    """KOPA_ERROR_INFORMATION_SHORTAGE: not enough information for a position."""


class NetworkError(KopaError):
    """KOPA_ERROR_NETWORK: the network is unavailable or failing."""


class ServerError(KopaError):
    """KOPA_ERROR_SERVER: the positioning server failed."""


class NotPositionedError(KopaError):
    """KOPA_ERROR_NOT_POSITIONED: no position could be found."""


class MalformedTextError(KopaError, ValueError):
    """A record's text could not be read or written (a positive KOPA_TEXT_ code)."""


class ClosedError(ValueError):
    """The :class:`Positioning` was closed: raised by a request made after :meth:`close`, and
    in every coroutine still awaiting a request when it was closed."""


_BY_CODE: Dict[int, Type[KopaError]] = {
    _core.KOPA_ERROR_GENERAL: GeneralError,
    _core.KOPA_ERROR_SEND: SendError,
    _core.KOPA_ERROR_NOT_SUPPORTED: NotSupportedError,
    _core.KOPA_ERROR_METHOD_NOT_SUPPORTED: MethodNotSupportedError,
    _core.KOPA_ERROR_NO_OBSERVER: NoObserverError,
    _core.KOPA_ERROR_REQUEST_PENDING: RequestPendingError,
    _core.KOPA_ERROR_NOT_AUTHORIZED: NotAuthorizedError,
    _core.KOPA_ERROR_NO_REPLY: RequestTimeoutError,
    _core.KOPA_ERROR_INFORMATION_SHORTAGE: InformationShortageError,
    _core.KOPA_ERROR_NETWORK: NetworkError,
    _core.KOPA_ERROR_SERVER: ServerError,
    _core.KOPA_ERROR_NOT_POSITIONED: NotPositionedError,
}

_UNREACHABLE = (FailureKind.NO_BUS, FailureKind.NO_SERVICE)


def error_class(code: int, kind: FailureKind = FailureKind.NONE) -> Type[KopaError]:
    """The exception class for a result code (and the kind of its cause)."""
    if code == _core.KOPA_ERROR_GENERAL and kind in _UNREACHABLE:
        return ServiceUnavailableError
    if code > 0:
        return MalformedTextError
    return _BY_CODE.get(code, KopaError)


def error_for_failure(failure: tuple) -> KopaError:
    """The exception for a failure as the compiled core reports it."""
    code, name, message, kind, error_name, cause_message = failure
    try:
        kind = FailureKind(kind)
    except ValueError:
        kind = FailureKind.NONE
    return error_class(code, kind)(code, name, message, Cause(kind, error_name, cause_message))
