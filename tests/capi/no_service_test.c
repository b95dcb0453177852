/* The C interface on a bus where nobody owns the service's name: each failure says so, both
 * ways, and a request the library cannot send still comes through the callback. */
#include "capi_harness.h"

int main(void) {
    kopa_main_loop_thread* loop = NULL;
    CHECK_CODE(kopa_main_loop_thread_new(&loop, NULL), KOPA_OK);
    kopa_client* client = kopa_client_new();
    outcomes got;
    outcomes_init(&got);
    kopa_request* request = NULL;
    CHECK_CODE(
        kopa_client_last_known_position_async(client, NULL, collect_position, &got, &request, NULL),
        KOPA_OK);
    CHECK(outcomes_wait(&got, 1, 20000));
    CHECK_CODE(got.all[0].code, KOPA_ERROR_GENERAL);
    CHECK(kopa_error_cause_kind(got.all[0].error) == KOPA_CAUSE_NO_SERVICE);

    kopa_position position;
    kopa_error* error = NULL;
    CHECK_CODE(kopa_client_current_position(client, NULL, &position, &error), KOPA_ERROR_GENERAL);
    CHECK(kopa_error_cause_kind(error) == KOPA_CAUSE_NO_SERVICE);
    kopa_error_free(error);

    kopa_request_free(request);
    kopa_client_free(client);
    kopa_main_loop_thread_free(loop);
    outcomes_clear(&got);
    puts("no_service_test: every case passed");
    return 0;
}
