#pragma once

#include "orvex/orvex_types.h"

// Control of the transfer of pixels, which the driver writes into the application's buffer itself:
// hands it the buffer, asks how far it is, takes the buffer back.

boolean16 dv_driver_set_image_data_active(int16 hcam, uns32 AdwTotalBytes, void* ApPixArray);
boolean16 dv_driver_set_image_data_active_1394(int16 hcam, uns32 AdwTotalBytes, void* ApPixArray);
boolean16 dv_driver_set_image_data_active_usb_pcie_sw(int16 hcam, uns32 AdwTotalBytes,
                                                      void* ApPixArray);

// These two do every step whatever the one before gave, and log failures as ignored. 0 when the
// driver refused to take its hands from the buffer.
boolean16 dv_driver_set_image_data_idle(int16 hcam);
boolean16 dv_driver_stop_data_transfer(int16 hcam, int32 max_wait_time_ms);

boolean16 dv_driver_is_image_data_active(int16 hcam);
// Never speaks to the camera, allocates or copies pixels.
boolean16 dv_driver_get_image_data_status(int16 hcam, uns32* pByteCnt, FRAME_INFO* pFrameInfo,
                                          int16* pStatus);
// A read status; a driver that can't answer means READOUT_NOT_ACTIVE, which is no error.
int16 driver_get_status(int16 hcam, uns32* pByteCnt);

// Wait for the next begin or end of a transfer, never a past one.
boolean16 dv_exp_wait_start_xfer(int16 hcam, uns32 tlimit);
boolean16 dv_exp_wait_end_xfer(int16 hcam, uns32 tlimit);
