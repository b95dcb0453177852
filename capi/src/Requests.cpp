// The client and its requests: C callbacks and options in, kopa::Client's requests out. Each
// entry point checks the caller's values, then hands over to kopa::Client, whose rules (any
// number outstanding, handles that cancel, time-outs to the millisecond) it keeps as they are.
#include <cmath>
#include <memory>
#include <new>
#include <stdexcept>
#include <type_traits>

#include "Handles.h"

namespace kopa::capi {

int toOptions(const kopa_request_options* in, kopa::RequestOptions& options,
              kopa_error** out) noexcept {
    if (in == nullptr) {
        return KOPA_OK;
    }
    if (in->timeout_ms < 0) {
        return refuse(out, KOPA_ERROR_NOT_SUPPORTED, "timeout_ms is negative");
    }
    options.timeout = std::chrono::milliseconds(in->timeout_ms);
    options.requestParameter = in->request_parameter;
    options.packetData = static_cast<KopaPacketDataUsage>(in->packet_data);
    return KOPA_OK;
}

}  // namespace kopa::capi

namespace {

using kopa::capi::failFromException;
using kopa::capi::refuse;

// Calls a C callback with a failure. The error is made before the call, so that nothing
// thrown while making it could run the callback twice.
template <typename Callback>
void reportFailure(Callback callback, const kopa::Error& failure, void* userData) noexcept {
    std::unique_ptr<kopa_error> error;
    try {
        error = std::make_unique<kopa_error>(failure.code(), failure.cause());
    } catch (...) {
        // Out of memory: the code alone still tells the failure.
    }
    callback(failure.code(), nullptr, error.get(), userData);
}

kopa::PositionCallback forPositions(kopa_position_callback callback, void* userData) {
    return [callback, userData](const kopa::Result<KopaPosition>& result) {
        if (!result) {
            reportFailure(callback, result.error(), userData);
            return;
        }
        const kopa_position position = kopa::capi::toC(result.value());
        callback(KOPA_OK, &position, nullptr, userData);
    };
}

kopa::MeasurementsCallback forMeasurements(kopa_measurements_callback callback, void* userData) {
    return [callback, userData](const kopa::Result<KopaMeasurements>& result) {
        if (!result) {
            reportFailure(callback, result.error(), userData);
            return;
        }
        std::unique_ptr<kopa_measurements> lent;
        try {
            lent.reset(new kopa_measurements{result.value()});
        } catch (...) {
            reportFailure(
                callback,
                kopa::Error(KOPA_ERROR_GENERAL, {KOPA_FAILURE_NOT_SENT, "", "out of memory"}),
                userData);
            return;
        }
        callback(KOPA_OK, lent.get(), nullptr, userData);
    };
}

// The shared body of the asynchronous requests: check, start, hand out the handle.
template <typename Callback, typename Start>
int startRequest(const kopa_request_options* options, Callback callback, kopa_request** request,
                 kopa_error** error, Start start) noexcept {
    try {
        kopa::RequestOptions checked;
        if (const int code = kopa::capi::toOptions(options, checked, error); code != KOPA_OK) {
            return code;
        }
        if (callback == nullptr) {
            return refuse(error, KOPA_ERROR_NOT_SUPPORTED, "callback is NULL");
        }
        auto handle = std::make_unique<kopa_request>();  // before the request: nothing to undo
        handle->request = start(checked);
        *request = handle.release();
        return KOPA_OK;
    } catch (...) {
        return failFromException(error);
    }
}

// The shared body of the blocking requests: check, wait, copy the record out.
template <typename Record, typename Out, typename Ask>
int waitFor(const kopa_request_options* options, Out* out, kopa_error** error, Ask ask) noexcept {
    try {
        kopa::RequestOptions checked;
        if (const int code = kopa::capi::toOptions(options, checked, error); code != KOPA_OK) {
            return code;
        }
        kopa::Result<Record> result = ask(checked);
        if (!result) {
            return kopa::capi::fail(error, result.error());
        }
        if constexpr (std::is_same_v<Record, KopaPosition>) {
            *out = kopa::capi::toC(result.value());
        } else {
            *out = new kopa_measurements{std::move(result.value())};
        }
        return KOPA_OK;
    } catch (...) {
        return failFromException(error);
    }
}

}  // namespace

extern "C" {

kopa_client* kopa_client_new(void) {
    try {
        return new kopa_client();
    } catch (...) {
        return nullptr;
    }
}

kopa_client* kopa_client_new_with_context(GMainContext* context) {
    try {
        return new kopa_client(context);
    } catch (...) {
        return nullptr;
    }
}

void kopa_client_free(kopa_client* client) {
    delete client;
}

int kopa_client_current_position(kopa_client* client, const kopa_request_options* options,
                                 kopa_position* position, kopa_error** error) {
    return waitFor<KopaPosition>(options, position, error, [&](const kopa::RequestOptions& o) {
        return client->client.currentPosition(o);
    });
}

int kopa_client_current_measurements(kopa_client* client, const kopa_request_options* options,
                                     kopa_measurements** measurements, kopa_error** error) {
    return waitFor<KopaMeasurements>(
        options, measurements, error,
        [&](const kopa::RequestOptions& o) { return client->client.currentMeasurements(o); });
}

int kopa_client_last_known_position(kopa_client* client, const kopa_request_options* options,
                                    kopa_position* position, kopa_error** error) {
    return waitFor<KopaPosition>(options, position, error, [&](const kopa::RequestOptions& o) {
        return client->client.lastKnownPosition(o);
    });
}

int kopa_client_convert_to_position(kopa_client* client, const kopa_measurements* measurements,
                                    const kopa_request_options* options, kopa_position* position,
                                    kopa_error** error) {
    return waitFor<KopaPosition>(options, position, error, [&](const kopa::RequestOptions& o) {
        return client->client.convertToPosition(measurements->record, o);
    });
}

int kopa_client_current_position_async(kopa_client* client, const kopa_request_options* options,
                                       kopa_position_callback callback, void* user_data,
                                       kopa_request** request, kopa_error** error) {
    return startRequest(options, callback, request, error, [&](const kopa::RequestOptions& o) {
        return client->client.currentPositionAsync(o, forPositions(callback, user_data));
    });
}

int kopa_client_current_measurements_async(kopa_client* client, const kopa_request_options* options,
                                           kopa_measurements_callback callback, void* user_data,
                                           kopa_request** request, kopa_error** error) {
    return startRequest(options, callback, request, error, [&](const kopa::RequestOptions& o) {
        return client->client.currentMeasurementsAsync(o, forMeasurements(callback, user_data));
    });
}

int kopa_client_last_known_position_async(kopa_client* client, const kopa_request_options* options,
                                          kopa_position_callback callback, void* user_data,
                                          kopa_request** request, kopa_error** error) {
    return startRequest(options, callback, request, error, [&](const kopa::RequestOptions& o) {
        return client->client.lastKnownPositionAsync(o, forPositions(callback, user_data));
    });
}

int kopa_client_convert_to_position_async(kopa_client* client,
                                          const kopa_measurements* measurements,
                                          const kopa_request_options* options,
                                          kopa_position_callback callback, void* user_data,
                                          kopa_request** request, kopa_error** error) {
    return startRequest(options, callback, request, error, [&](const kopa::RequestOptions& o) {
        return client->client.convertToPositionAsync(measurements->record, o,
                                                     forPositions(callback, user_data));
    });
}

bool kopa_request_pending(const kopa_request* request) {
    return request->request.pending();
}
void kopa_request_cancel(kopa_request* request) {
    request->request.cancel();
}
void kopa_request_free(kopa_request* request) {
    delete request;
}

int kopa_client_subscribe(kopa_client* client, const kopa_subscription_options* options,
                          kopa_position_callback callback, void* user_data,
                          kopa_subscription** subscription, kopa_error** error) {
    try {
        kopa::SubscriptionOptions checked;
        if (options != nullptr) {
            if (const int code = kopa::capi::toOptions(&options->request, checked.request, error);
                code != KOPA_OK) {
                return code;
            }
            if (options->interval_ms < 1) {
                return refuse(error, KOPA_ERROR_NOT_SUPPORTED, "interval_ms is less than 1");
            }
            if (!(options->minimum_distance >= 0.0)) {  // NaN too
                return refuse(error, KOPA_ERROR_NOT_SUPPORTED,
                              "minimum_distance is negative or not a number");
            }
            checked.interval = std::chrono::milliseconds(options->interval_ms);
            checked.minimumDistance = options->minimum_distance;
        }
        if (callback == nullptr) {
            return refuse(error, KOPA_ERROR_NOT_SUPPORTED, "callback is NULL");
        }
        auto handle = std::make_unique<kopa_subscription>();
        handle->subscription = client->client.subscribe(checked, forPositions(callback, user_data));
        *subscription = handle.release();
        return KOPA_OK;
    } catch (...) {
        return failFromException(error);
    }
}

bool kopa_subscription_active(const kopa_subscription* subscription) {
    return subscription->subscription.active();
}

void kopa_subscription_cancel(kopa_subscription* subscription) {
    subscription->subscription.cancel();
}

void kopa_subscription_free(kopa_subscription* subscription) {
    delete subscription;
}

int kopa_main_loop_thread_new(kopa_main_loop_thread** thread, kopa_error** error) {
    try {
        *thread = new kopa_main_loop_thread();
        return KOPA_OK;
    } catch (const std::runtime_error& refused) {
        return refuse(error, KOPA_ERROR_NOT_SUPPORTED, refused.what());
    } catch (...) {
        return failFromException(error);
    }
}

void kopa_main_loop_thread_free(kopa_main_loop_thread* thread) {
    delete thread;
}

kopa_application_loop* kopa_application_loop_new(void) {
    return new (std::nothrow) kopa_application_loop();
}

void kopa_application_loop_free(kopa_application_loop* loop) {
    delete loop;
}

}  // extern "C"
