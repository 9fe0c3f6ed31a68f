#pragma once

#include <algorithm>
#include <array>
#include <cstring>
#include <initializer_list>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_event.h"
#include "orvex/orvex_protocol.h"
#include "orvex/orvex_types.h"

#include "support/eventually.h"

// Plays the library's part at a device record, with nothing but the contract.
namespace client {

using Bytes = std::vector<uint8_t>;

inline void Append(Bytes& out, uint64_t value, size_t size) {
    while (size-- > 0) out.push_back(static_cast<uint8_t>(value >> (8 * size)));
}

inline uint64_t Big(const Bytes& bytes, size_t at, size_t size) {
    uint64_t value = 0;
    for (size_t i = 0; i < size; ++i) value = value << 8 | bytes.at(at + i);
    return value;
}

inline uint64_t Little(const uint8_t* bytes, size_t size) {
    uint64_t value = 0;
    while (size-- > 0) value = value << 8 | bytes[size];
    return value;
}

class Connection {
  public:
    static constexpr uint32_t short_wait_ms = 200;

    explicit Connection(orvex_device* device) : device_(device) {
        const std::array<std::pair<dv_event**, int>, 6> slots = {{{&device->write_ack, 0},
                                                                  {&device->read_ack, 0},
                                                                  {&device->bof, 1},
                                                                  {&device->eof, 1},
                                                                  {&device->abort_ack, 1},
                                                                  {&device->flush_ack, 1}}};
        for (size_t i = 0; i < slots.size(); ++i) {
            orvex_event_create(&events_[i], nullptr, slots[i].second, 0);
            records_[i].handle = events_[i].handle;
            *slots[i].first = &records_[i];
        }
    }
    ~Connection() {
        if (open_) Close();
        for (orvex_event& event : events_) orvex_event_close(&event);
    }

    bool Open() {
        if (device_->open(device_) != 1) return false;
        open_ = true;
        dv_open_record record{};
        record.write_ack = events_[0].handle;
        record.read_ack = events_[1].handle;
        record.bof = events_[2].handle;
        record.eof = events_[3].handle;
        record.abort_ack = events_[4].handle;
        uint16_t status = 1;
        return Control(DV_CAM_OPEN, &record, sizeof(record), &status, sizeof(status)) &&
               status == 0;
    }
    void Close() {
        open_ = false;
        Control(DV_CAM_CLOSE, nullptr, 0, nullptr, 0);
        device_->close(device_);
    }

    bool Control(uint32_t code, const void* in, size_t in_size, void* out, size_t out_size) {
        uint32_t returned = 0;
        dv_ioctl_args args{};
        args.lpInBuffer = const_cast<void*>(in);
        args.nInBufferSize = static_cast<uint32_t>(in_size);
        args.lpOutBuffer = out;
        args.nOutBufferSize = static_cast<uint32_t>(out_size);
        args.lpBytesReturned = &returned;
        return device_->ioctl(device_, code, &args) == 1;
    }

    // Sends a frame; true when it was acknowledged.
    bool Send(uint8_t message_class, const Bytes& payload, uint32_t limit_ms = short_wait_ms) {
        Bytes frame = {message_class};
        Append(frame, payload.size(), 2);
        frame.insert(frame.end(), payload.begin(), payload.end());
        uint16_t count = 0;
        return device_->write(device_, frame.data(), static_cast<uint16_t>(frame.size()), &count) ==
                   1 &&
               orvex_event_wait(&events_[0], limit_ms) == 1;
    }
    // What the device has to say, at most `size` bytes; empty when nothing is announced.
    Bytes Receive(size_t size) {
        Bytes reply(size);
        uint16_t count = 0;
        if (orvex_event_wait(&events_[1], short_wait_ms) != 1 ||
            device_->read(device_, reply.data(), static_cast<uint16_t>(size), &count) != 1)
            return {};
        reply.resize(count);
        return reply;
    }

    // One command between CLEAR_STAT_BUF and SEND_STAT_BUF; the reply.
    Bytes Ask(uint8_t command, size_t reply_size, const Bytes& data = {}) {
        Bytes payload = {CLEAR_STAT_BUF, command};
        payload.insert(payload.end(), data.begin(), data.end());
        payload.push_back(SEND_STAT_BUF);
        Append(payload, reply_size, 2);
        return Send(CLASS_HOST_COMMANDS, payload) ? Receive(reply_size) : Bytes{};
    }
    uint64_t AskNumber(uint8_t command, size_t size) {
        const Bytes reply = Ask(command, size);
        return reply.size() == size ? Big(reply, 0, size) : ~uint64_t{0};
    }
    bool Tell(uint8_t command, uint64_t value, size_t size) {
        Bytes payload = {command};
        Append(payload, value, size);
        return Send(CLASS_HOST_COMMANDS, payload);
    }
    std::string Console(std::string line) {
        line.resize(line.size() + 20, ' ');
        Bytes data;
        Append(data, line.size(), 2);
        data.insert(data.end(), line.begin(), line.end());
        const Bytes reply = Ask(DEBUG_CMD, line.size() + 10, data);
        return {reply.begin(), std::find(reply.begin(), reply.end(), uint8_t{0})};
    }

    bool Receive(std::span<uint8_t> buffer, uint32_t frame_bytes, bool circular) {
        const auto total = static_cast<uint32_t>(buffer.size());
        const dv_receive_parameters parameters{.frame_bytes = frame_bytes,
                                               .total_bytes = total,
                                               .circular = circular ? 1u : 0u,
                                               .reserved = 0,
                                               .timeout_ms = 1000};
        return Control(DV_RECEIVE_IMAGE_DATA, &parameters, sizeof(parameters), buffer.data(),
                       buffer.size());
    }
    bool Execute() { return Send(CLASS_HOST_COMMANDS, {EXECUTE_CCL}); }
    dv_status_record Status() {
        dv_status_record status{};
        Control(DV_GET_IMAGE_DATA_STATUS, nullptr, 0, &status, sizeof(status));
        return status;
    }
    bool WaitComplete() {
        return support::Eventually([this] { return Status().status == DRIVER_STATUS_COMPLETE; });
    }
    bool Idle() {
        uint16_t status = 0;
        return Control(DV_SET_IMAGE_DATA_IDLE, nullptr, 0, &status, sizeof(status)) &&
               orvex_event_wait(&events_[4], 1000) == 1 &&
               Control(DV_CLEANUP_IMAGE_DATA_IDLE, nullptr, 0, &status, sizeof(status));
    }
    // Downloads a program, runs it into a buffer of one or more frames, and waits for its end.
    Bytes RunProgram(uint8_t message_class, const Bytes& program, uint32_t frame_bytes,
                     uint32_t frames = 1) {
        Bytes buffer(size_t{frame_bytes} * frames, 0xEE);
        if (!Send(message_class, program, 5000) || !Receive(buffer, frame_bytes, false) ||
            !Execute() || !WaitComplete())
            return {};
        return buffer;
    }

    orvex_device* Device() { return device_; }

  private:
    orvex_device* device_;
    std::array<orvex_event, 6> events_{};
    std::array<dv_event, 6> records_{};
    bool open_ = false;
};

// Hand-written programs.
struct Operation {
    uint8_t operation;
    uint16_t argument = 0;
};
inline Bytes Full(std::initializer_list<Operation> operations) {
    Bytes program;
    for (const Operation& step : operations) {
        Append(program, step.argument, 2);
        program.push_back(step.operation);
    }
    return program;
}
struct Setting {
    uint8_t setting;
    uint32_t value;
};
inline Bytes Simplified(const std::vector<Setting>& settings) {
    Bytes program;
    for (const Setting& step : settings) {
        program.push_back(step.setting);
        Append(program, step.value, 4);
    }
    return program;
}

// A run of a simplified camera.
struct Run {
    uint32_t frames = 1;
    std::vector<rgn_type> regions;
    uint32_t buffer_mode = CIRC_NONE;
    uint32_t exposure = 10;
    uint32_t exposure_mode = EXT_TRIG_INTERNAL;
    uint32_t clear_mode = CLEAR_PRE_EXPOSURE;
    uint32_t clear_count = 2;

    Bytes Program() const {
        std::vector<Setting> settings = {{OP_FRAME_COUNT, frames},
                                         {OP_MODE, buffer_mode},
                                         {OP_EXPOSE_RESOLUTION, EXP_RES_ONE_MILLISEC},
                                         {OP_SUB_ROI_COUNT, static_cast<uint32_t>(regions.size())},
                                         {OP_EXPOSURETIME, exposure},
                                         {OP_EXPOSUREMODE, exposure_mode},
                                         {OP_SENSOR_CLEAR_MODE, clear_mode},
                                         {OP_SENSOR_CLEAR_COUNT, clear_count}};
        for (const rgn_type& region : regions) {
            settings.insert(settings.end(), {{OP_BIN_X, region.sbin},
                                             {OP_BIN_Y, region.pbin},
                                             {OP_IMGCOORD_TOPL_X, region.s1},
                                             {OP_IMGCOORD_TOPL_Y, region.p1},
                                             {OP_IMGCOORD_BOTR_X, region.s2},
                                             {OP_IMGCOORD_BOTR_Y, region.p2}});
        }
        return Simplified(settings);
    }
};

// Pixels of a frame.
inline std::vector<uint16_t> Pixels(std::span<const uint8_t> bytes) {
    std::vector<uint16_t> pixels(bytes.size() / 2);
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<uint16_t>(Little(&bytes[2 * i], 2));
    return pixels;
}

}  // namespace client
