#pragma once

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "orvex/orvex_ddi.h"

#include "engine/bytes.h"

// Records of control operations pass by copy: the buffers are the application's.
namespace engine {

template <typename Record>
bool TakeInput(const dv_ioctl_args& args, Record& record) {
    static_assert(std::is_trivially_copyable_v<Record>);
    if (args.lpInBuffer == nullptr || args.nInBufferSize < sizeof(Record)) return false;
    std::memcpy(&record, args.lpInBuffer, sizeof(Record));
    return true;
}

template <typename Record>
bool GiveOutput(const dv_ioctl_args& args, const Record& record) {
    static_assert(std::is_trivially_copyable_v<Record>);
    if (args.lpOutBuffer == nullptr || args.nOutBufferSize < sizeof(Record)) return false;
    std::memcpy(args.lpOutBuffer, &record, sizeof(Record));
    *args.lpBytesReturned = sizeof(Record);
    return true;
}

// As much of a block as the caller has room for.
inline bool GiveBlock(const dv_ioctl_args& args, Bytes block) {
    const size_t count = std::min<size_t>(block.size(), args.nOutBufferSize);
    if (args.lpOutBuffer == nullptr && count > 0) return false;
    if (count > 0) std::memcpy(args.lpOutBuffer, block.data(), count);
    *args.lpBytesReturned = static_cast<uint32_t>(count);
    return true;
}

}  // namespace engine
