/* The pieces of docs/guide.md that are no programs of their own, run one after the other. */
#define _DEFAULT_SOURCE /* for orvex_event.h */
#include <orvex/orvex.h>
#include <orvex/orvex_event.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void check(int success, const char* what) {
    char text[ERROR_MSG_LEN];
    if (success) return;
    ox_error_message(ox_error_code(), text);
    fprintf(stderr, "cannot %s: %s\n", what, text);
    exit(EXIT_FAILURE);
}

static int has(int16 hcam, uns32 param_id) {
    boolean16 available = 0;
    return ox_get_param(hcam, param_id, ATTR_AVAIL, &available) && available;
}

static void list_cameras(void) {
    int16 total = 0;
    check(ox_cam_get_total(&total), "count the cameras");
    for (int16 i = 0; i < total; ++i) {
        char name[CAM_NAME_LEN];
        check(ox_cam_get_name(i, name), "name a camera");
        printf("camera %d: %s\n", i, name);
    }
}

static void fail_on_purpose(int16 hcam) {
    char text[ERROR_MSG_LEN];
    uns16 read_only = 1;
    if (!ox_set_param(hcam, PARAM_SER_SIZE, &read_only)) {
        const int16 code = ox_error_code();
        ox_error_message(code, text);
        printf("error %d: %s\n", code, text);
    }
    printf("then: %d", ox_error_code()); /* asking changes nothing */
    ox_cam_check(hcam);
    printf(", after a call that works: %d\n", ox_error_code());
}

static void choose_temperature(int16 hcam) {
    int16 lowest, highest;
    if (!has(hcam, PARAM_TEMP_SETPOINT)) return;
    check(ox_get_param(hcam, PARAM_TEMP_SETPOINT, ATTR_MIN, &lowest), "read the lower bound");
    check(ox_get_param(hcam, PARAM_TEMP_SETPOINT, ATTR_MAX, &highest), "read the upper bound");
    int16 wanted = -1000; /* hundredths of a degree */
    check(wanted >= lowest && wanted <= highest, "cool that far");
    check(ox_set_param(hcam, PARAM_TEMP_SETPOINT, &wanted), "set the temperature");
    printf("cooling to %.1f, possible are %.1f to %.1f\n", wanted / 100.0, lowest / 100.0,
           highest / 100.0);
}

static void print_chip(int16 hcam) {
    char chip[256] = "";
    check(ox_get_param(hcam, PARAM_CHIP_NAME, ATTR_CURRENT, chip), "read the name of the chip");
    printf("chip %s\n", chip);
}

/* Sets an enumerated parameter to the entry with this text. */
static void choose(int16 hcam, uns32 param_id, const char* wanted) {
    uns32 count;
    check(ox_get_param(hcam, param_id, ATTR_COUNT, &count), "count the entries");
    for (uns32 i = 0; i < count; ++i) {
        int32 value;
        char text[100];
        check(ox_get_enum_param(hcam, param_id, i, &value, text, sizeof text), "read an entry");
        if (strcmp(text, wanted) != 0) continue;
        check(ox_set_param(hcam, param_id, &value), "set the entry");
        printf("%s is entry %u, value %d\n", text, i, value);
        return;
    }
    check(0, wanted);
}

static void wait_for_sequence(int16 hcam) {
    int16 status = EXPOSURE_IN_PROGRESS;
    uns32 arrived;
    while (status != READOUT_COMPLETE)
        check(ox_exp_check_status(hcam, &status, &arrived) && status != READOUT_NOT_ACTIVE, "wait");
}

static void take_binned_sequence(int16 hcam) {
    enum { frames = 3 };
    const rgn_type region = {100, 299, 2, 50, 149, 2}; /* 100 columns and 50 rows of pixels */
    uns32 bytes;
    check(ox_exp_setup_seq(hcam, frames, 1, &region, TIMED_MODE, 5, &bytes), "set up");
    uns16* pixels = malloc(bytes);
    check(pixels != NULL, "allocate the frames");
    const uns32 frame_pixels = bytes / frames / sizeof *pixels;
    for (int run = 0; run < 2; ++run) { /* a set-up serves any number of runs */
        check(ox_exp_start_seq(hcam, pixels), "start");
        wait_for_sequence(hcam);
        check(ox_exp_finish_seq(hcam, pixels, 0), "finish");
        printf("run %d: the first pixels are", run + 1);
        for (int i = 0; i < frames; ++i) printf(" %u", pixels[(uns32)i * frame_pixels]);
        printf(" of %u\n", frame_pixels);
    }
    free(pixels);
}

static void take_two_regions(int16 hcam) {
    const rgn_type regions[2] = {{200, 231, 1, 0, 15, 1}, {0, 63, 1, 100, 107, 1}};
    uns32 bytes;
    boolean16 metadata = 1;
    uns16 most;
    check(ox_get_param(hcam, PARAM_ROI_COUNT, ATTR_MAX, &most) && most >= 2, "use two regions");
    check(ox_set_param(hcam, PARAM_METADATA_ENABLED, &metadata), "switch metadata on");
    check(ox_exp_setup_seq(hcam, 1, 2, regions, TIMED_MODE, 5, &bytes), "set up");
    metadata = 0;
    check(ox_set_param(hcam, PARAM_METADATA_ENABLED, &metadata), "switch metadata off");
    printf("two regions of 1024 pixels in all need %u bytes\n", bytes);
}

static void wait_for_trigger_and_give_up(int16 hcam) {
    const rgn_type region = {0, 63, 1, 0, 63, 1};
    const int16 mode = (int16)EXT_TRIG_EDGE_RISING + (int16)EXPOSE_OUT_ANY_ROW;
    int32 microseconds = EXP_RES_ONE_MICROSEC, milliseconds = EXP_RES_ONE_MILLISEC;
    int16 status, temperature;
    uns32 bytes, arrived;
    check(ox_set_param(hcam, PARAM_EXP_RES, &microseconds), "count in microseconds");
    check(ox_exp_setup_seq(hcam, 1, 1, &region, mode, 1500, &bytes), "set up");
    void* pixels = malloc(bytes);
    check(pixels != NULL && ox_exp_start_seq(hcam, pixels), "start");
    check(ox_exp_check_status(hcam, &status, &arrived), "ask for the status");
    printf("no trigger: status %d, %u bytes\n", status, arrived);
    check(ox_get_param(hcam, PARAM_TEMP, ATTR_CURRENT, &temperature), "read the temperature");
    check(ox_exp_check_status(hcam, &status, &arrived), "ask for the status");
    printf("asked for the temperature: status %d\n", status);
    check(ox_exp_abort(hcam, CCS_HALT_CLOSE_SHTR), "abort what may still run");
    check(ox_set_param(hcam, PARAM_EXP_RES, &milliseconds), "count in milliseconds");
    free(pixels);
}

static void list_post_processing(int16 hcam) {
    uns32 features, parameters, value;
    if (!has(hcam, PARAM_PP_INDEX)) return;
    check(ox_get_param(hcam, PARAM_PP_INDEX, ATTR_COUNT, &features), "count the features");
    for (int16 f = 0; f < (int16)features; ++f) {
        char name[256];
        check(ox_set_param(hcam, PARAM_PP_INDEX, &f), "select a feature");
        check(ox_get_param(hcam, PARAM_PP_FEAT_NAME, ATTR_CURRENT, name), "name it");
        check(ox_get_param(hcam, PARAM_PP_PARAM_INDEX, ATTR_COUNT, &parameters), "count");
        printf("%s:", name);
        for (int16 p = 0; p < (int16)parameters; ++p) {
            check(ox_set_param(hcam, PARAM_PP_PARAM_INDEX, &p), "select a parameter");
            check(ox_get_param(hcam, PARAM_PP_PARAM_NAME, ATTR_CURRENT, name), "name it");
            check(ox_get_param(hcam, PARAM_PP_PARAM, ATTR_CURRENT, &value), "read it");
            printf(" %s = %u", name, value);
        }
        printf("\n");
    }
    check(ox_pp_reset(hcam), "set all features back");
}

static void on_removal(const FRAME_INFO* info, void* context) {
    (void)info;
    orvex_event_set(context);
}

static void lose_camera(int16 hcam, char* name) {
    char unplug[] = "unplug";
    uns16 columns;
    int16 temperature;
    orvex_event removed;
    void (*callback)(const FRAME_INFO*, void*) = on_removal;
    check(orvex_event_create(&removed, NULL, 1, 0), "prepare");
    check(ox_cam_register_callback_ex3(hcam, OX_CALLBACK_CAM_REMOVED, *(void**)&callback, &removed),
          "hear of a removal");
    oz_cam_send_debug(hcam, unplug, 0, NULL); /* an order to the software camera */
    check(orvex_event_wait(&removed, ORVEX_EVENT_NO_LIMIT), "wait");
    if (!ox_get_param(hcam, PARAM_TEMP, ATTR_CURRENT, &temperature))
        printf("temperature: error %d\n", ox_error_code());
    if (ox_get_param(hcam, PARAM_SER_SIZE, ATTR_CURRENT, &columns))
        printf("but what was learnt at open is there: %u columns\n", columns);
    check(ox_cam_close(hcam), "close a camera that is gone");
    check(ox_cam_open(name, &hcam, EXT_OPEN_EXCLUSIVE), "open it when it is back");
    check(ox_cam_close(hcam), "close the camera");
    orvex_event_close(&removed);
}

int main(void) {
    char name[CAM_NAME_LEN];
    int16 hcam;
    check(ox_orvex_init(), "start the library");
    list_cameras();
    check(ox_cam_get_name(0, name), "find a camera");
    check(ox_cam_open(name, &hcam, EXT_OPEN_EXCLUSIVE), "open the camera");
    fail_on_purpose(hcam);
    choose_temperature(hcam);
    print_chip(hcam);
    choose(hcam, PARAM_FAN_SPEED_SETPOINT, "Low");
    take_binned_sequence(hcam);
    take_two_regions(hcam);
    wait_for_trigger_and_give_up(hcam);
    list_post_processing(hcam);
    lose_camera(hcam, name);
    check(ox_orvex_uninit(), "stop the library");
    return EXIT_SUCCESS;
}
