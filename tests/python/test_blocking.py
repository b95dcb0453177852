"""The blocking requests: values, failures as exceptions, and the GIL released while waiting."""

import datetime
import threading
import time

import pytest

import kopapositioning as kp

SCENARIO = """
position 61.4978 23.7610 35
altitude 120.5
speed 2.5
heading 270
method cell
timestamp 1700000000123
cell lte,244,91,4660,123456,-80,3
wlan 0a:00:27:00:00:01,-49
map wlan 0a:00:27:00:00:01 61.4980 23.7614 30
"""


def test_the_four_requests_answer_with_python_values(sim, positioning):
    sim.load_scenario(SCENARIO)

    position = positioning.current_position(timeout=5, request_parameter=7,
                                            packet_data=kp.PacketData.NOT_ALLOWED)
    assert (position.latitude, position.longitude) == pytest.approx((61.4978, 23.7610))
    assert position.horizontal_accuracy == pytest.approx(35)
    assert position.altitude == pytest.approx(120.5)
    assert position.vertical_accuracy is None
    assert (position.speed, position.heading) == pytest.approx((2.5, 270))
    assert position.method is kp.PositionMethod.CELL
    assert position.time == datetime.datetime(2023, 11, 14, 22, 13, 20, 123000,
                                              tzinfo=datetime.timezone.utc)
    assert position.time.utcoffset() == datetime.timedelta(0)

    measurements = positioning.current_measurements(request_parameter=9)
    assert measurements.cells == (kp.Cell(kp.Radio.LTE, 244, 91, 4660, 123456, -80, 3),)
    assert measurements.access_points == (kp.AccessPoint("0a:00:27:00:00:01", -49),)
    assert kp.Measurements.from_text(measurements.text) == measurements

    assert positioning.last_known_position() == position

    converted = positioning.convert_to_position(measurements)
    assert converted.method is kp.PositionMethod.WLAN
    assert (converted.latitude, converted.longitude) == pytest.approx((61.4980, 23.7614))
    built = kp.Measurements(access_points=[kp.AccessPoint("0a:00:27:00:00:01", -60)])
    assert positioning.convert_to_position(built.text).horizontal_accuracy == pytest.approx(30)

    members = [(member, args) for member, _, _, args in sim.requests()]
    assert members[0][0] == "currentPosition" and members[0][1][:2] == (7, 0)
    assert members[1] == ("currentMeasurements", (9,))
    assert [m for m, _ in members[2:]] == ["lastKnownPosition", "convertToPosition",
                                           "convertToPosition"]


@pytest.mark.parametrize("outcome, error, code", [
    ("error 41", kp.GeneralError, -1000),
    ("error 42", kp.NotAuthorizedError, -2050),
    ("error 43", kp.NetworkError, -2103),
    ("error 45", kp.InformationShortageError, -2102),
    ("error 46", kp.NotPositionedError, -2105),
    ("error 52", kp.ServerError, -2104),
    ("error 53", kp.MethodNotSupportedError, -1050),
    ("error 99", kp.GeneralError, -1000),
    ("int32 5", kp.GeneralError, -1000),
    ("noreply", kp.RequestTimeoutError, -2100),
])
def test_failures_raise_the_class_of_their_code_with_its_cause(sim, positioning, outcome, error,
                                                               code):
    sim.push("currentPosition", outcome)
    started = time.monotonic()
    with pytest.raises(error) as caught:
        positioning.current_position(timeout=0.3)
    failure = caught.value
    if outcome == "noreply":  # kept to the millisecond, with no loop at all, and cancelled
        assert time.monotonic() - started < 0.9 and sim.wait_for_cancels(1)
    assert type(failure) is error
    assert failure.code == code
    assert failure.name == kp._kopapositioning.code_name(code)
    assert failure.name in str(failure) and str(code) in str(failure)
    if outcome.startswith("error"):
        assert failure.cause.kind is kp.FailureKind.SERVICE_ERROR
        assert failure.cause.error_name == "com.ruvex.location.kopad.Error"


def test_python_meanings_and_every_code_of_the_header_have_a_class():
    assert issubclass(kp.RequestTimeoutError, TimeoutError)
    assert issubclass(kp.NotAuthorizedError, PermissionError)
    assert issubclass(kp.ServiceUnavailableError, ConnectionError)
    assert issubclass(kp.MalformedTextError, ValueError)
    codes = [value for name, value in vars(kp._kopapositioning).items()
             if name.startswith("KOPA_ERROR_")]
    classes = {kp.error_class(code) for code in codes}
    assert len(classes) == len(codes) and kp.KopaError not in classes
    assert kp.error_class(-1000, kp.FailureKind.NO_SERVICE) is kp.ServiceUnavailableError
    assert kp.error_class(-4242) is kp.KopaError


def test_unreadable_measurements_are_refused_before_anything_is_sent(sim, positioning):
    with pytest.raises(kp.MalformedTextError) as caught:
        positioning.convert_to_position("not a measurements text")
    assert caught.value.code > 0
    with pytest.raises(TypeError):
        positioning.convert_to_position(42)
    with pytest.raises(ValueError):
        positioning.current_position(timeout=0)
    assert sim.requests() == []


def test_another_thread_runs_python_while_a_request_waits(sim, positioning):
    sim.push("currentPosition", "delay 1500 reply")
    events = []

    def busy():
        assert sim.wait_for_requests(1)
        sum(range(200000))  # pure Python: needs the GIL
        events.append("thread ran")

    thread = threading.Thread(target=busy)
    thread.start()
    positioning.current_position(timeout=10)
    events.append("request returned")
    thread.join()
    assert events == ["thread ran", "request returned"]
