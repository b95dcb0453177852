// _kopapositioning: the compiled half of the kopapositioning package. The package's Python
// half turns these plain tuples into its value classes and exceptions; see its __init__.py.

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <chrono>

#include "CoreClient.h"
#include "LoopThreadLease.h"
#include "Records.h"

namespace py = pybind11;
using namespace pybind11::literals;

namespace {

kopa::RequestOptions requestOptions(long long timeoutMs, unsigned int requestParameter,
                                    int packetData) {
    kopa::RequestOptions options;
    options.timeout = std::chrono::milliseconds(timeoutMs);
    options.requestParameter = requestParameter;
    options.packetData = static_cast<KopaPacketDataUsage>(packetData);
    return options;
}

}  // namespace

PYBIND11_MODULE(_kopapositioning, m) {
    using kopapy::CoreClient;
    using kopapy::RequestKind;

    m.doc() = "The compiled core of kopapositioning; use the kopapositioning package instead.";

    py::enum_<RequestKind>(m, "RequestKind", "The four kinds of request.")
        .value("CURRENT_POSITION", RequestKind::CurrentPosition)
        .value("CURRENT_MEASUREMENTS", RequestKind::CurrentMeasurements)
        .value("LAST_KNOWN_POSITION", RequestKind::LastKnownPosition)
        .value("CONVERT_TO_POSITION", RequestKind::ConvertToPosition);

    py::class_<CoreClient>(m, "CoreClient",
                           "One kopa::Client. Outcomes are (value, None) or (None, failure).")
        .def(py::init<>())
        .def(
            "request",
            [](CoreClient& self, RequestKind kind, long long timeoutMs,
               unsigned int requestParameter, int packetData, const std::string& text) {
                return self.request(kind, requestOptions(timeoutMs, requestParameter, packetData),
                                    text);
            },
            "kind"_a, "timeout_ms"_a, "request_parameter"_a, "packet_data"_a,
            "measurements_text"_a = "", "A blocking request; the GIL is released while it waits.")
        .def(
            "start",
            [](CoreClient& self, RequestKind kind, long long timeoutMs,
               unsigned int requestParameter, int packetData, const std::string& text,
               py::object deliver) {
                return self.start(kind, requestOptions(timeoutMs, requestParameter, packetData),
                                  text, std::move(deliver));
            },
            "kind"_a, "timeout_ms"_a, "request_parameter"_a, "packet_data"_a, "measurements_text"_a,
            "deliver"_a,
            "Starts an asynchronous request; deliver(value, failure) is called on the thread "
            "that runs GLib's default main context. Returns a token for cancel().")
        .def(
            "subscribe",
            [](CoreClient& self, long long intervalMs, double minimumDistance, long long timeoutMs,
               unsigned int requestParameter, int packetData, py::object deliver) {
                kopa::SubscriptionOptions options;
                options.interval = std::chrono::milliseconds(intervalMs);
                options.minimumDistance = minimumDistance;
                options.request = requestOptions(timeoutMs, requestParameter, packetData);
                return self.subscribe(options, std::move(deliver));
            },
            "interval_ms"_a, "minimum_distance"_a, "timeout_ms"_a, "request_parameter"_a,
            "packet_data"_a, "deliver"_a,
            "Starts a subscription; deliver(value, failure) receives every report.")
        .def("cancel", &CoreClient::cancel, "token"_a,
             "Cancels a request or subscription; waits for a delivery under way (without the "
             "GIL).")
        .def("outstanding", &CoreClient::outstanding,
             "The number of requests and subscriptions still outstanding.")
        .def("use_loop_thread", &CoreClient::useLoopThread,
             "Makes sure a GLib loop delivers: the program's own or the module's thread.")
        .def(
            "close",
            [](CoreClient& self) {
                py::gil_scoped_release noGil;
                self.close();
            },
            "Cancels everything outstanding and gives the loop thread back.");

    m.def(
        "read_measurements",
        [](const std::string& text) {
            kopa::Result<KopaMeasurements> read = kopapy::readMeasurements(text);
            return kopapy::outcome(read);
        },
        "text"_a, "Reads a measurements text: (value, None) or (None, failure).");
    m.def("write_measurements", &kopapy::writeMeasurements, "cells"_a, "access_points"_a,
          "The text of measurements: (code, text).");
    m.def("code_name", &kopa::codeName, "code"_a, "The symbolic name of a result code.");
    m.def("code_message", &kopa::codeMessage, "code"_a, "A one-line description of a result code.");
    m.def("loop_thread_running", &kopapy::loopThread::running,
          "Whether the module's own GLib loop thread runs.");
    m.def(
        "shutdown",
        [] {
            py::gil_scoped_release noGil;
            kopapy::loopThread::shutdown();
        },
        "Stops the module's loop thread for good (at interpreter exit).");

    m.attr("KOPA_OK") = KOPA_OK;
    m.attr("KOPA_ERROR_GENERAL") = KOPA_ERROR_GENERAL;
    m.attr("KOPA_ERROR_SEND") = KOPA_ERROR_SEND;
    m.attr("KOPA_ERROR_NOT_SUPPORTED") = KOPA_ERROR_NOT_SUPPORTED;
    m.attr("KOPA_ERROR_METHOD_NOT_SUPPORTED") = KOPA_ERROR_METHOD_NOT_SUPPORTED;
    m.attr("KOPA_ERROR_NO_OBSERVER") = KOPA_ERROR_NO_OBSERVER;
    m.attr("KOPA_ERROR_REQUEST_PENDING") = KOPA_ERROR_REQUEST_PENDING;
    m.attr("KOPA_ERROR_NOT_AUTHORIZED") = KOPA_ERROR_NOT_AUTHORIZED;
    m.attr("KOPA_ERROR_NO_REPLY") = KOPA_ERROR_NO_REPLY;
    m.attr("KOPA_ERROR_INFORMATION_SHORTAGE") = KOPA_ERROR_INFORMATION_SHORTAGE;
    m.attr("KOPA_ERROR_NETWORK") = KOPA_ERROR_NETWORK;
    m.attr("KOPA_ERROR_SERVER") = KOPA_ERROR_SERVER;
    m.attr("KOPA_ERROR_NOT_POSITIONED") = KOPA_ERROR_NOT_POSITIONED;
}
