/*
 * A program in the style of the oldest applications: no numbered parameters, no callbacks. It takes
 * two exposures of a region and writes their pixels one behind the other to oldest_style.raw.
 *
 * Opening a camera, ox_exp_setup_seq(), ox_exp_start_seq() and ox_exp_finish_seq() are as old and
 * are still the way to do it. The buffer family does nothing any more: an old program that is kept
 * alive has to bring memory for the pixels itself, and finds them there and not by ox_buf_get_*().
 */
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

static void describe(int16 hcam) {
    char chip[17];
    uns16 columns, rows, pixel_time;
    int16 entries, bits;
    check(ox_cam_check(hcam) && ox_cam_get_diags(hcam), "check the camera");
    check(ox_ccd_get_chip_name(hcam, chip), "read the chip");
    check(ox_ccd_get_ser_size(hcam, &columns), "read the width");
    check(ox_ccd_get_par_size(hcam, &rows), "read the height");
    check(ox_spdtab_get_entries(hcam, &entries), "count the speeds");
    check(ox_spdtab_get_bits(hcam, &bits), "read the depth");
    check(ox_spdtab_get_time(hcam, &pixel_time), "read the speed");
    printf("%s, %u x %u, %d speeds, %d bits, %u ns a pixel\n", chip, columns, rows, entries, bits,
           pixel_time);
}

static void choose_settings(int16 hcam) {
    check(ox_spdtab_set_num(hcam, 1) && ox_spdtab_set_gain(hcam, 2), "choose speed and gain");
    check(ox_ccd_set_clear_mode(hcam, CLEAR_PRE_EXPOSURE), "choose when to clear");
    check(ox_ccd_set_clear_cycles(hcam, 3), "choose how often to clear");
    check(ox_ccd_set_pmode(hcam, PMODE_NORMAL), "choose the parallel mode");
    check(ox_shtr_set_open_mode(hcam, OPEN_PRE_EXPOSURE), "choose when the shutter opens");
    check(ox_shtr_set_open_dly(hcam, 15), "choose the delay of the shutter");
    check(ox_ccd_set_adc_offset(hcam, 300), "choose the offset");
}

int main(void) {
    enum { exposures = 2 };
    const rgn_type region = {10, 89, 2, 20, 79, 2};
    const uns32 region_pixels = 40 * 30;
    char name[CAM_NAME_LEN];
    int16 hcam, hbuf = 0, status = READOUT_NOT_ACTIVE;
    uns32 bytes, arrived;
    check(ox_orvex_init() && ox_cam_get_name(0, name), "find a camera");
    check(ox_cam_open(name, &hcam, EXT_OPEN_EXCLUSIVE), "open the camera");
    choose_settings(hcam);
    describe(hcam);

    /* The program of this mode has no time in it: the time goes with every start. */
    check(ox_exp_init_seq(), "begin");
    check(ox_exp_setup_seq(hcam, exposures, 1, &region, VARIABLE_TIMED_MODE, 1, &bytes), "set up");
    check(ox_exp_set_time_seq(hcam, 25), "set the time");

    check(ox_buf_init() && ox_buf_alloc(&hbuf, exposures, 16, 1, &region), "do nothing");
    uns16* pixels = oz_malloc(bytes, 0);
    check(pixels != NULL && ox_exp_start_seq(hcam, pixels), "start");
    while (status != READOUT_COMPLETE)
        check(ox_exp_check_progress(hcam, &status, &arrived) && status != READOUT_NOT_ACTIVE,
              "wait");
    check(ox_exp_finish_seq(hcam, pixels, hbuf), "finish");
    check(ox_buf_free(hbuf) && ox_buf_uninit() && ox_exp_uninit_seq(), "end");

    uns16* image = oz_calloc(region_pixels, sizeof *image, 0);
    FILE* file = fopen("oldest_style.raw", "wb");
    check(image != NULL && file != NULL, "create the file");
    for (int i = 0; i < exposures; ++i) {
        check(ox_exp_unravel(hcam, 0, pixels + i * (int)region_pixels, 1, &region, &image),
              "take the region out of its frame");
        check(fwrite(image, sizeof *image, region_pixels, file) == region_pixels, "write");
    }
    check(fclose(file) == 0, "write the file");
    check(oz_free(image, 0) && oz_free(pixels, 0), "free the memory");
    check(ox_cam_close(hcam) && ox_orvex_uninit(), "close the camera");
    return EXIT_SUCCESS;
}
