#include <KopaPositioning.h>

#include <cstdlib>
#include <new>

#include "dbus/FailureCause.h"
#include "fwclient/KopaFwClient.h"
#include "log/Trace.h"

namespace {

// secure_getenv: a setuid or file-capability program must not let its caller choose a file
// for it to write to; in that mode the variable counts as unset.
// Other threads read the name for every trace line, without a lock. Writing it only when it
// differs leaves it alone in the usual case, the same variable at every construction.
void adoptTraceFileFromEnvironment() {
    const char* name = secure_getenv("KOPAAPI_TRACEFILE");
    if (name != nullptr && KopaLog::sKopaLogFileName != name) {
        KopaLog::sKopaLogFileName = name;
    }
}

}  // namespace

KopaPositioning::KopaPositioning(KopaObserver* observer) : observer(observer), self(this) {
    adoptTraceFileFromEnvironment();
    KOPA_TRACE() << "KopaPositioning::KopaPositioning(observer=" << kopa::tracePointer(observer)
                 << ")";
}

KopaPositioning::~KopaPositioning() {
    KOPA_TRACE() << "KopaPositioning::~KopaPositioning()";
}

KopaVersion KopaPositioning::version() const {
    return KopaVersion(1, 0, 0);
}

int KopaPositioning::getExtension(unsigned int /*extensionId*/, void*& extension) {
    extension = nullptr;
    return KOPA_ERROR_NOT_SUPPORTED;
}

void KopaPositioning::setAccessKey(unsigned int accessKey) {
    KOPA_TRACE() << "KopaPositioning::setAccessKey " << kopa::traceNumber(accessKey);
}

namespace {

template <typename Request>
int connectAndRun(Request& request) {
    try {
        int result = kopaFwClientP()->initKopaFwClient();
        if (result != KOPA_OK) {
            return result;
        }
        return request(*kopaFwClientP());
    } catch (const std::bad_alloc&) {
        kopa::recordFailureCause(KOPA_FAILURE_NOT_SENT, nullptr, "the library ran out of memory");
    } catch (...) {
        kopa::recordFailureCause(KOPA_FAILURE_NOT_SENT, nullptr, "an exception inside the library");
    }
    return KOPA_ERROR_GENERAL;
}

// The shape of every request operation: make sure the client is connected, hand the request
// over, and turn any exception (memory exhaustion, a throwing record) into a result code. The
// thread's failure cause tells what is behind the code.
template <typename Request>
int runRequest(Request request) {
    kopa::clearFailureCause();
    const int result = connectAndRun(request);
    kopa::explainUnrecordedFailure(result);
    return result;
}

}  // namespace

int KopaPositioning::currentPosition(KopaPosition& position, unsigned int requestParameter,
                                     KopaPacketDataUsage packetDataUsage, unsigned int timeout) {
    return runRequest([&](KopaFwClient& client) {
        return client.currentPosition(position, requestParameter, packetDataUsage, timeout);
    });
}

int KopaPositioning::currentMeasurements(KopaMeasurements& measurements,
                                         unsigned int requestParameter, unsigned int timeout) {
    return runRequest([&](KopaFwClient& client) {
        return client.currentMeasurements(measurements, requestParameter, timeout);
    });
}

int KopaPositioning::lastKnownPosition(KopaPosition& position, unsigned int requestParameter) {
    return runRequest(
        [&](KopaFwClient& client) { return client.lastKnownPosition(position, requestParameter); });
}

int KopaPositioning::convertToPosition(KopaPosition& position, const KopaMeasurements& measurements,
                                       KopaPacketDataUsage packetDataUsage, unsigned int timeout) {
    return runRequest([&](KopaFwClient& client) {
        return client.convertToPosition(position, measurements, packetDataUsage, timeout);
    });
}

namespace {

// Without an observer nothing happens at all: no client, no connection, no trace.
template <typename Request>
int runAsyncRequest(KopaObserver* observer, Request request) {
    if (observer == nullptr) {
        kopa::clearFailureCause();
        kopa::explainUnrecordedFailure(KOPA_ERROR_NO_OBSERVER);
        return KOPA_ERROR_NO_OBSERVER;
    }
    return runRequest(request);
}

}  // namespace

int KopaPositioning::currentPositionAsync(KopaPosition& position, unsigned int requestParameter,
                                          KopaPacketDataUsage packetDataUsage,
                                          unsigned int timeout) {
    return runAsyncRequest(observer, [&](KopaFwClient& client) {
        return client.currentPositionAsync(position, requestParameter, packetDataUsage, timeout,
                                           observer, this);
    });
}

int KopaPositioning::currentMeasurementsAsync(KopaMeasurements& measurements,
                                              unsigned int requestParameter, unsigned int timeout) {
    return runAsyncRequest(observer, [&](KopaFwClient& client) {
        return client.currentMeasurementsAsync(measurements, requestParameter, timeout, observer,
                                               this);
    });
}

int KopaPositioning::lastKnownPositionAsync(KopaPosition& position, unsigned int requestParameter) {
    return runAsyncRequest(observer, [&](KopaFwClient& client) {
        return client.lastKnownPositionAsync(position, requestParameter, observer, this);
    });
}

int KopaPositioning::convertToPositionAsync(KopaPosition& position,
                                            const KopaMeasurements& measurements,
                                            KopaPacketDataUsage packetDataUsage,
                                            unsigned int timeout) {
    return runAsyncRequest(observer, [&](KopaFwClient& client) {
        return client.convertToPositionAsync(position, measurements, packetDataUsage, timeout,
                                             observer, this);
    });
}

void KopaPositioning::cancel() {
    try {
        kopaFwClientP()->cancel(this);
    } catch (...) {
        // The local cancellation stands; the application learns nothing of the signal.
    }
}

void KopaPositioning::cancel(KopaRequestType requestType) {
    try {
        kopaFwClientP()->cancel(requestType, this);
    } catch (...) {
    }
}
