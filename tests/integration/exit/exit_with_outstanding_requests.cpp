// Makes three asynchronous requests that the service never answers, then leaves main with them
// outstanding, so that the exit-time destructors of the registry and the client run with
// entries left. The trace file (KOPAAPI_TRACEFILE) tells the checking script what they did.
#include <KopaPositioning.h>

#include <unistd.h>

namespace {

class ExitingObserver : public KopaObserver {
public:
    void requestCompleted(int, KopaRequestType) override {
        // No observer may be called for a request outstanding at exit.
        _exit(3);
    }
};

ExitingObserver observer;
KopaPosition position;
KopaMeasurements measurements;

}  // namespace

int main() {
    KopaPositioning positioning(&observer);
    int sent = positioning.currentPositionAsync(position, 0, KOPA_PACKET_DATA_ALLOWED, 0);
    sent |= positioning.currentMeasurementsAsync(measurements, 0, 0);
    sent |= positioning.lastKnownPositionAsync(position, 0);
    return sent == KOPA_OK ? 0 : 2;
}
