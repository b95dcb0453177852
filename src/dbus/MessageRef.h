#ifndef KOPA_MESSAGE_REF_H
#define KOPA_MESSAGE_REF_H

#include <dbus/dbus.h>

namespace kopa {

/// Owns one reference to a D-Bus message and drops it on every way out of a scope, exceptions
/// included. get() hands out the pointer by reference, for the writers and parsers.
class MessageRef {
  public:
    explicit MessageRef(DBusMessage* message = nullptr) : message_(message) {}
    ~MessageRef() { reset(); }
    MessageRef(const MessageRef&) = delete;
    MessageRef& operator=(const MessageRef&) = delete;

    DBusMessage*& get() { return message_; }
    void reset() {
        if (message_ != nullptr) {
            dbus_message_unref(message_);
            message_ = nullptr;
        }
    }

  private:
    DBusMessage* message_;
};

}  // namespace kopa

#endif
