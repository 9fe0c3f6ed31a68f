/* Takes one frame with the first camera and writes it to first_frame.pgm. */
#include <orvex/orvex.h>
#include <stdio.h>
#include <stdlib.h>

static void check(int success, const char* what) {
    char text[ERROR_MSG_LEN];
    if (success) return;
    ox_error_message(ox_error_code(), text);
    fprintf(stderr, "cannot %s: %s\n", what, text);
    exit(EXIT_FAILURE);
}

int main(void) {
    char name[CAM_NAME_LEN];
    int16 hcam, status = EXPOSURE_IN_PROGRESS;
    uns16 columns, rows;
    check(ox_orvex_init(), "start the library");
    check(ox_cam_get_name(0, name), "find a camera");
    check(ox_cam_open(name, &hcam, EXT_OPEN_EXCLUSIVE), "open the camera");
    check(ox_get_param(hcam, PARAM_SER_SIZE, ATTR_CURRENT, &columns), "read the width");
    check(ox_get_param(hcam, PARAM_PAR_SIZE, ATTR_CURRENT, &rows), "read the height");

    const rgn_type all = {0, (uns16)(columns - 1), 1, 0, (uns16)(rows - 1), 1};
    uns32 bytes, arrived;
    check(ox_exp_setup_seq(hcam, 1, 1, &all, TIMED_MODE, 20, &bytes), "set up one frame of 20 ms");
    uns16* pixels = malloc(bytes);
    check(pixels != NULL && ox_exp_start_seq(hcam, pixels), "start");
    while (status != READOUT_COMPLETE)
        check(ox_exp_check_status(hcam, &status, &arrived) && status != READOUT_NOT_ACTIVE, "wait");
    check(ox_exp_finish_seq(hcam, pixels, 0), "finish");

    FILE* file = fopen("first_frame.pgm", "wb"); /* 65535 tells 16 bits, high byte first */
    check(file != NULL && fprintf(file, "P5\n%u %u\n65535\n", columns, rows) > 0, "write the file");
    for (uns32 i = 0; i < bytes / 2; ++i) putc(pixels[i] >> 8, file), putc(pixels[i] & 255, file);
    check(fclose(file) == 0, "write the file");
    free(pixels);
    check(ox_cam_close(hcam) && ox_orvex_uninit(), "close the camera");
}
