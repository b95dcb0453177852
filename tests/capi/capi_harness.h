#ifndef KOPA_TEST_CAPI_HARNESS_H
#define KOPA_TEST_CAPI_HARNESS_H

/* What the C interface's tests share: checks that name the failing line, a collector of the
 * outcomes callbacks hand over from the loop thread, and a client of kopad-sim's control
 * interface on its own GDBus connection. */

#include <glib.h>
#include <kopa.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>

#define CHECK(condition)                                                                  \
    do {                                                                                  \
        if (!(condition)) {                                                               \
            fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
            exit(1);                                                                      \
        }                                                                                 \
    } while (0)

#define CHECK_CODE(actual, expected)                                                         \
    do {                                                                                     \
        int got_ = (actual);                                                                 \
        if (got_ != (expected)) {                                                            \
            fprintf(stderr, "%s:%d: %s gave %s (%d), not %s\n", __FILE__, __LINE__, #actual, \
                    kopa_code_name(got_), got_, kopa_code_name(expected));                   \
            exit(1);                                                                         \
        }                                                                                    \
    } while (0)

#define OK(call) CHECK_CODE(call, KOPA_OK)

/* Every outcome a callback reported, in order (at most 64). */
typedef struct outcome {
    int code;
    kopa_position position; /* on KOPA_OK, for positions */
    size_t cells;           /* on KOPA_OK, for measurements */
    kopa_error* error;      /* a copy, on failure */
} outcome;

/* pthreads, not GMutex: ThreadSanitizer sees pthread locks, and not GLib's futexes. */
typedef struct outcomes {
    pthread_mutex_t mutex;
    pthread_cond_t arrived;
    size_t count;
    outcome all[64];
} outcomes;

void outcomes_init(outcomes* self);
/* Frees the errors kept. */
void outcomes_clear(outcomes* self);
/* True once `count` outcomes are in, false when `timeout_ms` passes first. */
bool outcomes_wait(outcomes* self, size_t count, int timeout_ms);
size_t outcomes_count(outcomes* self);
/* kopa_position_callback and kopa_measurements_callback with an outcomes as user_data. */
void collect_position(int result, const kopa_position* position, const kopa_error* error,
                      void* user_data);
void collect_measurements(int result, const kopa_measurements* measurements,
                          const kopa_error* error, void* user_data);

/* kopad-sim's control interface, the C++ suites' client behind C functions (sim_control.cpp);
 * every failure to reach it ends the test. */
#ifdef __cplusplus
extern "C" {
#endif
void sim_connect(void);
void sim_disconnect(void);
void sim_reset(void);
/* Appends one outcome ("reply", "error 54", "delay 300 reply", ...) to `member`'s queue. */
void sim_push(const char* member, const char* outcome);
bool sim_wait_requests(unsigned count, unsigned timeout_ms);
bool sim_wait_cancels(unsigned count, unsigned timeout_ms);
unsigned sim_request_count(void);
#ifdef __cplusplus
}
#endif

#endif
