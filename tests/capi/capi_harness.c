#define _POSIX_C_SOURCE 200809L /* clock_gettime, pthread_condattr_setclock */

#include "capi_harness.h"

#include <string.h>
#include <time.h>

void outcomes_init(outcomes* self) {
    memset(self, 0, sizeof *self);
    pthread_mutex_init(&self->mutex, NULL);
    pthread_condattr_t monotonic;
    pthread_condattr_init(&monotonic);
    pthread_condattr_setclock(&monotonic, CLOCK_MONOTONIC);
    pthread_cond_init(&self->arrived, &monotonic);
    pthread_condattr_destroy(&monotonic);
}

void outcomes_clear(outcomes* self) {
    pthread_mutex_lock(&self->mutex);
    for (size_t i = 0; i < self->count; ++i) {
        kopa_error_free(self->all[i].error);
    }
    self->count = 0;
    pthread_mutex_unlock(&self->mutex);
}

bool outcomes_wait(outcomes* self, size_t count, int timeout_ms) {
    struct timespec deadline;
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    long long ns = deadline.tv_nsec + timeout_ms % 1000 * 1000000LL;
    deadline.tv_sec += timeout_ms / 1000 + ns / 1000000000;
    deadline.tv_nsec = ns % 1000000000;
    pthread_mutex_lock(&self->mutex);
    while (self->count < count &&
           pthread_cond_timedwait(&self->arrived, &self->mutex, &deadline) == 0) {
    }
    bool reached = self->count >= count;
    pthread_mutex_unlock(&self->mutex);
    return reached;
}

size_t outcomes_count(outcomes* self) {
    pthread_mutex_lock(&self->mutex);
    size_t count = self->count;
    pthread_mutex_unlock(&self->mutex);
    return count;
}

static void add(outcomes* self, outcome entry) {
    pthread_mutex_lock(&self->mutex);
    CHECK(self->count < G_N_ELEMENTS(self->all));
    self->all[self->count++] = entry;
    pthread_cond_broadcast(&self->arrived);
    pthread_mutex_unlock(&self->mutex);
}

/* The contract of both callbacks: a record exactly on success, an error exactly on failure. */
static outcome collected(int result, const void* record, const kopa_error* error) {
    CHECK((result == KOPA_OK) == (record != NULL) && (result == KOPA_OK) == (error == NULL));
    CHECK(error == NULL || kopa_error_code(error) == result);
    outcome entry = {.code = result, .error = error ? kopa_error_copy(error) : NULL};
    return entry;
}

void collect_position(int result, const kopa_position* position, const kopa_error* error,
                      void* user_data) {
    outcome entry = collected(result, position, error);
    if (position != NULL) {
        entry.position = *position;
    }
    add(user_data, entry);
}

void collect_measurements(int result, const kopa_measurements* measurements,
                          const kopa_error* error, void* user_data) {
    outcome entry = collected(result, measurements, error);
    if (measurements != NULL) {
        entry.cells = kopa_measurements_cell_count(measurements);
    }
    add(user_data, entry);
}
