/* A C program gets a position: once blocking, once asynchronously with a callback, on a loop
 * thread of the library's own (this program runs no GLib loop).
 *   gcc -std=c11 c_position.c $(pkg-config --cflags --libs kopac)
 *   kopa-sim-bus ./a.out */
#include <kopa.h>
#include <stdio.h>
#include <stdlib.h>
#include <threads.h>

static mtx_t lock;
static cnd_t answered;
static int outcome = 1; /* 1 until the callback has run */

static void print_position(const kopa_position* position) {
    printf("%.6f %.6f", position->latitude, position->longitude);
    if (position->has_horizontal_accuracy) {
        printf(" ±%.1f m", position->horizontal_accuracy);
    }
    if (position->has_time) {
        printf(" at %lld ms", (long long)position->time_ms);
    }
    printf("\n");
}

/* Runs on the library's loop thread. */
static void on_position(int result, const kopa_position* position, const kopa_error* error,
                        void* user_data) {
    (void)user_data;
    if (result == KOPA_OK) {
        print_position(position);
    } else {
        fprintf(stderr, "asynchronous: %s\n", kopa_error_describe(error));
    }
    mtx_lock(&lock);
    outcome = result == KOPA_OK ? 0 : 2;
    cnd_signal(&answered);
    mtx_unlock(&lock);
}

int main(void) {
    kopa_error* error = NULL;
    kopa_main_loop_thread* loop = NULL;
    if (kopa_main_loop_thread_new(&loop, &error) != KOPA_OK) {
        fprintf(stderr, "%s\n", kopa_error_describe(error));
        kopa_error_free(error);
        return 1;
    }
    kopa_client* client = kopa_client_new();
    kopa_request_options options;
    kopa_request_options_init(&options);
    options.timeout_ms = 800;

    kopa_position position;
    int result = kopa_client_current_position(client, &options, &position, &error);
    if (result == KOPA_OK) {
        print_position(&position);
    } else {
        fprintf(stderr, "blocking: %s (%s)\n", kopa_error_describe(error),
                kopa_error_cause_message(error));
        kopa_error_free(error);
    }

    mtx_init(&lock, mtx_plain);
    cnd_init(&answered);
    kopa_request* request = NULL;
    if (kopa_client_current_position_async(client, &options, on_position, NULL, &request, &error) ==
        KOPA_OK) {
        mtx_lock(&lock);
        while (outcome == 1) {
            cnd_wait(&answered, &lock);
        }
        mtx_unlock(&lock);
    } else {
        fprintf(stderr, "%s\n", kopa_error_describe(error));
        kopa_error_free(error);
        outcome = 2;
    }
    kopa_request_free(request);
    kopa_client_free(client);
    kopa_main_loop_thread_free(loop);
    cnd_destroy(&answered);
    mtx_destroy(&lock);
    return result == KOPA_OK && outcome == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
