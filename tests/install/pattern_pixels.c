/* Takes frames of the head of examples/module in C99 and holds each pixel against its pattern.
   Tells of the first thing that is not as it should be, and ends with 1. */
#include <orvex/orvex.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#define FRAMES 2

static void expect(int holds, const char* what) {
    if (holds) return;
    fprintf(stderr, "failed: %s (error %d)\n", what, ox_error_code());
    exit(EXIT_FAILURE);
}

int main(void) {
    /* Columns 10 to 40 in bins of 2, of which the last column makes none; rows 20 to 59 in bins
     * of 4. */
    const rgn_type region = {10, 40, 2, 20, 59, 4};
    enum { columns = 15, rows = 10 };
    uns16 pixels[FRAMES][rows][columns];
    uns16 version = 0;
    int16 hcam, status = EXPOSURE_IN_PROGRESS, total = 0;
    uns32 bytes, arrived;
    int frame, x, y;
    time_t begin;

    expect(ox_orvex_init(), "start");
    expect(ox_orvex_get_ver(&version) && version == 0x100, "version 1.0.0");
    expect(ox_cam_get_total(&total) && total == 1, "the module has one camera");
    expect(ox_cam_open((char[]){"Pattern"}, &hcam, EXT_OPEN_EXCLUSIVE), "open");
    expect(ox_exp_setup_seq(hcam, FRAMES, 1, &region, TIMED_MODE, 5, &bytes), "set up");
    expect(bytes == sizeof(pixels), "size of the frames");
    expect(ox_exp_start_seq(hcam, pixels), "start frames");
    while (status != READOUT_COMPLETE)
        expect(ox_exp_check_status(hcam, &status, &arrived) && status != READOUT_NOT_ACTIVE &&
                   status != READOUT_FAILED,
               "frames");
    expect(ox_exp_finish_seq(hcam, pixels, 0), "finish");
    for (frame = 0; frame < FRAMES; ++frame)
        for (y = 0; y < rows; ++y)
            for (x = 0; x < columns; ++x)
                expect(pixels[frame][y][x] == 10 + 2 * x + 20 + 4 * y, "pixel of the pattern");

    /* The head stops in a long exposure, not at its end. */
    expect(ox_exp_setup_seq(hcam, 1, 1, &region, TIMED_MODE, 60000, &bytes), "set up 60 s");
    begin = time(NULL);
    expect(ox_exp_start_seq(hcam, pixels) && ox_exp_abort(hcam, CCS_HALT), "abort");
    expect(time(NULL) - begin < 30, "abort at once");
    expect(ox_cam_close(hcam) && ox_orvex_uninit(), "close");
    return 0;
}
