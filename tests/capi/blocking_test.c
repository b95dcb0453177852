/* The C interface in a program that runs its own GLib loop, or none: blocking requests where
 * nobody else runs the default main context, and callbacks on a context the program names. */
#include "capi_harness.h"

/* With nobody running the default main context, the library's blocking call is used: it
 * waits a time-out rounded up to whole seconds. */
static void answer_blocking_requests_with_no_loop_running(kopa_client* client) {
    kopa_position current, last, converted;
    kopa_measurements* measurements = NULL;
    OK(kopa_client_current_position(client, NULL, &current, NULL));
    OK(kopa_client_last_known_position(client, NULL, &last, NULL));
    OK(kopa_client_current_measurements(client, NULL, &measurements, NULL));
    OK(kopa_client_convert_to_position(client, measurements, NULL, &converted, NULL));
    kopa_measurements_free(measurements);
    CHECK(current.latitude > 60.0 && last.latitude > 60.0 && converted.latitude != 0.0);
    CHECK(sim_request_count() == 4);

    sim_push("currentPosition", "noreply");
    kopa_request_options options;
    kopa_request_options_init(&options);
    options.timeout_ms = 300;
    kopa_error* error = NULL;
    CHECK_CODE(kopa_client_current_position(client, &options, &current, &error),
               KOPA_ERROR_NO_REPLY);
    CHECK(kopa_error_cause_kind(error) == KOPA_CAUSE_NO_REPLY);
    kopa_error_free(error);
}

static void deliver_on_the_programs_own_context(void) {
    sim_reset();
    GMainContext* context = g_main_context_new();
    kopa_client* client = kopa_client_new_with_context(context);
    outcomes got;
    outcomes_init(&got);
    kopa_request *answered = NULL, *abandoned = NULL;
    sim_push("currentMeasurements", "delay 3000 reply");
    OK(kopa_client_current_position_async(client, NULL, collect_position, &got, &answered, NULL));
    OK(kopa_client_current_measurements_async(client, NULL, collect_measurements, &got, &abandoned,
                                              NULL));
    gint64 deadline = g_get_monotonic_time() + 20 * G_TIME_SPAN_SECOND;
    while (outcomes_count(&got) == 0 && g_get_monotonic_time() < deadline) {
        g_main_context_iteration(context, FALSE);
        g_main_context_iteration(NULL, FALSE);
        g_usleep(1000);
    }
    CHECK(outcomes_count(&got) == 1 && got.all[0].code == KOPA_OK);
    CHECK(kopa_request_pending(abandoned));
    /* Freed with the measurements outstanding: the service hears the cancel. */
    kopa_client_free(client);
    CHECK(sim_wait_cancels(1, 10000));
    kopa_request_free(answered);
    kopa_request_free(abandoned);
    outcomes_clear(&got);
    g_main_context_unref(context);
}

int main(void) {
    sim_connect();
    kopa_client* client = kopa_client_new();
    answer_blocking_requests_with_no_loop_running(client);
    kopa_client_free(client);
    deliver_on_the_programs_own_context();
    sim_disconnect();
    puts("blocking_test: every case passed");
    return 0;
}
