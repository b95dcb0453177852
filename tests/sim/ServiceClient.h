#ifndef KOPA_TEST_SERVICE_CLIENT_H
#define KOPA_TEST_SERVICE_CLIENT_H

#include <gio/gio.h>

#include <cstdint>
#include <string>
#include <vector>

// What came back for one call to kopad-sim.
struct Answer {
    enum class Kind { Return, Error, TimedOut };
    Kind kind = Kind::TimedOut;
    std::string signature;  // of the body, "" when it has none
    std::string text;       // a return's first STRING
    GVariant* body = nullptr;
    std::string errorName;
    std::string message;       // an error's message
    std::uint32_t serial = 0;  // of our request message

    Answer() = default;
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;
    Answer(Answer&& other) noexcept;
    Answer& operator=(Answer&& other) noexcept;
    ~Answer();
};

// A plain GDBus client of the service's own interface, on its own connection to
// $DBUS_SYSTEM_BUS_ADDRESS; independent of libkopapositioning.
class ServiceClient {
  public:
    ServiceClient();
    ~ServiceClient();
    ServiceClient(const ServiceClient&) = delete;
    ServiceClient& operator=(const ServiceClient&) = delete;

    // Sends one method call (parameters may be floating) and waits for what comes back.
    Answer call(const char* interfaceName, const char* member, GVariant* parameters,
                int timeoutMs = 10000);
    Answer request(const char* member, GVariant* parameters, int timeoutMs = 10000) {
        return call("com.ruvex.location.kopad", member, parameters, timeoutMs);
    }

    // Sends the call without waiting; `done` is set and `answer` filled from the default
    // main context, which the caller iterates.
    void requestAsync(const char* interfaceName, const char* member, GVariant* parameters,
                      Answer& answer, bool& done);

    // Sends the "cancel" signal to the service with this body; returns the signal's serial.
    std::uint32_t sendCancel(GVariant* body);

    std::string uniqueName() const;

  private:
    GDBusMessage* message(const char* interfaceName, const char* member, GVariant* parameters);

    GDBusConnection* connection_ = nullptr;
};

// Iterates the default main context until `done` is true or 30 s pass.
bool iterateUntilSet(const bool& done);

#endif
