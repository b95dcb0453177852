#ifndef KOPA_TEST_WIRE_MESSAGES_H
#define KOPA_TEST_WIRE_MESSAGES_H

#include <dbus/dbus.h>

#include <memory>
#include <string>

// Messages made and read with plain libdbus, without a bus, for the writer and parser tests.
namespace wire {

struct MessageUnref {
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using Message = std::unique_ptr<DBusMessage, MessageUnref>;

// A method call for a reply or error to answer; it needs a serial for that.
inline Message answeredCall() {
    Message call(dbus_message_new_method_call("com.ruvex.location.kopad",
                                              "/com/ruvex/location/kopad",
                                              "com.ruvex.location.kopad", "currentPosition"));
    dbus_message_set_serial(call.get(), 7);
    return call;
}

// A method return; the caller appends its arguments.
inline Message methodReturn() {
    Message call = answeredCall();
    return Message(dbus_message_new_method_return(call.get()));
}

inline Message stringReply(const std::string& text) {
    Message reply = methodReturn();
    const char* data = text.c_str();
    dbus_message_append_args(reply.get(), DBUS_TYPE_STRING, &data, DBUS_TYPE_INVALID);
    return reply;
}

inline Message errorMessage(const char* name, const char* text) {
    Message call = answeredCall();
    return Message(dbus_message_new_error(call.get(), name, text));
}

inline std::string signatureOf(DBusMessage* message) {
    return dbus_message_get_signature(message);
}

// The DBusError that a caller gets from an error message.
class ErrorFromMessage {
  public:
    explicit ErrorFromMessage(DBusMessage* message) {
        dbus_error_init(&error_);
        dbus_set_error_from_message(&error_, message);
    }
    ~ErrorFromMessage() { dbus_error_free(&error_); }
    ErrorFromMessage(const ErrorFromMessage&) = delete;
    ErrorFromMessage& operator=(const ErrorFromMessage&) = delete;

    DBusError* get() { return &error_; }

  private:
    DBusError error_;
};

}  // namespace wire

#endif
