#ifndef KOPAD_SIM_SIM_SERVICE_H
#define KOPAD_SIM_SIM_SERVICE_H

#include <gio/gio.h>

#include <cstdint>
#include <deque>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "EventLog.h"
#include "Outcome.h"
#include "Scenario.h"

extern const char* const kServiceName;
extern const char* const kServicePath;
extern const char* const kServiceInterface;
extern const char* const kControlInterface;

// The object /com/ruvex/location/kopad: the positioning service's four requests answered from
// per-member outcome queues, the cancel signal logged, and the control interface.
//
// Everything runs on the thread of the default main context, except the message filter that
// sees cancel signals; it runs on GDBus's worker thread and hands them over through an idle
// source.
class SimService {
  public:
    SimService(GDBusConnection* connection, const Scenario& scenario, EventLog& log,
               const TrackSettings& trackSettings = TrackSettings());
    ~SimService();
    SimService(const SimService&) = delete;
    SimService& operator=(const SimService&) = delete;

    // Registers the object and the cancel filter. False, with the reason, when GDBus refuses.
    bool start(std::string& why);
    // Unregisters everything and drops the calls still waiting for an answer. Cancel signals
    // already handed to the main context are ignored when they arrive; the owner lets the
    // context run them before destroying the service.
    void stop();
    // Puts the device at the first point of the scenario's track, if it has one; from now on
    // the journey runs. Called once the service is ready, and on every track loaded later.
    void startTrack();

  private:
    struct Request {
        std::string member;
        std::uint32_t serial;
        std::string sender;
        GVariant* args;  // owned
    };
    struct Cancel {
        std::string sender;
        std::uint32_t serial;
        std::vector<std::uint32_t> serials;
    };
    // An answer waiting for its "delay" to pass.
    struct Delayed {
        SimService* service;
        GDBusMethodInvocation* invocation;  // owned
        std::string member;
        Outcome outcome;
        guint source = 0;
    };
    // A WaitForRequests or WaitForCancels call not yet answered.
    struct Waiter {
        SimService* service;
        GDBusMethodInvocation* invocation;  // owned until answered
        bool forCancels;
        guint count;
        guint timeout = 0;
    };
    // Shared with GDBus's worker thread; GDBus frees it once no filter call can still run.
    struct FilterData {
        GMainContext* context;
        SimService* service;
    };
    struct PostedCancel;

    static void onMethodCall(GDBusConnection* connection, const gchar* sender,
                             const gchar* objectPath, const gchar* interfaceName,
                             const gchar* methodName, GVariant* parameters,
                             GDBusMethodInvocation* invocation, gpointer self);
    static GDBusMessage* onMessage(GDBusConnection* connection, GDBusMessage* message,
                                   gboolean incoming, gpointer data);
    static gboolean onPostedCancel(gpointer data);
    static gboolean onDelayOver(gpointer data);
    static gboolean onWaitOver(gpointer data);

    // Requests (SimService.cpp).
    void handleRequest(GDBusMethodInvocation* invocation, const std::string& member,
                       GVariant* parameters);
    Outcome nextOutcome(const std::string& member);
    void answer(GDBusMethodInvocation* invocation, const std::string& member,
                const Outcome& scripted);
    Outcome ownAnswer(const std::string& member, GVariant* parameters);
    void rememberHandedOut(const std::string& member, const std::string& text);

    // Control interface (ControlInterface.cpp).
    void handleControl(GDBusMethodInvocation* invocation, const std::string& method,
                       GVariant* parameters);
    void pushOutcomes(GDBusMethodInvocation* invocation, GVariant* parameters);
    void loadScenario(GDBusMethodInvocation* invocation, GVariant* parameters);
    void loadTrack(GDBusMethodInvocation* invocation, GVariant* parameters);
    void reset();
    GVariant* requestsValue() const;
    GVariant* cancelsValue() const;
    void wait(GDBusMethodInvocation* invocation, GVariant* parameters, bool forCancels);
    void checkWaiters();
    void dropPendingCalls();

    // Cancel signals (CancelLog.cpp).
    void logCancel(Cancel cancel);

    GDBusConnection* connection_;
    EventLog& log_;
    Scenario scenario_;
    TrackSettings trackSettings_;
    std::int64_t trackStartMs_ = -1;  // when the journey's first point was reached; -1: not yet
    std::map<std::string, std::deque<Outcome>> queues_;
    KopaPosition lastKnown_;
    std::vector<Request> requests_;
    std::vector<Cancel> cancels_;
    std::list<std::unique_ptr<Delayed>> delayed_;
    std::list<std::unique_ptr<Waiter>> waiters_;
    std::vector<GDBusMethodInvocation*> unanswered_;  // "noreply": held, never answered
    std::vector<guint> registrations_;
    guint filter_ = 0;
    bool stopped_ = false;
};

#endif
