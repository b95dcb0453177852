"""Typing stub of the compiled core of kopapositioning (a private module)."""

import enum
from typing import Any, Callable, Iterable, Optional, Tuple

_Failure = Tuple[int, str, str, int, str, str]
_Deliver = Callable[[Any, Optional[_Failure]], None]

class RequestKind(enum.Enum):
    CURRENT_POSITION: int
    CURRENT_MEASUREMENTS: int
    LAST_KNOWN_POSITION: int
    CONVERT_TO_POSITION: int
    name: str

class CoreClient:
    def __init__(self) -> None: ...
    def request(self, kind: RequestKind, timeout_ms: int, request_parameter: int,
                packet_data: int, measurements_text: str = ...) -> Tuple[Any, Optional[_Failure]]: ...
    def start(self, kind: RequestKind, timeout_ms: int, request_parameter: int, packet_data: int,
              measurements_text: str, deliver: _Deliver) -> int: ...
    def subscribe(self, interval_ms: int, minimum_distance: float, timeout_ms: int,
                  request_parameter: int, packet_data: int, deliver: _Deliver) -> int: ...
    def cancel(self, token: int) -> None: ...
    def outstanding(self) -> int: ...
    def use_loop_thread(self) -> None: ...
    def close(self) -> None: ...

def read_measurements(text: str) -> Tuple[Any, Optional[_Failure]]: ...
def write_measurements(cells: Iterable[tuple], access_points: Iterable[tuple]) -> Tuple[int, str]: ...
def code_name(code: int) -> str: ...
def code_message(code: int) -> str: ...
def loop_thread_running() -> bool: ...
def shutdown() -> None: ...

KOPA_OK: int
KOPA_ERROR_GENERAL: int
KOPA_ERROR_SEND: int
KOPA_ERROR_NOT_SUPPORTED: int
KOPA_ERROR_METHOD_NOT_SUPPORTED: int
KOPA_ERROR_NO_OBSERVER: int
KOPA_ERROR_REQUEST_PENDING: int
KOPA_ERROR_NOT_AUTHORIZED: int
KOPA_ERROR_NO_REPLY: int
KOPA_ERROR_INFORMATION_SHORTAGE: int
KOPA_ERROR_NETWORK: int
KOPA_ERROR_SERVER: int
KOPA_ERROR_NOT_POSITIONED: int
