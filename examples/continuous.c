/*
 * Takes frames without end into a ring, until so many were taken, or until Ctrl-C:
 *
 *     continuous [FRAMES [FRAMES_OF_THE_RING]]
 */
#define _DEFAULT_SOURCE /* for orvex_event.h */
#include <orvex/orvex.h>
#include <orvex/orvex_event.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

enum { side = 64, patience_ms = 10000 }; /* much longer than a frame can take */

static orvex_event news; /* of frames and of Ctrl-C */
static volatile sig_atomic_t interrupted = 0;

static void check(int success, const char* what) {
    char text[ERROR_MSG_LEN];
    if (success) return;
    ox_error_message(ox_error_code(), text);
    fprintf(stderr, "cannot %s: %s\n", what, text);
    exit(EXIT_FAILURE);
}

/* Runs on a thread of the library: tells the program and returns. */
static void on_end_of_frame(const FRAME_INFO* info, void* context) {
    (void)info;
    orvex_event_set(context);
}

static void on_interrupt(int number) {
    (void)number;
    interrupted = 1;
    orvex_event_set(&news);
}

static double mean(const uns16* pixels) {
    double sum = 0;
    for (int i = 0; i < side * side; ++i) sum += pixels[i];
    return sum / (side * side);
}

/* Takes the frames that are there, oldest first. False when the library refused one. */
static int take_frames(int16 hcam, uns32 wanted, uns32* taken) {
    int16 status;
    uns32 offset, rings;
    void* frame;
    while (*taken < wanted) {
        if (!ox_exp_check_cont_status(hcam, &status, &offset, &rings)) return 0;
        if (status != FRAME_AVAILABLE) return 1;
        /* Fails with C3_BUFFER_OVERRUN when the camera was faster than this loop. */
        if (!ox_exp_get_oldest_frame(hcam, &frame)) return 0;
        printf("frame %u: mean %.3f\n", ++*taken, mean(frame));
        if (!ox_exp_unlock_oldest_frame(hcam)) return 0;
    }
    return 1;
}

int main(int argc, char** argv) {
    const uns32 wanted = argc > 1 ? (uns32)strtoul(argv[1], NULL, 10) : 100;
    const uns32 ring_frames = argc > 2 ? (uns32)strtoul(argv[2], NULL, 10) : 200;
    const rgn_type region = {16, 16 + side - 1, 1, 32, 32 + side - 1, 1};
    char name[CAM_NAME_LEN];
    int16 hcam;
    uns32 frame_bytes, taken = 0;

    setvbuf(stdout, NULL, _IONBF, 0); /* what is printed is told at once, whoever reads */
    check(orvex_event_create(&news, NULL, 1, 0) && signal(SIGINT, on_interrupt) != SIG_ERR,
          "prepare");
    check(ox_orvex_init(), "start the library");
    check(ox_cam_get_name(0, name), "find a camera");
    check(ox_cam_open(name, &hcam, EXT_OPEN_EXCLUSIVE), "open the camera");

    void (*callback)(const FRAME_INFO*, void*) = on_end_of_frame;
    check(ox_cam_register_callback_ex3(hcam, OX_CALLBACK_EOF, *(void**)&callback, &news),
          "hear of frames");
    check(ox_exp_setup_cont(hcam, 1, &region, TIMED_MODE, 10, &frame_bytes, CIRC_NO_OVERWRITE),
          "set up");
    void* ring = calloc(ring_frames, frame_bytes);
    check(ring != NULL && ox_exp_start_cont(hcam, ring, ring_frames * frame_bytes), "start");

    int silent = 0, refused = 0;
    while (taken < wanted && !interrupted && !silent && !refused) {
        silent = !orvex_event_wait(&news, patience_ms);
        refused = !silent && !take_frames(hcam, wanted, &taken) ? ox_error_code() : 0;
    }

    /* After the stop nothing is written into the ring any more. */
    check(ox_exp_stop_cont(hcam, CCS_HALT_CLOSE_SHTR), "stop");
    check(ox_cam_deregister_callback(hcam, OX_CALLBACK_EOF), "end the callbacks");
    check(ox_cam_close(hcam), "close the camera");
    check(ox_orvex_uninit(), "stop the library");
    free(ring);
    orvex_event_close(&news);
    printf("%u frames%s%s\n", taken, interrupted ? ", interrupted" : "",
           silent ? ", then no more came" : "");
    if (refused) printf("ended by error %d\n", refused);
    return silent || refused ? EXIT_FAILURE : EXIT_SUCCESS;
}
