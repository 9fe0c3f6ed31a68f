/**
 * @file orvex_plugin.h
 * Contract between the library and its two optional plug-ins, for C99 and C++.
 *
 * A plug-in is a shared object that defines functions declared here and exports them by their
 * names. All functions take the handle of the camera first, 0 to 15. The library calls a plug-in
 * for one camera from one thread at a time, and for different cameras from several threads at once;
 * a plug-in must not call the library back.
 */
#ifndef ORVEX_PLUGIN_H
#define ORVEX_PLUGIN_H

#include "orvex_types.h"

/** Makes a function visible outside of the plug-in. */
#if defined(_WIN32)
#define ORVEX_PLUGIN_API __declspec(dllexport)
#elif defined(__GNUC__)
#define ORVEX_PLUGIN_API __attribute__((visibility("default")))
#else
#define ORVEX_PLUGIN_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Cameras that a process can have open; their handles count from 0. */
#define ORVEX_PLUGIN_CAMERAS 16

/**
 * Room for a text that a plug-in writes, terminator included. Applications make room for 32, so
 * that they get the first 31 characters.
 */
#define ORVEX_PLUGIN_TEXT_ROOM 4096

/** A text padded with zeros, passed by value. */
typedef struct orvex_plugin_name {
    char text[256]; /**< zero-terminated */
} orvex_plugin_name;

/** A value of any kind, passed by value; what it begins with, an orvex_plugin_value_type says. */
typedef struct orvex_plugin_value {
    uns8 bytes[256]; /**< the value, then zeros */
} orvex_plugin_value;

/** What an orvex_plugin_value begins with. */
enum orvex_plugin_value_type {
    PLUGIN_VALUE_INTEGER = 0, /**< int32 */
    PLUGIN_VALUE_TEXT = 3     /**< zero-terminated text */
};

/** The key of dll_get_module_info() that the library asks for. */
#define ORVEX_PLUGIN_KEY_NAME "name"

/**
 * @defgroup post_processing Post-processing of frames: BV_PoP.so
 *
 * The library loads the plug-in in ox_orvex_init() and shows its modules as post-processing
 * features behind those of the camera. Frames pass through it while parameter 0 of module 0 is
 * named exactly "ENABLED" and is not 0. Values cross the library as uns32, truncated.
 * All functions are required, but for dll_set_common_parameter().
 * @{
 */

/** A camera was opened; before anything else of that camera. */
ORVEX_PLUGIN_API void dll_open_camera(int16 hcam);

/**
 * Processes one frame of 16-bit pixels, row by row.
 * @param input the frame; must be left alone, but for the case below
 * @param output receives all pixels of the frame; may be the same memory as `input`
 * @param ser_pixels columns of the frame
 * @param par_pixels rows of the frame
 * @param flag always 1
 * @param zero always 0
 * @return 1 on success; the library goes on after a failure
 */
ORVEX_PLUGIN_API boolean16 dll_process(int16 hcam, void* input, void* output, uns32 ser_pixels,
                                       uns32 par_pixels, int32 flag, int32 zero);

/** @return the number of modules; 0 makes the library leave the plug-in alone */
ORVEX_PLUGIN_API uns32 dll_get_module_count(int16 hcam);

/**
 * Tells of a module.
 * @param module_index number of the module, from 0
 * @param key what is asked for, ORVEX_PLUGIN_KEY_NAME
 * @param text receives the answer, ORVEX_PLUGIN_TEXT_ROOM bytes at most
 * @return 1 on success
 */
ORVEX_PLUGIN_API boolean16 dll_get_module_info(int16 hcam, uns32 module_index, const char* key,
                                               char* text);

/** @return the number of parameters of a module */
ORVEX_PLUGIN_API uns32 dll_get_module_parameter_count(int16 hcam, uns32 module_index);

/**
 * Tells of a parameter of a module.
 * @param module_index,parameter_index numbers from 0
 * @param minimum,maximum,current receive bounds and value
 * @param standard receives the default, to which ox_pp_reset() and every open set the parameter
 * @param name receives the name, ORVEX_PLUGIN_TEXT_ROOM bytes at most
 * @return 1 on success
 */
ORVEX_PLUGIN_API boolean16 dll_get_module_parameter(int16 hcam, uns32 module_index,
                                                    uns32 parameter_index, flt64* minimum,
                                                    flt64* maximum, flt64* standard, flt64* current,
                                                    char* name);

/** @return 1 on success; 0 fails the application's call */
ORVEX_PLUGIN_API boolean16 dll_set_module_parameter(int16 hcam, uns32 module_index,
                                                    uns32 parameter_index, const flt64* value);

/**
 * Tells a fact of the camera. "Serial Number" (text) comes at every open.
 * @param type an orvex_plugin_value_type
 * @return 1 on success; the library goes on after a failure, with a line in its log
 */
ORVEX_PLUGIN_API boolean16 dll_set_common_parameter(int16 hcam, orvex_plugin_name name, int32 type,
                                                    orvex_plugin_value value);
/** @} */

/**
 * @defgroup accumulation Accumulation and pairing of frames: ff.so
 *
 * Loaded when a parameter needs it first. Only ox_ff_init_plugin() is required.
 * @{
 */

/** Once, after loading. */
ORVEX_PLUGIN_API void ox_ff_init_plugin(void);
/** Before unloading; with the handle of the module. */
ORVEX_PLUGIN_API void ox_ff_uninit_plugin(void* module);
/** PARAM_ACCUM_CAPABLE: 1 when frames of this camera can be accumulated. */
ORVEX_PLUGIN_API void ox_ff_get_accum_capable(int16 hcam, uns16* accum_capable);
/** PARAM_PAIRED_FLAG is set to 0 or 1. */
ORVEX_PLUGIN_API void ox_ff_set_paired_mode(int16 hcam, uns16 flag);
/** PARAM_PAIRED_FLAG is read. */
ORVEX_PLUGIN_API void ox_ff_get_paired_mode(int16 hcam, uns16* flag);
/** PARAM_ACCUM_FLAG is set to 0 or 1. */
ORVEX_PLUGIN_API void ox_ff_set_accum_mode(int16 hcam, uns16 flag);
/** PARAM_ACCUM_FLAG is read. */
ORVEX_PLUGIN_API void ox_ff_get_accum_mode(int16 hcam, uns16* flag);
/** PARAM_ACCUM_NUMBER is set: frames that become one. */
ORVEX_PLUGIN_API void ox_ff_set_accum_num(int16 hcam, uns32 number);
/** PARAM_ACCUM_NUMBER is read. */
ORVEX_PLUGIN_API void ox_ff_get_accum_num(int16 hcam, uns32* number);
/** @} */

#ifdef __cplusplus
}
#endif

#endif
