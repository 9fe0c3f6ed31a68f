#pragma once

#include <span>

#include "orvex/orvex_types.h"

#include "state/call.h"
#include "state/camera_tables.h"

// Binary objects stored in a camera, addressed by an id with optional arguments. They travel in
// chunks of at most blob_chunk_max bytes, one exchange each.

constexpr uns32 blob_chunk_max = 1024;

boolean16 bv_cam_get_binary_blob_size(int16 hcam, uns32 blob_id, const void* args, uns16 args_size,
                                      uns32* blob_size);
// `blob` has room for `blob_size` bytes; `received`, if given, takes how many the camera had.
boolean16 bv_cam_get_binary_blob(int16 hcam, uns32 blob_id, const void* args, uns16 args_size,
                                 void* blob, uns32 blob_size, uns32* received = nullptr);
boolean16 bv_cam_set_binary_blob(int16 hcam, uns32 blob_id, const void* args, uns16 args_size,
                                 const void* blob, uns32 blob_size);
// Reads the camera's own parameter values, when it offers them, into its row.
boolean16 bv_cam_get_binary_blob_piav(int16 hcam);

namespace bv {

// Bytes of the blob OX_BLOB_ID_PIAV at most: a count and 14 bytes a record.
constexpr size_t piav_blob_max = 2 + 14 * size_t{piav_items_max};

// Reads the records of the blob, little-endian, into the row.
boolean16 StorePiav(Call& call, std::span<const uns8> blob, cam_reads_type& reads);

}  // namespace bv
