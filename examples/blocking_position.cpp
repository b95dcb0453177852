// A minimal program that asks the positioning service for the current position and waits.
// Build: g++ -std=c++17 blocking_position.cpp $(pkg-config --cflags --libs kopapositioning)
#include <KopaPositioning.h>

#include <cstdio>

int main() {
    KopaPositioning positioning(nullptr);  // no observer: blocking requests only
    KopaPosition position;
    int result = positioning.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 30);
    if (result != KOPA_OK) {
        std::fprintf(stderr, "currentPosition failed: %d\n", result);
        return 1;
    }
    std::printf("%.6f %.6f\n", position.latitude(), position.longitude());
    return 0;
}
