// A minimal program that asks for the current position without blocking: the answer reaches
// the observer from the GLib main loop.
// Build: g++ -std=c++17 async_position.cpp $(pkg-config --cflags --libs kopapositioning)
#include <KopaPositioning.h>
#include <glib.h>

#include <cstdio>

class PrintingObserver : public KopaObserver {
  public:
    PrintingObserver(KopaPosition& position, GMainLoop* loop) : position_(position), loop_(loop) {}

    void requestCompleted(int result, KopaRequestType type) override {
        if (result == KOPA_OK && type == KOPA_REQUEST_CURRENT_POSITION) {
            std::printf("%.6f %.6f\n", position_.latitude(), position_.longitude());
        } else {
            std::fprintf(stderr, "request %d failed: %d\n", type, result);
        }
        result_ = result;
        g_main_loop_quit(loop_);
    }

    int result() const { return result_; }

  private:
    KopaPosition& position_;
    GMainLoop* loop_;
    int result_ = KOPA_ERROR_GENERAL;
};

int main() {
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);  // the default main context
    KopaPosition position;                              // must outlive the request
    PrintingObserver observer(position, loop);
    KopaPositioning positioning(&observer);

    int sent = positioning.currentPositionAsync(position, 0, KOPA_PACKET_DATA_ALLOWED, 30);
    if (sent != KOPA_OK) {
        std::fprintf(stderr, "currentPositionAsync refused: %d\n", sent);
        return 1;
    }
    g_main_loop_run(loop);  // requestCompleted runs in here
    g_main_loop_unref(loop);
    return observer.result() == KOPA_OK ? 0 : 1;
}
