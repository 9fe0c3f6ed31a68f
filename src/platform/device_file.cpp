#include "platform/device_file.h"

#include <cerrno>

#include "platform/device_channel.h"
#include "platform/direct_channel.h"

namespace platform {

bool DeviceFile::Open(const char* path, dv_file_opener opener) {
    Close();
    if (opener) {
        auto direct = std::make_shared<DirectChannel>();
        if (direct->Open(opener, path)) channel_ = std::move(direct);
    }
    if (!channel_) channel_ = OpenDeviceChannel(path);
    return IsOpen();
}

void DeviceFile::Close() {
    if (channel_) channel_->CloseFile();
    channel_.reset();
}

uint32_t DeviceFile::Submit(uint32_t code, OverlappedRequest& request) {
    return channel_ ? channel_->Submit(code, request) : uint32_t{EBADF};
}

bool DeviceFile::CancelAll() {
    return channel_ && channel_->CancelAll();
}

void DeviceFile::Forget() {
    if (channel_) channel_->Forget();
}

bool CompletionPort::Open(DeviceFile& file, uint64_t key) {
    Close();
    if (!file.channel_ || !file.channel_->OpenPort(key)) return false;
    const std::lock_guard guard(lock_);
    channel_ = file.channel_;
    return true;
}

void CompletionPort::Close() {
    std::shared_ptr<DeviceChannel> channel;
    {
        const std::lock_guard guard(lock_);
        channel.swap(channel_);
    }
    if (channel) channel->ClosePort();
}

std::shared_ptr<DeviceChannel> CompletionPort::Channel() const {
    const std::lock_guard guard(lock_);
    return channel_;
}

bool CompletionPort::Post(uint32_t bytes, uint64_t key) {
    const std::shared_ptr<DeviceChannel> channel = Channel();
    return channel && channel->Post(bytes, key);
}

size_t CompletionPort::Take(std::span<Completion> entries, uint32_t limit_ms) {
    const std::shared_ptr<DeviceChannel> channel = Channel();
    return channel ? channel->Take(entries, limit_ms) : 0;
}

size_t CompletionPort::Outstanding() const {
    const std::shared_ptr<DeviceChannel> channel = Channel();
    return channel ? channel->Outstanding() : 0;
}

bool CompletionPort::IsUntouched(size_t count) const {
    const std::shared_ptr<DeviceChannel> channel = Channel();
    return channel && channel->IsUntouched(count);
}

bool CompletionPort::HasMore() const {
    const std::shared_ptr<DeviceChannel> channel = Channel();
    return channel && channel->HasMore();
}

}  // namespace platform
