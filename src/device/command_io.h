#pragma once

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_types.h"

// The one road to the driver of an open camera: command exchanges and control operations. A device
// that was unplugged is refused here, so that no layer above looks at its state. Nothing is
// repeated, and callers keep to one exchange at a time on a camera.

// One control operation of the driver. `returned` may be null.
boolean16 dv_ioctl(int16 hcam, uns32 code, const void* in, uns32 in_size, void* out, uns32 out_size,
                   uns32* returned, void* overlapped);
// Name of a control code.
const char* bv_text_dv_ioctl(uns32 code);

// One exchange of a framed command: class byte, 16-bit payload length, payload. No reply is awaited
// when AwReadBytes is 0.
boolean16 dv_cam_write_read(int16 hcam, uns8 AbCmdClass, uns16 AwWriteBytes,
                            const void* ApWriteArray, uns16 AwReadBytes, void* ApReadArray);
// The same with a frame that the caller has built.
boolean16 dv_cam_write_read_passthrough(int16 hcam, uns16 AwWriteBytes, const void* ApWriteArray,
                                        uns16 AwReadBytes, void* ApReadArray);

boolean16 dv_driver_get_info_dump(int16 hcam, uns16 AwBytes, char* ApData);
boolean16 dv_driver_get_info_length(int16 hcam, uns16* ApMaxDataLen);
boolean16 dv_driver_get_retries(int16 hcam, uns16* ApMaxRetries);
boolean16 dv_driver_set_retries(int16 hcam, uns16 AwMaxRetries);
boolean16 dv_driver_get_timeout(int16 hcam, uns16* ApMSec);
boolean16 dv_driver_set_timeout(int16 hcam, uns16 AwMSec);
boolean16 dv_driver_get_ver(int16 hcam, uns16* ApVersion);
boolean16 dv_driver_get_pci_cap(int16 hcam, uns16* ApPCICap);
boolean16 dv_driver_get_pci_fw(int16 hcam, uns16* ApPciFw);
boolean16 dv_driver_get_bridge_caps_size(int16 hcam, uns32* caps_size);
boolean16 dv_driver_get_bridge_caps(int16 hcam, void* caps, uns32 caps_size);

boolean16 dv_exp_clear_ints(int16 hcam);
// The count that the camera's interrupt mode asks for.
boolean16 dv_exp_get_ints(int16 hcam, uns32* ints);
boolean16 dv_exp_get_current_oz_time(int16 hcam, int64* currTime);

boolean16 dv_reset_interface(int16 hcam);
boolean16 dv_send_transfer_speed_to_interface(int16 hcam);
