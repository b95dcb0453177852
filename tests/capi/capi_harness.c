#define _POSIX_C_SOURCE 200809L /* clock_gettime, pthread_condattr_setclock */

#include "capi_harness.h"

#include <gio/gio.h>
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

static GDBusConnection* connection;

static GVariant* call(const char* method, GVariant* parameters, const char* reply_type,
                      int timeout_ms) {
    GError* error = NULL;
    GVariant* reply = g_dbus_connection_call_sync(
        connection, "com.ruvex.location.kopad", "/com/ruvex/location/kopad",
        "com.ruvex.location.kopad.Simulator", method, parameters, G_VARIANT_TYPE(reply_type),
        G_DBUS_CALL_FLAGS_NO_AUTO_START, timeout_ms, NULL, &error);
    if (reply == NULL) {
        fprintf(stderr, "kopad-sim %s: %s\n", method, error->message);
        exit(1);
    }
    return reply;
}

void sim_connect(void) {
    const char* address = getenv("DBUS_SYSTEM_BUS_ADDRESS");
    CHECK(address != NULL);
    GError* error = NULL;
    connection =
        g_dbus_connection_new_for_address_sync(address,
                                               G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                   G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION,
                                               NULL, NULL, &error);
    CHECK(connection != NULL);
    g_dbus_connection_set_exit_on_close(connection, FALSE);
    sim_reset();
}

void sim_disconnect(void) {
    g_dbus_connection_close_sync(connection, NULL, NULL);
    g_clear_object(&connection);
}

void sim_reset(void) {
    g_variant_unref(call("Reset", NULL, "()", 10000));
}

void sim_push(const char* member, const char* outcome) {
    const char* outcomes[] = {outcome, NULL};
    g_variant_unref(call("PushOutcomes", g_variant_new("(s^as)", member, outcomes), "()", 10000));
}

static bool wait_for(const char* method, unsigned count, unsigned timeout_ms) {
    GVariant* reply =
        call(method, g_variant_new("(uu)", count, timeout_ms), "(b)", (int)timeout_ms + 10000);
    gboolean reached = FALSE;
    g_variant_get(reply, "(b)", &reached);
    g_variant_unref(reply);
    return reached;
}

bool sim_wait_requests(unsigned count, unsigned timeout_ms) {
    return wait_for("WaitForRequests", count, timeout_ms);
}

bool sim_wait_cancels(unsigned count, unsigned timeout_ms) {
    return wait_for("WaitForCancels", count, timeout_ms);
}

unsigned sim_request_count(void) {
    GVariant* reply = call("GetRequests", NULL, "(a(susv))", 10000);
    GVariant* list = g_variant_get_child_value(reply, 0);
    unsigned count = (unsigned)g_variant_n_children(list);
    g_variant_unref(list);
    g_variant_unref(reply);
    return count;
}
