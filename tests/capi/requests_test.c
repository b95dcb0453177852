/* The C interface against kopad-sim, with the library's own loop thread delivering: the four
 * requests both ways, failures and their causes, time-outs and cancels the service hears,
 * freeing with requests outstanding, and the values refused. */
#include <math.h>
#include <string.h>

#include "capi_harness.h"

static kopa_client* client;
static outcomes got;

static void expect_helsinki(const kopa_position* position) {
    CHECK(fabs(position->latitude - 60.1699) < 1e-6 && fabs(position->longitude - 24.9384) < 1e-6);
    CHECK(position->has_horizontal_accuracy && position->horizontal_accuracy == 20.0);
}

/* Each kind both ways, two of one kind outstanding at once; measurements through their
 * accessors and their text form. */
static void answer_each_kind_both_ways(void) {
    sim_push("currentPosition", "delay 300 reply");
    sim_push("currentPosition", "delay 300 reply");
    kopa_request* requests[5] = {NULL};
    outcomes measured;
    outcomes_init(&measured);
    for (int i = 0; i < 2; ++i) {
        OK(kopa_client_current_position_async(client, NULL, collect_position, &got, &requests[i],
                                              NULL));
    }
    OK(kopa_client_last_known_position_async(client, NULL, collect_position, &got, &requests[2],
                                             NULL));
    OK(kopa_client_current_measurements_async(client, NULL, collect_measurements, &measured,
                                              &requests[3], NULL));
    CHECK(outcomes_wait(&got, 3, 20000) && outcomes_wait(&measured, 1, 20000));
    CHECK(sim_request_count() == 4 && !kopa_request_pending(requests[0]));
    for (size_t i = 0; i < 3; ++i) {
        OK(got.all[i].code);
        expect_helsinki(&got.all[i].position);
    }
    CHECK(measured.all[0].code == KOPA_OK && measured.all[0].cells > 0);

    kopa_position current, last, converted;
    kopa_measurements *measurements = NULL, *read_back = NULL;
    OK(kopa_client_current_position(client, NULL, &current, NULL));
    OK(kopa_client_last_known_position(client, NULL, &last, NULL));
    OK(kopa_client_current_measurements(client, NULL, &measurements, NULL));
    expect_helsinki(&current);
    expect_helsinki(&last);
    kopa_cell cell;
    CHECK(kopa_measurements_cell_count(measurements) == measured.all[0].cells);
    CHECK(kopa_measurements_get_cell(measurements, 0, &cell) && cell.country_code != 0);
    CHECK(!kopa_measurements_get_cell(measurements, 1000, &cell));
    /* Through the text form and back, then converted both ways to the same position. */
    char* text = NULL;
    OK(kopa_measurements_to_text(measurements, &text, NULL));
    OK(kopa_measurements_new_from_text(text, &read_back, NULL));
    OK(kopa_client_convert_to_position_async(client, read_back, NULL, collect_position, &got,
                                             &requests[4], NULL));
    OK(kopa_client_convert_to_position(client, read_back, NULL, &converted, NULL));
    CHECK(outcomes_wait(&got, 4, 20000) && got.all[3].code == KOPA_OK);
    CHECK(converted.latitude == got.all[3].position.latitude && converted.latitude != 0.0);
    kopa_text_free(text);
    kopa_measurements_free(measurements);
    kopa_measurements_free(read_back);
    for (size_t i = 0; i < 5; ++i) {
        kopa_request_free(requests[i]);
    }
    outcomes_clear(&measured);
    outcomes_clear(&got);
}

typedef struct failure_case {
    const char* outcome;
    int code;
    enum kopa_cause_kind kind;
    const char* error_name;
} failure_case;

static void check_error(const kopa_error* error, const failure_case* failure) {
    CHECK_CODE(kopa_error_code(error), failure->code);
    CHECK(strcmp(kopa_error_name(error), kopa_code_name(failure->code)) == 0);
    CHECK(strcmp(kopa_error_message(error), kopa_code_message(failure->code)) == 0);
    CHECK(kopa_error_cause_kind(error) == failure->kind);
    CHECK(strcmp(kopa_error_cause_name(error), failure->error_name) == 0);
    CHECK(strstr(kopa_error_describe(error), kopa_error_name(error)) != NULL);
}

static void report_each_failure_with_its_cause(void) {
    const failure_case cases[] = {
        {"error 54", KOPA_ERROR_NOT_POSITIONED, KOPA_CAUSE_SERVICE_ERROR,
         "com.ruvex.location.kopad.Error"},
        {"reply garbage", KOPA_ERROR_GENERAL, KOPA_CAUSE_UNREADABLE_REPLY, ""},
        {"dbus-error org.freedesktop.DBus.Error.AccessDenied refused by policy", KOPA_ERROR_GENERAL,
         KOPA_CAUSE_POLICY, "org.freedesktop.DBus.Error.AccessDenied"},
    };
    for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
        sim_reset();
        sim_push("currentPosition", cases[i].outcome);
        sim_push("currentPosition", cases[i].outcome);
        kopa_request* request = NULL;
        OK(kopa_client_current_position_async(client, NULL, collect_position, &got, &request,
                                              NULL));
        CHECK(outcomes_wait(&got, 1, 20000));
        check_error(got.all[0].error, &cases[i]);
        kopa_position untouched = {.latitude = 1.5};
        kopa_error* error = NULL;
        CHECK_CODE(kopa_client_current_position(client, NULL, &untouched, &error), cases[i].code);
        check_error(error, &cases[i]);
        CHECK(untouched.latitude == 1.5);
        kopa_error_free(error);
        kopa_request_free(request);
        outcomes_clear(&got);
    }
}

/* At the client's own deadline, kept to the millisecond below the library's whole seconds,
 * the request fails with KOPA_ERROR_NO_REPLY and the service hears the cancel. */
static void end_requests_at_their_deadline_and_cancel_them(void) {
    sim_reset();
    sim_push("currentPosition", "delay 5000 reply");
    sim_push("lastKnownPosition", "noreply");
    sim_push("currentMeasurements", "noreply");
    kopa_request_options options;
    kopa_request_options_init(&options);
    options.timeout_ms = 300;
    kopa_request *current = NULL, *last = NULL;
    gint64 started = g_get_monotonic_time();
    OK(kopa_client_current_position_async(client, &options, collect_position, &got, &current,
                                          NULL));
    OK(kopa_client_last_known_position_async(client, &options, collect_position, &got, &last,
                                             NULL));
    kopa_measurements* never = NULL;
    kopa_error* error = NULL;
    CHECK_CODE(kopa_client_current_measurements(client, &options, &never, &error),
               KOPA_ERROR_NO_REPLY);
    CHECK(never == NULL && kopa_error_cause_kind(error) == KOPA_CAUSE_NO_REPLY);
    CHECK(outcomes_wait(&got, 2, 4000));
    CHECK(g_get_monotonic_time() - started < 950 * G_TIME_SPAN_MILLISECOND);
    for (size_t i = 0; i < 2; ++i) {
        CHECK_CODE(got.all[i].code, KOPA_ERROR_NO_REPLY);
        CHECK(kopa_error_cause_kind(got.all[i].error) == KOPA_CAUSE_NO_REPLY);
    }
    CHECK(sim_wait_cancels(3, 10000));
    kopa_error_free(error);
    kopa_request_free(current);
    kopa_request_free(last);
    outcomes_clear(&got);
}

/* A cancel reaches the service, and no callback comes after it returns; freeing a handle
 * cancels too, and so does freeing the client with requests and a subscription outstanding. */
static void cancel_and_free_with_requests_outstanding(void) {
    sim_reset();
    sim_push("currentPosition", "delay 800 reply");
    sim_push("currentPosition", "delay 800 reply");
    sim_push("currentMeasurements", "delay 800 reply");
    sim_push("currentPosition", "delay 800 reply");
    kopa_request *cancelled = NULL, *freed = NULL, *left = NULL;
    kopa_subscription* subscription = NULL;
    OK(kopa_client_current_position_async(client, NULL, collect_position, &got, &cancelled, NULL));
    OK(kopa_client_current_position_async(client, NULL, collect_position, &got, &freed, NULL));
    kopa_client* doomed = kopa_client_new();
    OK(kopa_client_current_measurements_async(doomed, NULL, collect_measurements, &got, &left,
                                              NULL));
    OK(kopa_client_subscribe(doomed, NULL, collect_position, &got, &subscription, NULL));
    CHECK(sim_wait_requests(4, 10000));
    kopa_request_cancel(cancelled);
    CHECK(!kopa_request_pending(cancelled));
    kopa_request_cancel(cancelled); /* a second cancel changes nothing */
    kopa_request_free(freed);
    kopa_client_free(doomed);
    CHECK(!kopa_request_pending(left) && !kopa_subscription_active(subscription));
    CHECK(sim_wait_cancels(4, 10000));
    g_usleep(1200 * G_TIME_SPAN_MILLISECOND); /* past the answers the service would have sent */
    CHECK(outcomes_count(&got) == 0);
    kopa_request_free(cancelled);
    kopa_request_free(left);
    kopa_subscription_free(subscription);
}

static void report_positions_of_a_subscription(void) {
    sim_reset();
    kopa_subscription_options options;
    kopa_subscription_options_init(&options);
    options.interval_ms = 100;
    kopa_subscription* subscription = NULL;
    OK(kopa_client_subscribe(client, &options, collect_position, &got, &subscription, NULL));
    CHECK(outcomes_wait(&got, 3, 20000) && kopa_subscription_active(subscription));
    kopa_subscription_free(subscription);
    size_t reported = outcomes_count(&got);
    g_usleep(300 * G_TIME_SPAN_MILLISECOND);
    CHECK(outcomes_count(&got) == reported);
    for (size_t i = 0; i < reported; ++i) {
        expect_helsinki(&got.all[i].position);
    }
    outcomes_clear(&got);
}

/* `error` by address: it is read once the call that fills it, an argument, has run. */
static void check_refused(int result, int code, kopa_error** error, const char* named) {
    CHECK_CODE(result, code);
    CHECK(kopa_error_cause_kind(*error) == KOPA_CAUSE_REFUSED);
    CHECK(strstr(kopa_error_cause_message(*error), named) != NULL);
    kopa_error_free(*error);
    *error = NULL;
}

/* Values the header refuses give a result and an error naming them, never a crash; nothing
 * reaches the service and no callback runs. */
static void refuse_invalid_values(void) {
    sim_reset();
    kopa_request_options options;
    kopa_request_options_init(&options);
    options.timeout_ms = -1;
    kopa_request* request = NULL;
    kopa_error* error = NULL;
    kopa_position position;
    check_refused(kopa_client_current_position_async(client, &options, collect_position, &got,
                                                     &request, &error),
                  KOPA_ERROR_NOT_SUPPORTED, &error, "timeout_ms");
    check_refused(kopa_client_last_known_position(client, &options, &position, &error),
                  KOPA_ERROR_NOT_SUPPORTED, &error, "timeout_ms");
    CHECK(request == NULL);
    check_refused(kopa_client_current_position_async(client, NULL, NULL, NULL, &request, &error),
                  KOPA_ERROR_NOT_SUPPORTED, &error, "callback");

    kopa_subscription_options every;
    kopa_subscription* subscription = NULL;
    kopa_subscription_options_init(&every);
    every.interval_ms = 0;
    check_refused(
        kopa_client_subscribe(client, &every, collect_position, &got, &subscription, &error),
        KOPA_ERROR_NOT_SUPPORTED, &error, "interval_ms");
    kopa_subscription_options_init(&every);
    every.minimum_distance = NAN;
    check_refused(
        kopa_client_subscribe(client, &every, collect_position, &got, &subscription, &error),
        KOPA_ERROR_NOT_SUPPORTED, &error, "minimum_distance");
    CHECK(subscription == NULL);

    kopa_measurements* measurements = NULL;
    const char* texts[] = {"", "not measurements at all", "KopaPosition;v=1"};
    for (size_t i = 0; i < sizeof texts / sizeof texts[0]; ++i) {
        int result = kopa_measurements_new_from_text(texts[i], &measurements, &error);
        CHECK(result > 0 && measurements == NULL);
        check_refused(result, result, &error, kopa_code_name(result));
    }
    /* Without an error to fill, the code alone. */
    CHECK(kopa_measurements_new_from_text("", &measurements, NULL) == KOPA_TEXT_EMPTY);

    /* A second loop thread shares the first one; none starts while the program says it runs
     * the default main context itself. */
    kopa_main_loop_thread* second = NULL;
    OK(kopa_main_loop_thread_new(&second, &error));
    kopa_main_loop_thread_free(second);
    kopa_application_loop* declared = kopa_application_loop_new();
    check_refused(kopa_main_loop_thread_new(&second, &error), KOPA_ERROR_NOT_SUPPORTED, &error,
                  "application");
    kopa_application_loop_free(declared);
    CHECK(sim_request_count() == 0 && outcomes_count(&got) == 0);
}

/* Before any loop thread: the calling thread runs the default main context for its own
 * blocking request; a client given a context of the program's delivers there, the library's
 * loop thread serving the default context meanwhile. */
static void work_without_a_loop_of_the_programs(void) {
    kopa_position current, converted;
    kopa_measurements* measurements = NULL;
    OK(kopa_client_current_position(client, NULL, &current, NULL));
    OK(kopa_client_current_measurements(client, NULL, &measurements, NULL));
    OK(kopa_client_convert_to_position(client, measurements, NULL, &converted, NULL));
    kopa_measurements_free(measurements);
    CHECK(current.latitude > 60.0 && converted.latitude != 0.0);
    GMainContext* context = g_main_context_new();
    kopa_client* forwarding = kopa_client_new_with_context(context);
    kopa_request* request = NULL;
    OK(kopa_client_current_position_async(forwarding, NULL, collect_position, &got, &request,
                                          NULL));
    while (outcomes_count(&got) == 0) {
        g_main_context_iteration(context, TRUE);
    }
    CHECK(got.all[0].code == KOPA_OK);
    kopa_request_free(request);
    kopa_client_free(forwarding);
    g_main_context_unref(context);
    outcomes_clear(&got);
    sim_reset();
}

int main(void) {
    sim_connect();
    outcomes_init(&got);
    client = kopa_client_new();
    CHECK(client != NULL);
    work_without_a_loop_of_the_programs();
    kopa_main_loop_thread* loop = NULL;
    OK(kopa_main_loop_thread_new(&loop, NULL));

    answer_each_kind_both_ways();
    report_each_failure_with_its_cause();
    end_requests_at_their_deadline_and_cancel_them();
    cancel_and_free_with_requests_outstanding();
    report_positions_of_a_subscription();
    refuse_invalid_values();

    kopa_client_free(client);
    kopa_main_loop_thread_free(loop);
    outcomes_clear(&got);
    sim_disconnect();
    puts("requests_test: every case passed");
    return 0;
}
