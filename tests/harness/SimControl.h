#ifndef KOPA_TEST_SIM_CONTROL_H
#define KOPA_TEST_SIM_CONTROL_H

#include <cstdint>
#include <string>
#include <vector>

typedef struct _GDBusConnection GDBusConnection;
typedef struct _GVariant GVariant;

// One request as it reached kopad-sim.
struct LoggedRequest {
    std::string member;
    uint32_t serial;                 // of the request message
    std::string sender;              // unique bus name
    std::string args;                // g_variant_print of the argument tuple
    std::vector<long long> numbers;  // every integer argument in order
    std::string text;                // the STRING argument, if any
};

// One cancel signal as it reached kopad-sim.
struct LoggedCancel {
    std::string sender;
    uint32_t signalSerial;
    std::vector<uint32_t> serials;
};

// A client of kopad-sim's control interface, on its own GDBus connection to
// $DBUS_SYSTEM_BUS_ADDRESS. Every failure to talk to the simulator throws std::runtime_error
// with the D-Bus error's message.
class SimControl {
  public:
    SimControl();
    ~SimControl();
    SimControl(const SimControl&) = delete;
    SimControl& operator=(const SimControl&) = delete;

    // Appends outcomes ("reply", "error 54", "delay 200 noreply", ...) to one member's queue.
    void pushOutcomes(const std::string& member, const std::vector<std::string>& outcomes);
    // Queues back to the scenario's defaults, logs emptied.
    void reset();
    // Replaces the simulator's scenario with the one in `text` (scenario file format).
    void loadScenario(const std::string& text);
    // Replaces the journey the simulator replays with the GPX document in `text`.
    void loadTrack(const std::string& text);
    std::vector<LoggedRequest> requests();
    std::vector<LoggedCancel> cancels();
    // True as soon as the log holds `count` entries, false when `timeoutMs` passes first.
    bool waitForRequests(unsigned count, unsigned timeoutMs = 10000);
    bool waitForCancels(unsigned count, unsigned timeoutMs = 10000);

  private:
    // Calls a control method; the reply (which the caller unrefs) or a throw.
    GVariant* call(const char* method, GVariant* parameters, const char* replyType,
                   int timeoutMs = 10000);

    GDBusConnection* connection_ = nullptr;
};

#endif
