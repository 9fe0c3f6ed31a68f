#pragma once

#include "orvex/orvex_types.h"

#include "state/camera_tables.h"

// Port actions that the camera carries out at fixed points of an acquisition.

// Registers one action at a SCR_ location. Talks to the camera.
boolean16 oz_io_script_control(int16 hcam, uns16 addr, flt64 state, uns32 location);
// Forgets all actions. A program that holds them stays in the camera until something else
// replaces it.
void oz_io_clear_script_control(int16 hcam);
void oz_io_clear_list_entry(io_entry* pEntry);
// Writes a list into the program being generated; `io_ptr` is the first entry or null.
boolean16 bv_io_setup(int16 hcam, const io_entry* io_ptr);
