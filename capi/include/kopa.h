#ifndef KOPA_C_H
#define KOPA_C_H

/** @file kopa.h
 * libkopac: the positioning service's four requests for C programs (and for any language that
 * binds to C). A C11 header: it includes only <stdbool.h>, <stddef.h> and <stdint.h>.
 *
 * **Results.** Every function that can fail returns an int result code: KOPA_OK (0) on
 * success, otherwise one of the library's negative codes (docs: errors.md), or for a record
 * text that does not parse a positive KOPA_TEXT_ code. Such a function takes as its last
 * argument a `kopa_error **error`: when it fails and `error` is not NULL, `*error` receives a
 * new kopa_error (the code, its name, a one-line message and the cause), which the caller
 * frees with kopa_error_free. On success `*error` is left untouched. Nothing else reports a
 * failure: no function aborts, and no C++ exception leaves the library.
 *
 * **Invalid values** (a negative time-out, an interval of zero, a negative minimum distance,
 * measurements text that does not parse) are failures like any other: a result code and an
 * error whose cause kind is KOPA_CAUSE_REFUSED and whose cause message names the value. A
 * NULL pointer where a function says "not NULL" is the caller's fault and is not checked.
 *
 * **Ownership.** Every object the library hands out has its own free function, which accepts
 * NULL. Pointers passed to a callback are lent for the duration of the call only; copy what
 * you keep (kopa_error_copy, kopa_measurements_copy, or the kopa_position struct itself).
 * Strings returned by accessors belong to their object and live as long as it does.
 *
 * **Threads.** Every function may be called from any thread, unless it says otherwise.
 * Callbacks run on the thread that runs GLib's default main context (the client's own
 * context for kopa_client_new_with_context), one at a time per context. A program without a
 * GLib loop of its own keeps a kopa_main_loop_thread. Cancelling (kopa_request_cancel,
 * kopa_request_free, kopa_subscription_cancel, kopa_subscription_free, kopa_client_free)
 * works from any thread: once it returns, that request's callback is not running and will
 * never run, and the service has been sent the cancel. From inside a callback on the same
 * thread it returns at once; from another thread while the request's callback runs it waits
 * for that callback to return, so never hold, while cancelling, a lock that a callback takes.
 * One handle must not be used by one thread while another frees it.
 *
 * **user_data** is passed back to the callback untouched; it must stay valid until the
 * callback has run or the request's cancel (or free) has returned.
 */

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Marks what libkopac exports; everything else is hidden. */
#define KOPA_C_API __attribute__((visibility("default")))

/** Result codes. The values are libkopapositioning's; C programs may write them as the library
 * does (KOPA_OK, KOPA_ERROR_NO_REPLY, KOPA_TEXT_BAD_NUMBER, ...), macros this header defines
 * for C alone, as it does KOPA_PACKET_DATA_ALLOWED and KOPA_PACKET_DATA_NOT_ALLOWED. */
enum kopa_code {
    KOPA_CODE_OK = 0,                             /**< success */
    KOPA_CODE_ERROR_GENERAL = -1000,              /**< no bus, no service, unusable answer */
    KOPA_CODE_ERROR_SEND = -1001,                 /**< could not be handed to D-Bus */
    KOPA_CODE_ERROR_NOT_SUPPORTED = -1005,        /**< not available, or a value refused */
    KOPA_CODE_ERROR_METHOD_NOT_SUPPORTED = -1050, /**< the service lacks the method */
    KOPA_CODE_ERROR_NO_OBSERVER = -2001,          /**< (not returned by libkopac) */
    KOPA_CODE_ERROR_REQUEST_PENDING = -2002,      /**< (not returned by libkopac) */
    KOPA_CODE_ERROR_NOT_AUTHORIZED = -2050,       /**< the service refuses the caller */
    KOPA_CODE_ERROR_NO_REPLY = -2100,             /**< no answer within the time-out */
    KOPA_CODE_ERROR_INFORMATION_SHORTAGE = -2102, /**< not enough information */
    KOPA_CODE_ERROR_NETWORK = -2103,              /**< network unavailable or failing */
    KOPA_CODE_ERROR_SERVER = -2104,               /**< the positioning server failed */
    KOPA_CODE_ERROR_NOT_POSITIONED = -2105,       /**< no position could be found */
    KOPA_CODE_TEXT_EMPTY = 1,                     /**< record text empty */
    KOPA_CODE_TEXT_WRONG_RECORD = 2,              /**< text of another record */
    KOPA_CODE_TEXT_UNSUPPORTED_VERSION = 3,       /**< format version not read */
    KOPA_CODE_TEXT_MALFORMED_FIELD = 4,           /**< a field not name=value */
    KOPA_CODE_TEXT_BAD_NUMBER = 5,                /**< a number that is none */
    KOPA_CODE_TEXT_OUT_OF_RANGE = 6,              /**< a value out of its range */
    KOPA_CODE_TEXT_MISSING_FIELD = 7,             /**< a required field absent */
    KOPA_CODE_TEXT_DUPLICATE_FIELD = 8,           /**< a field twice */
    KOPA_CODE_TEXT_BAD_VALUE = 9,                 /**< a value the field does not allow */
    KOPA_CODE_TEXT_NOT_REPRESENTABLE = 10         /**< a value text cannot carry */
};

/** Where a failure came from (the cause of a kopa_error). */
enum kopa_cause_kind {
    KOPA_CAUSE_NONE = 0,             /**< no failure */
    KOPA_CAUSE_NO_BUS = 1,           /**< the system bus could not be reached, or has gone */
    KOPA_CAUSE_NO_SERVICE = 2,       /**< nobody owns the service's bus name */
    KOPA_CAUSE_POLICY = 3,           /**< the bus's policy refused the call */
    KOPA_CAUSE_SERVICE_ERROR = 4,    /**< the service answered with an error of its own */
    KOPA_CAUSE_NO_REPLY = 5,         /**< no answer within the time-out */
    KOPA_CAUSE_DBUS_ERROR = 6,       /**< another D-Bus error */
    KOPA_CAUSE_UNREADABLE_REPLY = 7, /**< an answer the record could not read */
    KOPA_CAUSE_NOT_SENT = 8,         /**< could not be built or sent (out of memory, say) */
    KOPA_CAUSE_REFUSED = 9           /**< refused before anything was sent (a bad value) */
};

/** Whether the service may use packet data to answer. */
enum kopa_packet_data_usage {
    KOPA_PACKET_DATA_USAGE_NOT_ALLOWED = 0, /**< the service must not use packet data */
    KOPA_PACKET_DATA_USAGE_ALLOWED = 1      /**< the service may use packet data */
};

/* The library's own spellings, as errors.md uses them. C only: C++ has them, with the same
 * values, from KopaPositioning.h, KopaTextResult.h and KopaFailureCause.h. */
/** @cond */
#ifndef __cplusplus
#define KOPA_OK KOPA_CODE_OK
#define KOPA_ERROR_GENERAL KOPA_CODE_ERROR_GENERAL
#define KOPA_ERROR_SEND KOPA_CODE_ERROR_SEND
#define KOPA_ERROR_NOT_SUPPORTED KOPA_CODE_ERROR_NOT_SUPPORTED
#define KOPA_ERROR_METHOD_NOT_SUPPORTED KOPA_CODE_ERROR_METHOD_NOT_SUPPORTED
#define KOPA_ERROR_NO_OBSERVER KOPA_CODE_ERROR_NO_OBSERVER
#define KOPA_ERROR_REQUEST_PENDING KOPA_CODE_ERROR_REQUEST_PENDING
#define KOPA_ERROR_NOT_AUTHORIZED KOPA_CODE_ERROR_NOT_AUTHORIZED
#define KOPA_ERROR_NO_REPLY KOPA_CODE_ERROR_NO_REPLY
#define KOPA_ERROR_INFORMATION_SHORTAGE KOPA_CODE_ERROR_INFORMATION_SHORTAGE
#define KOPA_ERROR_NETWORK KOPA_CODE_ERROR_NETWORK
#define KOPA_ERROR_SERVER KOPA_CODE_ERROR_SERVER
#define KOPA_ERROR_NOT_POSITIONED KOPA_CODE_ERROR_NOT_POSITIONED
#define KOPA_TEXT_EMPTY KOPA_CODE_TEXT_EMPTY
#define KOPA_TEXT_WRONG_RECORD KOPA_CODE_TEXT_WRONG_RECORD
#define KOPA_TEXT_UNSUPPORTED_VERSION KOPA_CODE_TEXT_UNSUPPORTED_VERSION
#define KOPA_TEXT_MALFORMED_FIELD KOPA_CODE_TEXT_MALFORMED_FIELD
#define KOPA_TEXT_BAD_NUMBER KOPA_CODE_TEXT_BAD_NUMBER
#define KOPA_TEXT_OUT_OF_RANGE KOPA_CODE_TEXT_OUT_OF_RANGE
#define KOPA_TEXT_MISSING_FIELD KOPA_CODE_TEXT_MISSING_FIELD
#define KOPA_TEXT_DUPLICATE_FIELD KOPA_CODE_TEXT_DUPLICATE_FIELD
#define KOPA_TEXT_BAD_VALUE KOPA_CODE_TEXT_BAD_VALUE
#define KOPA_TEXT_NOT_REPRESENTABLE KOPA_CODE_TEXT_NOT_REPRESENTABLE
#define KOPA_PACKET_DATA_NOT_ALLOWED KOPA_PACKET_DATA_USAGE_NOT_ALLOWED
#define KOPA_PACKET_DATA_ALLOWED KOPA_PACKET_DATA_USAGE_ALLOWED
#endif
/** @endcond */

/** How a position was found. */
enum kopa_position_method {
    KOPA_METHOD_UNKNOWN = 0, /**< not said */
    KOPA_METHOD_GNSS = 1,    /**< satellite navigation */
    KOPA_METHOD_CELL = 2,    /**< cellular network */
    KOPA_METHOD_WLAN = 3,    /**< WLAN access points */
    KOPA_METHOD_HYBRID = 4   /**< a combination */
};

/** A position: WGS-84 latitude and longitude, and each optional field with its flag. A plain
 * struct: the caller owns it, copies it freely and frees nothing. */
typedef struct kopa_position {
    double latitude;                  /**< degrees north, negative south */
    double longitude;                 /**< degrees east, negative west */
    bool has_altitude;                /**< whether altitude holds a value */
    double altitude;                  /**< metres above the WGS-84 ellipsoid */
    bool has_horizontal_accuracy;     /**< whether horizontal_accuracy holds a value */
    double horizontal_accuracy;       /**< radius of the horizontal uncertainty, metres */
    bool has_vertical_accuracy;       /**< whether vertical_accuracy holds a value */
    double vertical_accuracy;         /**< vertical uncertainty, metres */
    bool has_speed;                   /**< whether speed holds a value */
    double speed;                     /**< ground speed, metres per second */
    bool has_heading;                 /**< whether heading holds a value */
    double heading;                   /**< degrees clockwise from true north */
    bool has_time;                    /**< whether time_ms holds a value */
    int64_t time_ms;                  /**< milliseconds since the epoch, UTC */
    enum kopa_position_method method; /**< how it was found */
} kopa_position;

/** Radio technology of an observed cell. */
enum kopa_radio { KOPA_RADIO_GSM = 1, KOPA_RADIO_UMTS = 2, KOPA_RADIO_LTE = 3, KOPA_RADIO_NR = 4 };

/** One observed cell, copied out of a kopa_measurements. */
typedef struct kopa_cell {
    enum kopa_radio radio;   /**< the cell's technology */
    uint16_t country_code;   /**< MCC */
    uint16_t network_code;   /**< MNC */
    uint32_t area_code;      /**< LAC or TAC */
    uint64_t cell_id;        /**< CI, UC-Id, ECI or NCI */
    int signal_strength;     /**< dBm */
    bool has_timing_advance; /**< whether timing_advance holds a value */
    int timing_advance;      /**< timing advance */
} kopa_cell;

/** One observed WLAN access point, copied out of a kopa_measurements. */
typedef struct kopa_wlan {
    char bssid[18];      /**< "00:11:22:aa:bb:cc", NUL-terminated (cut to 17 characters) */
    int signal_strength; /**< dBm */
} kopa_wlan;

/** How one request is made. Fill it with kopa_request_options_init, then change fields. */
typedef struct kopa_request_options {
    /** How long to wait for the answer, in milliseconds. At the deadline the request is
     * cancelled (the service receives the cancel) and fails with KOPA_ERROR_NO_REPLY. Zero:
     * no deadline of the client's own (the library's 24-hour ceiling). Negative: refused. */
    int64_t timeout_ms;
    /** Passed to the service unchanged (current position, measurements, last known). */
    unsigned int request_parameter;
    /** Passed to the service unchanged (current position, conversion); any value the
     * application and the service agree on. */
    int packet_data;
} kopa_request_options;

/** How a subscription asks for positions. Fill it with kopa_subscription_options_init. */
typedef struct kopa_subscription_options {
    /** From the start of one request to the start of the next, milliseconds, at least 1. One
     * request is outstanding at a time: a slow answer delays the next request. */
    int64_t interval_ms;
    /** Positions closer than this many metres to the last one reported are not reported.
     * Zero reports every one; negative or NaN is refused. Failures are always reported. */
    double minimum_distance;
    /** Each request's own options. */
    kopa_request_options request;
} kopa_subscription_options;

typedef struct kopa_client kopa_client;                     /**< a client of the service */
typedef struct kopa_request kopa_request;                   /**< one asynchronous request */
typedef struct kopa_subscription kopa_subscription;         /**< positions at an interval */
typedef struct kopa_measurements kopa_measurements;         /**< radio measurements */
typedef struct kopa_error kopa_error;                       /**< one failure */
typedef struct kopa_main_loop_thread kopa_main_loop_thread; /**< a loop thread of the library */
/** The program's word that it runs GLib's default main context itself. */
typedef struct kopa_application_loop kopa_application_loop;
typedef struct _GMainContext GMainContext; /**< GLib's main context (glib.h) */

/** Receives the outcome of a position request. On success `result` is KOPA_OK, `position`
 * points to the position and `error` is NULL; on failure `position` is NULL and `error` says
 * why. Both are lent for this call only. Runs on the main-loop thread (see Threads). */
typedef void (*kopa_position_callback)(int result, const kopa_position* position,
                                       const kopa_error* error, void* user_data);
/** Receives the outcome of a measurements request, as kopa_position_callback does. */
typedef void (*kopa_measurements_callback)(int result, const kopa_measurements* measurements,
                                           const kopa_error* error, void* user_data);

/* Options */
/** Sets the defaults: 30,000 ms, request parameter 0, packet data allowed. `options` not
 * NULL. */
KOPA_C_API void kopa_request_options_init(kopa_request_options* options);
/** Sets the defaults: 1,000 ms, every position reported, the request defaults. Not NULL. */
KOPA_C_API void kopa_subscription_options_init(kopa_subscription_options* options);

/* Errors */
/** The code's symbolic name ("KOPA_ERROR_NOT_POSITIONED"; "KOPA_UNKNOWN_RESULT" for none of
 * them). Static storage: never NULL, never freed. */
KOPA_C_API const char* kopa_code_name(int code);
/** A one-line English description of the code. Static storage: never NULL, never freed. */
KOPA_C_API const char* kopa_code_message(int code);
/** The result code. `error` not NULL (as for every accessor below). */
KOPA_C_API int kopa_error_code(const kopa_error* error);
/** kopa_code_name(kopa_error_code(error)). */
KOPA_C_API const char* kopa_error_name(const kopa_error* error);
/** kopa_code_message(kopa_error_code(error)). */
KOPA_C_API const char* kopa_error_message(const kopa_error* error);
/** Where the failure came from. */
KOPA_C_API enum kopa_cause_kind kopa_error_cause_kind(const kopa_error* error);
/** The D-Bus error name ("com.ruvex.location.kopad.Error", ...); "" for the library's own
 * reasons. Owned by `error`. */
KOPA_C_API const char* kopa_error_cause_name(const kopa_error* error);
/** The D-Bus error's message, or the library's reason in words. Owned by `error`. */
KOPA_C_API const char* kopa_error_cause_message(const kopa_error* error);
/** One line for a log: name, code, message and cause. Owned by `error`. */
KOPA_C_API const char* kopa_error_describe(const kopa_error* error);
/** A copy, to keep one lent to a callback; free it with kopa_error_free. NULL when out of
 * memory. */
KOPA_C_API kopa_error* kopa_error_copy(const kopa_error* error);
/** Frees an error; NULL is allowed. */
KOPA_C_API void kopa_error_free(kopa_error* error);

/* Measurements */
/** Reads measurements from their text form (text-format.md). KOPA_OK and `*measurements`, a
 * new object the caller frees with kopa_measurements_free; or the positive KOPA_TEXT_ code
 * and `*measurements` untouched. `text` and `measurements` not NULL. */
KOPA_C_API int kopa_measurements_new_from_text(const char* text, kopa_measurements** measurements,
                                               kopa_error** error);
/** Writes the text form: KOPA_OK and `*text`, a NUL-terminated string the caller frees with
 * kopa_text_free; or KOPA_TEXT_NOT_REPRESENTABLE. `measurements` and `text` not NULL. */
KOPA_C_API int kopa_measurements_to_text(const kopa_measurements* measurements, char** text,
                                         kopa_error** error);
/** Frees a string from kopa_measurements_to_text; NULL is allowed. */
KOPA_C_API void kopa_text_free(char* text);
/** A copy; free it with kopa_measurements_free. NULL when out of memory. */
KOPA_C_API kopa_measurements* kopa_measurements_copy(const kopa_measurements* measurements);
/** Frees measurements; NULL is allowed. */
KOPA_C_API void kopa_measurements_free(kopa_measurements* measurements);
/** How many cells were observed. */
KOPA_C_API size_t kopa_measurements_cell_count(const kopa_measurements* measurements);
/** Copies cell `index` (from 0) into `*cell`; false, `*cell` untouched, when out of range. */
KOPA_C_API bool kopa_measurements_get_cell(const kopa_measurements* measurements, size_t index,
                                           kopa_cell* cell);
/** How many WLAN access points were observed. */
KOPA_C_API size_t kopa_measurements_wlan_count(const kopa_measurements* measurements);
/** Copies access point `index` (from 0) into `*wlan`; false when out of range. */
KOPA_C_API bool kopa_measurements_get_wlan(const kopa_measurements* measurements, size_t index,
                                           kopa_wlan* wlan);

/* The client */
/** A client whose callbacks run on the thread that runs the default main context. Connects
 * at its first request. Free it with kopa_client_free. NULL only when out of memory. */
KOPA_C_API kopa_client* kopa_client_new(void);
/** A client whose callbacks run on the thread that runs `context` (not NULL), of which it
 * keeps a reference. */
KOPA_C_API kopa_client* kopa_client_new_with_context(GMainContext* context);
/** Cancels every request and subscription the client still has (the service receives the
 * cancels; no callback runs once this returns), then frees it. Their handles stay to be
 * freed. NULL is allowed. Not from inside one of this client's callbacks. */
KOPA_C_API void kopa_client_free(kopa_client* client);

/* Blocking requests
 * Each waits on the calling thread for the answer or the time-out, and fills the caller's
 * `*position` (or `*measurements`, a new object to free with kopa_measurements_free) on
 * KOPA_OK only. The time-out is kept to the millisecond on the calling thread, however busy
 * the default main context's thread is, and the service receives the cancel. Where another
 * thread runs the default main context (a kopa_main_loop_thread, a GUI's loop) only the
 * calling thread waits; where nobody does, the calling thread runs it until its answer
 * comes (having looked for up to 20 ms for another runner). Inside a callback of the default
 * main context the library's blocking call is used instead, with the time-out rounded up to
 * whole seconds and no cancel, and the last known position fails there with
 * KOPA_ERROR_NOT_SUPPORTED. `client` and the out pointers not NULL; `options` NULL for the
 * defaults. */
/** The current position. */
KOPA_C_API int kopa_client_current_position(kopa_client* client,
                                            const kopa_request_options* options,
                                            kopa_position* position, kopa_error** error);
/** The current radio measurements. */
KOPA_C_API int kopa_client_current_measurements(kopa_client* client,
                                                const kopa_request_options* options,
                                                kopa_measurements** measurements,
                                                kopa_error** error);
/** The last position the service knows. */
KOPA_C_API int kopa_client_last_known_position(kopa_client* client,
                                               const kopa_request_options* options,
                                               kopa_position* position, kopa_error** error);
/** The position that `measurements` (not NULL) give. */
KOPA_C_API int kopa_client_convert_to_position(kopa_client* client,
                                               const kopa_measurements* measurements,
                                               const kopa_request_options* options,
                                               kopa_position* position, kopa_error** error);

/* Asynchronous requests
 * Each returns at once. On KOPA_OK, `*request` is the request's handle (free it with
 * kopa_request_free, which cancels it if it is still pending) and `callback` (not NULL) will
 * be called exactly once with the answer or the failure, unless the request is cancelled
 * first; a request the library cannot send (no bus, say) is reported through the callback
 * too, from the main loop, never from inside this call. On another result (a refused
 * option) there is no handle and no callback. Any number may be outstanding. `client` and
 * `request` not NULL; `options` NULL for the defaults. */
/** The current position. */
KOPA_C_API int kopa_client_current_position_async(kopa_client* client,
                                                  const kopa_request_options* options,
                                                  kopa_position_callback callback, void* user_data,
                                                  kopa_request** request, kopa_error** error);
/** The current radio measurements. */
KOPA_C_API int kopa_client_current_measurements_async(kopa_client* client,
                                                      const kopa_request_options* options,
                                                      kopa_measurements_callback callback,
                                                      void* user_data, kopa_request** request,
                                                      kopa_error** error);
/** The last position the service knows. */
KOPA_C_API int kopa_client_last_known_position_async(kopa_client* client,
                                                     const kopa_request_options* options,
                                                     kopa_position_callback callback,
                                                     void* user_data, kopa_request** request,
                                                     kopa_error** error);
/** The position that `measurements` give; they are copied, so the caller may free them at
 * once. */
KOPA_C_API int kopa_client_convert_to_position_async(
    kopa_client* client, const kopa_measurements* measurements, const kopa_request_options* options,
    kopa_position_callback callback, void* user_data, kopa_request** request, kopa_error** error);
/** True until its callback has been called (or is being called), or it was cancelled. */
KOPA_C_API bool kopa_request_pending(const kopa_request* request);
/** Gives the request up: no callback comes, and the service is sent the cancel. Waits as the
 * thread rule says. Nothing happens for a request that finished or was cancelled. Not NULL. */
KOPA_C_API void kopa_request_cancel(kopa_request* request);
/** Cancels (as kopa_request_cancel) and frees the handle; NULL is allowed. May be called
 * from inside the request's own callback. */
KOPA_C_API void kopa_request_free(kopa_request* request);

/* Subscriptions */
/** Current positions at `options->interval_ms`, one request outstanding at a time, filtered
 * by the minimum distance; the first request starts at once. Failures (time-outs included)
 * are reported and the subscription goes on. On KOPA_OK `*subscription` is its handle, to
 * free with kopa_subscription_free. `options` NULL for the defaults. */
KOPA_C_API int kopa_client_subscribe(kopa_client* client, const kopa_subscription_options* options,
                                     kopa_position_callback callback, void* user_data,
                                     kopa_subscription** subscription, kopa_error** error);
/** True until cancelled (or its client freed). */
KOPA_C_API bool kopa_subscription_active(const kopa_subscription* subscription);
/** Ends it, cancelling the request outstanding, with the waiting rule of kopa_request_cancel.
 * Not NULL. */
KOPA_C_API void kopa_subscription_cancel(kopa_subscription* subscription);
/** Ends it (as kopa_subscription_cancel) and frees the handle; NULL is allowed. */
KOPA_C_API void kopa_subscription_free(kopa_subscription* subscription);

/* A loop thread of the library's own */
/** Runs GLib's default main context on a thread of the library's own, for programs without a
 * GLib loop: while any lives, callbacks arrive on that thread; several share one thread (as
 * kopa::MainLoopThread's do). KOPA_OK and `*thread` (not NULL), or KOPA_ERROR_NOT_SUPPORTED
 * (cause KOPA_CAUSE_REFUSED) when the application runs the default main context itself. */
KOPA_C_API int kopa_main_loop_thread_new(kopa_main_loop_thread** thread, kopa_error** error);
/** Gives the thread up; the last one stops the loop and joins the thread, waiting for a
 * callback under way (from inside a callback on that thread it returns at once). NULL is
 * allowed. */
KOPA_C_API void kopa_main_loop_thread_free(kopa_main_loop_thread* thread);
/** Tells the library, until freed, that the program runs GLib's default main context itself (a
 * GLib main loop, or a loop of g_main_context_iteration), as kopa::ApplicationLoop does: the
 * library then never runs that context on a thread of its own, and kopa_main_loop_thread_new
 * refuses. Needed only where the library cannot see the loop at work (one that starts after
 * the first request, or iterates less often than every 20 ms). NULL when out of memory; any
 * thread. */
KOPA_C_API kopa_application_loop* kopa_application_loop_new(void);
/** Withdraws this declaration (others may still stand). NULL is allowed. */
KOPA_C_API void kopa_application_loop_free(kopa_application_loop* loop);

#ifdef __cplusplus
}
#endif

#endif
