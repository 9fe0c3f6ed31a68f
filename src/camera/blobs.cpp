#include "camera/blobs.h"

#include <algorithm>
#include <array>
#include <memory>
#include <new>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_protocol.h"

#include "log/enum_texts.h"
#include "messages/host_command_message.h"
#include "state/bytes.h"
#include "state/camera_rows.h"

namespace {

constexpr uns32 blob_caps_piav = 1;  // blob_caps: the camera offers OX_BLOB_ID_PIAV

// What a request adds to its arguments and chunk, with some reserve for the frame.
constexpr uns32 size_request_bytes = 4;
constexpr uns32 get_request_bytes = 10;
constexpr uns32 get_request_reserve = 5;
constexpr uns32 set_request_bytes = 19;

struct blob_request {
    uns32 blob_id;
    std::span<const uns8> args;
};

// The data of one command, written from the front.
class RequestBuffer {
  public:
    explicit RequestBuffer(size_t bytes) : bytes_(new(std::nothrow) uns8[bytes]) {}

    // 1 when there was memory for it.
    boolean16 Check(bv::Call& call) const {
        if (bytes_) return 1;
        return call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Cannot allocate communication buffer");
    }
    template <class T>
    void Append(T value) {
        bv::StoreBigEndian(&bytes_[used_], value);
        used_ += sizeof(T);
    }
    void Append(std::span<const uns8> bytes) {
        std::ranges::copy(bytes, &bytes_[used_]);
        used_ += bytes.size();
    }
    void AppendArgs(std::span<const uns8> args) {
        Append(static_cast<uns16>(args.size()));
        Append(args);
    }
    std::span<const uns8> data() const { return {bytes_.get(), used_}; }

  private:
    std::unique_ptr<uns8[]> bytes_;
    size_t used_ = 0;
};

boolean16 CheckArgs(bv::Call& call, const void* args, uns16 args_size) {
    if (args || args_size == 0) return 1;
    return call.fail(C0_NULL_POINTER, "Got null args but non-zero args_size");
}

boolean16 FailChunk(bv::Call& call, uns32 needed) {
    return call.fail(C7_GEN_COM_ERROR,
                     "Max. blob chunk size is smaller than communication buffer (%u < %u)",
                     blob_chunk_max, needed);
}

boolean16 GetChunk(bv::Call& call, int16 hcam, const blob_request& request, uns32 offset,
                   std::span<uns8> chunk) {
    RequestBuffer data(get_request_bytes + request.args.size());
    if (!data.Check(call)) return bv::OZ_FAIL;
    data.Append(static_cast<uns16>(request.blob_id));
    data.Append(offset);
    data.Append(static_cast<uns16>(chunk.size()));
    data.AppendArgs(request.args);
    bv::HostCommandMessage message(hcam);
    message.BeginReply();
    message.AddWriteRead(GET_BINARY_BLOB, data.data(), static_cast<uns16>(chunk.size()));
    message.RequestReply();
    if (!message.Execute()) return call.failed();
    message.GetReply(GET_BINARY_BLOB, chunk.data());
    return 1;
}

boolean16 SetChunk(bv::Call& call, int16 hcam, const blob_request& request, uns32 total,
                   uns32 offset, std::span<const uns8> chunk) {
    RequestBuffer data(set_request_bytes + chunk.size() + request.args.size());
    if (!data.Check(call)) return bv::OZ_FAIL;
    data.Append(static_cast<uns16>(request.blob_id));
    data.Append(total);
    data.Append(offset);
    data.Append(static_cast<uns16>(chunk.size()));
    data.Append(chunk);
    data.AppendArgs(request.args);
    bv::HostCommandMessage message(hcam);
    message.BeginReply();
    message.AddWriteRead(SET_BINARY_BLOB, data.data());
    message.RequestReply();
    if (!message.Execute()) return call.failed();
    const uns16 refusal = message.Reply<uns16>(SET_BINARY_BLOB);
    if (refusal != 0) {
        return call.fail(C7_GEN_COM_ERROR, "Camera refused a chunk of the blob with code %u",
                         static_cast<unsigned>(refusal));
    }
    return 1;
}

}  // namespace

boolean16 bv_cam_get_binary_blob_size(int16 hcam, uns32 blob_id, const void* args, uns16 args_size,
                                      uns32* blob_size) {
    bv::Call call("bv_cam_get_binary_blob_size", bv::arg("hcam", hcam),
                  bv::enumerated("blob_id", blob_id, bv_text_blob_id), bv::arg("args", args),
                  bv::arg("args_size", args_size), bv::arg("blob_size", blob_size));
    if (!CheckArgs(call, args, args_size)) return bv::OZ_FAIL;
    RequestBuffer data(size_request_bytes + args_size);
    if (!data.Check(call)) return bv::OZ_FAIL;
    data.Append(static_cast<uns16>(blob_id));
    data.AppendArgs({static_cast<const uns8*>(args), args_size});
    bv::HostCommandMessage message(hcam);
    message.BeginReply();
    message.AddWriteRead(GET_BINARY_BLOB_SIZE, data.data());
    message.RequestReply();
    if (!message.Execute()) return call.failed();
    *blob_size = message.Reply<uns32>(GET_BINARY_BLOB_SIZE);
    return call.ok(bv::arg("*blob_size", *blob_size));
}

boolean16 bv_cam_get_binary_blob(int16 hcam, uns32 blob_id, const void* args, uns16 args_size,
                                 void* blob, uns32 blob_size, uns32* received) {
    bv::Call call("bv_cam_get_binary_blob", bv::arg("hcam", hcam),
                  bv::enumerated("blob_id", blob_id, bv_text_blob_id), bv::arg("args", args),
                  bv::arg("args_size", args_size), bv::arg("blob", blob),
                  bv::arg("blob_size", blob_size));
    if (!CheckArgs(call, args, args_size)) return bv::OZ_FAIL;
    if (!blob) return call.fail(C0_NULL_POINTER, "Null blob given");
    uns32 size = 0;
    if (!bv_cam_get_binary_blob_size(hcam, blob_id, args, args_size, &size)) return call.failed();
    if (size > blob_size) {
        return call.fail(C7_GEN_COM_ERROR, "This blob is bigger than buffer (%u > %u)", size,
                         blob_size);
    }
    if (received) *received = size;
    if (size == 0) return call.ok();
    const uns32 needed = args_size + get_request_bytes + get_request_reserve;
    if (needed > blob_chunk_max) return FailChunk(call, needed);

    const blob_request request{blob_id, {static_cast<const uns8*>(args), args_size}};
    const std::span<uns8> bytes(static_cast<uns8*>(blob), size);
    for (uns32 offset = 0; offset < size;) {
        const uns32 chunk = std::min(blob_chunk_max, size - offset);
        if (!GetChunk(call, hcam, request, offset, bytes.subspan(offset, chunk))) {
            return bv::OZ_FAIL;
        }
        offset += chunk;
    }
    return call.ok();
}

boolean16 bv_cam_set_binary_blob(int16 hcam, uns32 blob_id, const void* args, uns16 args_size,
                                 const void* blob, uns32 blob_size) {
    bv::Call call("bv_cam_set_binary_blob", bv::arg("hcam", hcam),
                  bv::enumerated("blob_id", blob_id, bv_text_blob_id), bv::arg("args", args),
                  bv::arg("args_size", args_size), bv::arg("blob", blob),
                  bv::arg("blob_size", blob_size));
    if (!CheckArgs(call, args, args_size)) return bv::OZ_FAIL;
    if (!blob) return call.fail(C0_NULL_POINTER, "Null blob given");
    uns32 size = 0;
    if (!bv_cam_get_binary_blob_size(hcam, blob_id, args, args_size, &size)) return call.failed();
    if (size < blob_size) {
        return call.fail(C2_CANNOT_ALLOCATE_MEMORY, "This blob is smaller than buffer (%u < %u)",
                         size, blob_size);
    }
    const uns32 needed = args_size + set_request_bytes;
    if (needed >= blob_chunk_max) return FailChunk(call, needed);

    const blob_request request{blob_id, {static_cast<const uns8*>(args), args_size}};
    const std::span<const uns8> bytes(static_cast<const uns8*>(blob), blob_size);
    const uns32 capacity = blob_chunk_max - needed;
    for (uns32 offset = 0; offset < blob_size;) {
        const uns32 chunk = std::min(capacity, blob_size - offset);
        if (!SetChunk(call, hcam, request, blob_size, offset, bytes.subspan(offset, chunk))) {
            return bv::OZ_FAIL;
        }
        offset += chunk;
    }
    return call.ok();
}

namespace bv {

boolean16 StorePiav(Call& call, std::span<const uns8> blob, cam_reads_type& reads) {
    constexpr size_t count_bytes = 2;
    constexpr size_t record_bytes = 14;
    if (blob.empty()) return call.ok();
    if (blob.size() < count_bytes) return call.fail(C0_INVALID_DATA, "PIAV blob is incomplete");
    const uns16 count = LoadLittleEndian<uns16>(blob.data());
    if (count > piav_items_max) {
        return call.fail(C3_INVALID_CAPABILITIES, "Supported up to %u PIAV items only",
                         static_cast<unsigned>(piav_items_max));
    }
    if ((blob.size() - count_bytes) / record_bytes < count) {
        return call.fail(C0_INVALID_DATA, "PIAV blob is incomplete");
    }
    for (size_t i = 0; i < count; ++i) {
        const uns8* from = blob.data() + count_bytes + i * record_bytes;
        piav_record& record = reads.blob_piav.emplace_back();
        record.param_id = LoadLittleEndian<uns32>(from);
        record.attribute = LoadLittleEndian<uns16>(from + 4);
        record.value = LoadLittleEndian<uns64>(from + 6);
        if (!reads.blob_piav_map) continue;
        (*reads.blob_piav_map)[record.param_id][record.attribute] = record.value;
    }
    return call.ok();
}

}  // namespace bv

boolean16 bv_cam_get_binary_blob_piav(int16 hcam) {
    bv::Call call("bv_cam_get_binary_blob_piav", bv::arg("hcam", hcam));
    cam_reads_type& reads = bv::ReadsOf(hcam);
    reads.blob_piav.clear();
    if (reads.blob_piav_map) reads.blob_piav_map->clear();
    if (!reads.cap_extended || !(reads.ext_caps_flags & EXT_CAPS_BLOB) ||
        !(reads.blob_caps & blob_caps_piav)) {
        return call.ok();
    }
    std::array<uns8, bv::piav_blob_max> blob{};
    uns32 received = 0;
    if (!bv_cam_get_binary_blob(hcam, OX_BLOB_ID_PIAV, nullptr, 0, blob.data(),
                                static_cast<uns32>(blob.size()), &received)) {
        return call.failed();
    }
    return bv::StorePiav(call, std::span(blob).first(received), reads);
}
