/*
 * Takes a frame of three regions with metadata, tells what it says of itself and writes the regions
 * where they lie in the sensor to metadata.pgm.
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

/* The first camera that can tell metadata. */
static int16 open_camera(void) {
    int16 total = 0, hcam;
    check(ox_cam_get_total(&total), "count the cameras");
    for (int16 i = 0; i < total; ++i) {
        char name[CAM_NAME_LEN];
        boolean16 available = 0;
        check(ox_cam_get_name(i, name), "name a camera");
        check(ox_cam_open(name, &hcam, EXT_OPEN_EXCLUSIVE), "open a camera");
        check(ox_get_param(hcam, PARAM_METADATA_ENABLED, ATTR_AVAIL, &available), "ask a camera");
        if (available) return hcam;
        check(ox_cam_close(hcam), "close a camera");
    }
    fprintf(stderr, "no camera has metadata\n");
    exit(EXIT_FAILURE);
}

static void take_frame(int16 hcam, void* buffer) {
    int16 status = EXPOSURE_IN_PROGRESS;
    uns32 arrived;
    check(ox_exp_start_seq(hcam, buffer), "start");
    while (status != READOUT_COMPLETE)
        check(ox_exp_check_status(hcam, &status, &arrived) && status != READOUT_NOT_ACTIVE, "wait");
    check(ox_exp_finish_seq(hcam, buffer, 0), "finish");
}

static void describe(const md_frame* frame) {
    for (uns16 i = 0; i < frame->roiCount; ++i) {
        const md_frame_roi* part = &frame->roiArray[i];
        const rgn_type r = part->header->roi;
        printf("region %u..%u x %u..%u binned %u x %u: %u bytes\n", r.s1, r.s2, r.p1, r.p2, r.sbin,
               r.pbin, part->dataSize);
    }
}

/* Recomposes the regions into a picture that is as large as the box around them. */
static void write_picture(const char* path, md_frame* frame) {
    const rgn_type box = frame->impliedRoi;
    const uns16 width = (uns16)((box.s2 - box.s1 + 1) / box.sbin);
    const uns16 height = (uns16)((box.p2 - box.p1 + 1) / box.pbin);
    uns16* pixels = calloc((size_t)width * height, sizeof *pixels);
    check(pixels != NULL && ox_md_frame_recompose(pixels, 0, 0, width, height, frame), "recompose");

    FILE* file = fopen(path, "wb");
    check(file != NULL && fprintf(file, "P5\n%u %u\n65535\n", width, height) > 0, "write the file");
    for (size_t i = 0; i < (size_t)width * height; ++i) {
        putc(pixels[i] >> 8, file);
        putc(pixels[i] & 255, file);
    }
    check(fclose(file) == 0, "write the file");
    free(pixels);
}

int main(void) {
    const rgn_type regions[] = {
        {100, 163, 2, 200, 247, 2}, {300, 331, 2, 220, 283, 2}, {40, 139, 2, 400, 419, 2}};
    uns32 bytes;
    md_frame* frame = NULL;
    check(ox_orvex_init(), "start the library");
    const int16 hcam = open_camera();

    boolean16 on = 1;
    check(ox_set_param(hcam, PARAM_METADATA_ENABLED, &on), "switch metadata on");
    check(ox_exp_setup_seq(hcam, 1, 3, regions, TIMED_MODE, 20, &bytes), "set up");
    void* buffer = malloc(bytes);
    check(buffer != NULL, "allocate the buffer");
    take_frame(hcam, buffer);

    /* The record points into the buffer and can be used for any number of frames. */
    check(ox_md_create_frame_struct_cont(&frame, 3), "make a record");
    check(ox_md_frame_decode(frame, buffer, bytes), "decode");
    describe(frame);
    write_picture("metadata.pgm", frame);

    check(ox_md_release_frame_struct(frame), "release the record");
    free(buffer);
    check(ox_cam_close(hcam), "close the camera");
    check(ox_orvex_uninit(), "stop the library");
    return EXIT_SUCCESS;
}
