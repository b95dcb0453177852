// The C tests' client of kopad-sim: the suites' SimControl behind C functions. A failure to
// reach the simulator throws, and ends the test there.
#include <memory>

#include "SimControl.h"
#include "capi_harness.h"

namespace {
std::unique_ptr<SimControl> control;
}

void sim_connect(void) {
    control = std::make_unique<SimControl>();
    control->reset();
}

void sim_disconnect(void) {
    control.reset();
}

void sim_reset(void) {
    control->reset();
}

void sim_push(const char* member, const char* outcome) {
    control->pushOutcomes(member, {outcome});
}

bool sim_wait_requests(unsigned count, unsigned timeout_ms) {
    return control->waitForRequests(count, timeout_ms);
}

bool sim_wait_cancels(unsigned count, unsigned timeout_ms) {
    return control->waitForCancels(count, timeout_ms);
}

unsigned sim_request_count(void) {
    return static_cast<unsigned>(control->requests().size());
}
