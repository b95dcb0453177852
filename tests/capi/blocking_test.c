/* The C interface in a program that runs its own GLib loop, or none: blocking requests where
 * nobody else runs the default main context, and callbacks on a context the program names. */
#include "capi_harness.h"

/* With nobody running the default main context, the calling thread runs it for its own
 * request (the time-out kept, as requests_test checks with a loop thread). */
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
    /* Nothing else runs here: the library's loop thread serves the default main context. */
    while (outcomes_count(&got) == 0) {
        g_main_context_iteration(context, TRUE);
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
