"""The values a request returns: positions and radio measurements."""

from __future__ import annotations

import datetime
import enum
from dataclasses import dataclass, field
from typing import Optional, Tuple

from . import _kopapositioning as _core

_EPOCH = datetime.datetime(1970, 1, 1, tzinfo=datetime.timezone.utc)


class PositionMethod(enum.IntEnum):
    """How a position was found."""

    UNKNOWN = 0
    GNSS = 1  #: satellite navigation
    CELL = 2  #: cellular network
    WLAN = 3  #: WLAN access points
    HYBRID = 4  #: a combination of the above


class Radio(enum.IntEnum):
    """The radio technology of an observed cell."""

    GSM = 1
    UMTS = 2
    LTE = 3
    NR = 4


class PacketData(enum.IntEnum):
    """Whether the service may use packet data to answer."""

    NOT_ALLOWED = 0
    ALLOWED = 1


@dataclass(frozen=True)
class Position:
    """A position fix in WGS-84.

    Fields the service did not fill are None. ``time`` is an aware
    :class:`datetime.datetime` in UTC.
    """

    latitude: float  #: degrees north
    longitude: float  #: degrees east
    altitude: Optional[float] = None  #: metres above the WGS-84 ellipsoid
    horizontal_accuracy: Optional[float] = None  #: radius of the uncertainty, metres
    vertical_accuracy: Optional[float] = None  #: metres
    time: Optional[datetime.datetime] = None  #: when the fix was made, UTC
    speed: Optional[float] = None  #: ground speed, metres per second
    heading: Optional[float] = None  #: degrees clockwise from true north
    method: PositionMethod = PositionMethod.UNKNOWN

    @classmethod
    def _from_core(cls, fields: tuple) -> "Position":
        lat, lon, alt, hacc, vacc, stamp, speed, heading, method = fields
        time = None if stamp is None else _EPOCH + datetime.timedelta(milliseconds=stamp)
        return cls(lat, lon, alt, hacc, vacc, time, speed, heading, _method(method))


def _method(value: int) -> PositionMethod:
    try:
        return PositionMethod(value)
    except ValueError:
        return PositionMethod.UNKNOWN


@dataclass(frozen=True)
class Cell:
    """One observed cell."""

    radio: Radio
    country_code: int  #: MCC
    network_code: int  #: MNC
    area_code: int  #: LAC or TAC
    cell_id: int  #: CI, UC-Id, ECI or NCI
    signal_strength: int  #: dBm
    timing_advance: Optional[int] = None


@dataclass(frozen=True)
class AccessPoint:
    """One observed WLAN access point."""

    bssid: str  #: six colon-separated hex octets, "00:11:22:aa:bb:cc"
    signal_strength: int  #: dBm


@dataclass(frozen=True)
class Measurements:
    """The radio measurements a position can be computed from.

    ``text`` is the record's one-line text form, which
    :meth:`Positioning.convert_to_position` accepts as well. Built from cells
    and access points, the text is written for them;
    :meth:`Measurements.from_text` reads a text back.
    """

    cells: Tuple[Cell, ...] = ()
    access_points: Tuple[AccessPoint, ...] = ()
    text: str = field(default="", compare=False)

    def __post_init__(self) -> None:
        object.__setattr__(self, "cells", tuple(self.cells))
        object.__setattr__(self, "access_points", tuple(self.access_points))
        if not self.text:
            code, text = _core.write_measurements(
                [(int(c.radio), c.country_code, c.network_code, c.area_code, c.cell_id,
                  c.signal_strength, c.timing_advance) for c in self.cells],
                [(a.bssid, a.signal_strength) for a in self.access_points])
            if code != 0:
                from ._errors import error_for_failure
                raise error_for_failure((code, _core.code_name(code), _core.code_message(code),
                                         0, "", "the measurements cannot be written as text"))
            object.__setattr__(self, "text", text)

    @classmethod
    def from_text(cls, text: str) -> "Measurements":
        """Reads a measurements text; raises :class:`MalformedTextError` when it is not one."""
        value, failure = _core.read_measurements(text)
        if failure is not None:
            from ._errors import error_for_failure
            raise error_for_failure(failure)
        return cls._from_core(value)

    @classmethod
    def _from_core(cls, fields: tuple) -> "Measurements":
        text, cells, access_points = fields
        return cls(tuple(Cell(Radio(c[0]), *c[1:]) for c in cells),
                   tuple(AccessPoint(*a) for a in access_points), text)
