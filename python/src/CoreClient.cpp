#include "CoreClient.h"

#include <optional>
#include <utility>

#include "GilSafeObject.h"
#include "LoopThreadLease.h"
#include "Records.h"

namespace py = pybind11;

namespace kopapy {

namespace {

/// A kopa::Client callback that hands the outcome to a Python callable. It runs on the
/// main-loop thread, which does not hold the GIL; an exception the callable raises goes to
/// sys.unraisablehook, since nothing on this thread could catch it.
template <typename Record>
std::function<void(const kopa::Result<Record>&)> deliverTo(py::object deliver) {
    return [deliver = GilSafeObject(std::move(deliver))](const kopa::Result<Record>& result) {
        if (!interpreterAlive()) {
            return;
        }
        py::gil_scoped_acquire gil;
        try {
            py::tuple both = outcome(result);
            deliver(both[0], both[1]);
        } catch (py::error_already_set& error) {
            error.discard_as_unraisable("kopapositioning delivery");
        } catch (const std::exception& error) {
            PyErr_SetString(PyExc_RuntimeError, error.what());
            py::error_already_set().discard_as_unraisable("kopapositioning delivery");
        }
    };
}

}  // namespace

CoreClient::CoreClient() {
    py::gil_scoped_release noGil;
    client_ = std::make_shared<kopa::Client>();
}

CoreClient::~CoreClient() {
    py::gil_scoped_release noGil;
    close();
}

py::tuple CoreClient::request(RequestKind kind, const kopa::RequestOptions& options,
                              const std::string& measurementsText) {
    std::shared_ptr<kopa::Client> client;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        client = client_;
    }
    if (!client) {
        throw py::value_error("request on a closed Positioning");
    }
    if (kind == RequestKind::CurrentMeasurements) {
        std::optional<kopa::Result<KopaMeasurements>> result;
        {
            py::gil_scoped_release noGil;
            result.emplace(client->currentMeasurements(options));
            client.reset();
        }
        return outcome(*result);
    }
    std::optional<kopa::Result<KopaPosition>> result;
    if (kind == RequestKind::ConvertToPosition) {
        kopa::Result<KopaMeasurements> measurements = readMeasurements(measurementsText);
        if (!measurements.ok()) {
            return py::make_tuple(py::none(), failureTuple(measurements.error()));
        }
        py::gil_scoped_release noGil;
        result.emplace(client->convertToPosition(measurements.value(), options));
        client.reset();
    } else {
        py::gil_scoped_release noGil;
        result.emplace(kind == RequestKind::CurrentPosition ? client->currentPosition(options)
                                                            : client->lastKnownPosition(options));
        client.reset();
    }
    return outcome(*result);
}

std::uint64_t CoreClient::start(RequestKind kind, const kopa::RequestOptions& options,
                                const std::string& measurementsText, py::object deliver) {
    std::shared_ptr<kopa::Client> client;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        client = client_;
    }
    if (!client) {
        throw py::value_error("request on a closed Positioning");
    }
    std::optional<KopaMeasurements> measurements;
    if (kind == RequestKind::ConvertToPosition) {
        kopa::Result<KopaMeasurements> read = readMeasurements(measurementsText);
        if (!read.ok()) {
            // The package reads the text before it starts a request: only a caller of this
            // private layer gets here.
            throw py::value_error("unreadable measurements text");
        }
        measurements = read.value();
    }
    auto positionCallback = deliverTo<KopaPosition>(deliver);
    auto measurementsCallback = deliverTo<KopaMeasurements>(std::move(deliver));
    py::gil_scoped_release noGil;
    kopa::Request request;
    switch (kind) {
        case RequestKind::CurrentPosition:
            request = client->currentPositionAsync(options, std::move(positionCallback));
            break;
        case RequestKind::CurrentMeasurements:
            request = client->currentMeasurementsAsync(options, std::move(measurementsCallback));
            break;
        case RequestKind::LastKnownPosition:
            request = client->lastKnownPositionAsync(options, std::move(positionCallback));
            break;
        case RequestKind::ConvertToPosition:
            request =
                client->convertToPositionAsync(*measurements, options, std::move(positionCallback));
            break;
    }
    client.reset();
    return keep(std::move(request));
}

std::uint64_t CoreClient::subscribe(const kopa::SubscriptionOptions& options, py::object deliver) {
    std::shared_ptr<kopa::Client> client;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        client = client_;
    }
    if (!client) {
        throw py::value_error("subscription on a closed Positioning");
    }
    auto callback = deliverTo<KopaPosition>(std::move(deliver));
    py::gil_scoped_release noGil;
    kopa::Subscription subscription = client->subscribe(options, std::move(callback));
    client.reset();
    return keep(std::move(subscription));
}

std::uint64_t CoreClient::keep(Handle handle) {
    std::map<std::uint64_t, Handle> finished;
    std::uint64_t token;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        finished = takeFinishedLocked();
        token = nextToken_++;
        handles_.emplace(token, std::move(handle));
    }
    return token;
}

std::map<std::uint64_t, CoreClient::Handle> CoreClient::takeFinishedLocked() {
    std::map<std::uint64_t, Handle> finished;
    for (auto it = handles_.begin(); it != handles_.end();) {
        bool live = std::visit(
            [](const auto& handle) {
                if constexpr (std::is_same_v<std::decay_t<decltype(handle)>, kopa::Request>) {
                    return handle.pending();
                } else {
                    return handle.active();
                }
            },
            it->second);
        if (live) {
            ++it;
        } else {
            finished.insert(handles_.extract(it++));
        }
    }
    return finished;
}

void CoreClient::cancel(std::uint64_t token) {
    py::gil_scoped_release noGil;
    std::map<std::uint64_t, Handle>::node_type doomed;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        doomed = handles_.extract(token);
    }
    // Destroying the handle cancels, waiting for a delivery under way.
}

std::size_t CoreClient::outstanding() {
    py::gil_scoped_release noGil;
    std::map<std::uint64_t, Handle> finished;
    std::lock_guard<std::mutex> lock(mutex_);
    finished = takeFinishedLocked();
    return handles_.size();
}

void CoreClient::useLoopThread() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (holdsLease_ || closed_) {
            return;
        }
    }
    py::gil_scoped_release noGil;
    bool leased = loopThread::acquire();
    bool surplus = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        surplus = leased && (holdsLease_ || closed_);
        holdsLease_ = holdsLease_ || leased;
    }
    if (surplus) {
        loopThread::release();
    }
}

void CoreClient::close() {
    std::map<std::uint64_t, Handle> doomed;
    std::shared_ptr<kopa::Client> client;
    bool heldLease = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        closed_ = true;
        doomed.swap(handles_);
        client.swap(client_);
        heldLease = std::exchange(holdsLease_, false);
    }
    doomed.clear();
    client.reset();
    if (heldLease) {
        loopThread::release();
    }
}

}  // namespace kopapy
