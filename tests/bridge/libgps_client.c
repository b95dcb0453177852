/* Reads three fixes on the simulator's walk through libgps: gpsd's C client, unchanged. */
#include <gps.h>
#include <math.h>
#include <stdio.h>

int main(int argc, char** argv) {
    struct gps_data_t data;
    if (argc != 3 || gps_open(argv[1], argv[2], &data) != 0) {
        fprintf(stderr, "libgps_client: cannot connect\n");
        return 1;
    }
    gps_stream(&data, WATCH_ENABLE | WATCH_JSON, NULL);
    int fixes = 0;
    for (int reads = 0; reads < 200 && fixes < 3; ++reads) {
        if (!gps_waiting(&data, 30000000) || gps_read(&data, NULL, 0) < 0) {
            break;
        }
        if ((data.set & MODE_SET) && data.fix.mode == MODE_3D &&
            fabs(data.fix.latitude - 60.167) < 0.01 && isfinite(data.fix.altHAE)) {
            ++fixes;
        }
    }
    gps_stream(&data, WATCH_DISABLE, NULL);
    gps_close(&data);
    printf("libgps_client: %d fixes\n", fixes);
    return fixes == 3 ? 0 : 1;
}
