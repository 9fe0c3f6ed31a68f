#pragma once

#include "orvex/orvex_types.h"

// What parameters need of the layers above.

// Defined in acquisition/: the exposure time of variable timed runs and the counted interrupts.
boolean16 bv_exp_get_time_seq(int16 hcam, uns16* exp_time);
boolean16 bv_exp_set_time_seq(int16 hcam, uns16 exp_time);
boolean16 bv_exp_enable_ints(int16 hcam, int16 mode);

// Defined in plugins/post_processing_host: features of the post-processing plug-in.
boolean16 bv_pp_initialize_counts(int16 hcam);
boolean16 bv_get_pop_feature_name(int16 hcam, int16 param_attribute, void* param_value);
boolean16 bv_get_pop_module_index(int16 hcam, int16 param_attribute, void* param_value);
boolean16 bv_get_pop_parameter_name(int16 hcam, int16 param_attribute, void* param_value);
boolean16 bv_get_pop_param(int16 hcam, int16 param_attribute, void* param_value);
boolean16 bv_get_pop_param_index(int16 hcam, int16 param_attribute, void* param_value);
// `module_index` counts the camera's features first.
boolean16 bv_set_pop_module_index(int16 hcam, int16 module_index);
boolean16 bv_set_pop_param_index(int16 hcam, int16 parameter_index);
boolean16 bv_set_pop_param(int16 hcam, uns32 param);
boolean16 bv_pop_reset(int16 hcam);

// Defined in plugins/accumulation_host: frame accumulation.
boolean16 t_ox_ff_set_paired_mode(int16 hcam, uns16 flag);
boolean16 t_ox_ff_get_paired_mode(int16 hcam, uns16* flag);
boolean16 t_ox_ff_set_accum_mode(int16 hcam, uns16 flag);
boolean16 t_ox_ff_get_accum_mode(int16 hcam, uns16* flag);
boolean16 t_ox_ff_set_accum_num(int16 hcam, uns32 number);
boolean16 t_ox_ff_get_accum_num(int16 hcam, uns32* number);
