#pragma once

#include "orvex/orvex_types.h"

// Largest message and largest reply, in bytes.
constexpr uns32 message_bytes_max = 32768;

// The gate of all framed messages. Halts a running acquisition, then sends `write_array` under the
// class byte and, when `read_array` is not null, receives as many bytes as the message itself asks
// for with the SEND_STAT_BUF at its end. `read_array` may be `write_array`.
boolean16 bz_cam_write_read(int16 hcam, uns8 c_class, uns16 write_bytes, const void* write_array,
                            void* read_array);
