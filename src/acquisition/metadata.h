#pragma once

#include "orvex/orvex_types.h"

#include "state/call.h"

// Frames that carry metadata: a frame header, optional tagged values, and one block for each
// region. All here works on memory alone, without a camera and without an initialised library.
// The functions that take a Call log and fail in the scope of the operation that they carry out.

boolean16 bv_md_validate_header(void* pSrcBuf, uns32 srcBufSize);
boolean16 bv_md_create_frame_struct(md_frame** pFrame, uns16 roiCount);

// Room for as many regions as the header in the buffer announces.
boolean16 bv_md_create_frame_struct_for(bv::Call& call, md_frame** pFrame, void* pSrcBuf,
                                        uns32 srcBufSize);
boolean16 bv_md_release_frame_struct(bv::Call& call, md_frame* pFrame);
// Makes an index of pointers into the buffer; touches headers only.
boolean16 bv_md_frame_decode(bv::Call& call, md_frame* pDstFrame, void* pSrcBuf, uns32 srcBufSize);
// Paints the decoded regions into a flat image of dstWidth by dstHeight 16-bit pixels. What no
// region covers keeps its content.
boolean16 bv_md_frame_recompose(bv::Call& call, void* pDstBuf, uns16 offX, uns16 offY,
                                uns16 dstWidth, uns16 dstHeight, md_frame* pSrcFrame);
boolean16 bv_md_read_extended(bv::Call& call, md_ext_item_collection* pOutput, void* pExtMdData,
                              uns32 extMdDataSize);
