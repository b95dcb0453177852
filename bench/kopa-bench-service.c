/* kopa-bench-service: the fastest positioning service the bus allows, so that the benchmark
 * measures its clients and not the service. It answers the four requests at once with a fixed
 * text, on raw libdbus, and does nothing else: no logging, no arguments parsed beyond the one
 * below, no control interface.
 *
 * A currentPosition request with request parameter 4294967295 is never answered: the cancel
 * benchmark needs requests that stay outstanding.
 *
 * Prints "ready" on standard output once it owns its name; runs until the bus goes away. */
#include <dbus/dbus.h>

#include <stdio.h>
#include <string.h>

#define SERVICE "com.ruvex.location.kopad"
#define OBJECT "/com/ruvex/location/kopad"

static const char position_text[] =
    "KopaPosition/1 lat=60.1699 lon=24.9384 alt=15 hacc=20 time=1700000000000 method=gnss";
static const char measurements_text[] =
    "KopaMeasurements/1 cell=lte,244,91,40961,12345601,-71 cell=lte,244,91,40961,12345602,-85 "
    "wlan=02:1a:11:f0:00:01,-55 wlan=02:1a:11:f0:00:02,-68";

static const dbus_uint32_t never_answered = 4294967295u;

static int is_silenced(DBusMessage* call) {
    dbus_uint32_t parameter = 0;
    DBusMessageIter args;
    if (!dbus_message_is_method_call(call, SERVICE, "currentPosition") ||
        !dbus_message_iter_init(call, &args) ||
        dbus_message_iter_get_arg_type(&args) != DBUS_TYPE_UINT32) {
        return 0;
    }
    dbus_message_iter_get_basic(&args, &parameter);
    return parameter == never_answered;
}

static DBusHandlerResult answer(DBusConnection* connection, DBusMessage* call, void* unused) {
    (void)unused;
    if (dbus_message_get_type(call) != DBUS_MESSAGE_TYPE_METHOD_CALL ||
        strcmp(dbus_message_get_interface(call) ? dbus_message_get_interface(call) : "", SERVICE) !=
            0) {
        return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
    }
    const char* member = dbus_message_get_member(call);
    const char* text = NULL;
    if (strcmp(member, "currentMeasurements") == 0) {
        text = measurements_text;
    } else if (strcmp(member, "currentPosition") == 0 || strcmp(member, "lastKnownPosition") == 0 ||
               strcmp(member, "convertToPosition") == 0) {
        text = position_text;
    } else {
        return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
    }
    if (is_silenced(call)) {
        return DBUS_HANDLER_RESULT_HANDLED;
    }
    DBusMessage* reply = dbus_message_new_method_return(call);
    if (reply == NULL ||
        !dbus_message_append_args(reply, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID) ||
        !dbus_connection_send(connection, reply, NULL)) {
        if (reply != NULL) {
            dbus_message_unref(reply);
        }
        return DBUS_HANDLER_RESULT_NEED_MEMORY;
    }
    dbus_message_unref(reply);
    return DBUS_HANDLER_RESULT_HANDLED;
}

int main(void) {
    DBusError error;
    dbus_error_init(&error);
    DBusConnection* connection = dbus_bus_get(DBUS_BUS_SYSTEM, &error);
    if (connection == NULL) {
        fprintf(stderr, "kopa-bench-service: %s\n", error.message);
        return 1;
    }
    if (dbus_bus_request_name(connection, SERVICE, DBUS_NAME_FLAG_DO_NOT_QUEUE, &error) !=
        DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER) {
        fprintf(stderr, "kopa-bench-service: cannot own %s\n", SERVICE);
        return 1;
    }
    static const DBusObjectPathVTable vtable = {.message_function = answer};
    if (!dbus_connection_register_object_path(connection, OBJECT, &vtable, NULL)) {
        fprintf(stderr, "kopa-bench-service: out of memory\n");
        return 1;
    }
    printf("ready\n");
    fflush(stdout);
    /* Replies are written as the loop comes round; the bus disconnecting ends the process. */
    while (dbus_connection_read_write_dispatch(connection, -1)) {
    }
    return 0;
}
