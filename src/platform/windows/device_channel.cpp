#include "platform/device_channel.h"

#include <algorithm>
#include <array>
#include <deque>
#include <mutex>
#include <new>

#include "platform/system.h"
#include "platform/windows/api.h"

namespace platform {

namespace {

constexpr ULONG batch = 32;
// How long the end of a device file waits for requests that were cancelled.
constexpr DWORD last_requests_ms = 1000;

constexpr uint32_t status_pending = 0x103;
constexpr uint32_t status_cancelled = 0xC0000120;
constexpr uint32_t status_not_connected = 0xC000009D;

// What a submission gets when the driver has gone, after its device or alone.
bool IsGone(DWORD error) {
    constexpr std::array<DWORD, 7> gone = {
        ERROR_ACCESS_DENIED, ERROR_BAD_COMMAND,          ERROR_GEN_FAILURE,   ERROR_DEV_NOT_EXIST,
        ERROR_NOT_READY,     ERROR_DEVICE_NOT_CONNECTED, ERROR_DEVICE_REMOVED};
    return std::find(gone.begin(), gone.end(), error) != gone.end();
}

// Overlapped control operations of a kernel driver, completed at an I/O completion port.
class KernelChannel : public DeviceChannel {
  public:
    ~KernelChannel() override;

    bool Open(const char* path);
    void CloseFile() override;
    bool OpenPort(uint64_t key) override;
    void ClosePort() override;

    uint32_t Submit(uint32_t code, OverlappedRequest& request) override;
    bool CancelAll() override;
    void Forget() override;
    bool Post(uint32_t bytes, uint64_t key) override;
    size_t Take(std::span<Completion> entries, uint32_t limit_ms) override;
    size_t Outstanding() override;
    bool IsUntouched(size_t count) override;
    bool HasMore() override;

  private:
    // What the kernel reads and writes until the operation is over, whatever has become of the
    // request by then.
    struct Slot {
        OVERLAPPED overlapped{};
        dv_notification_request in{};
        dv_notification_report out{};
        OverlappedRequest* request = nullptr;  // null when it was forgotten
        uint32_t bytes = 0;
        Slot* next = nullptr;  // in the chain that it stands in

        uint32_t Status() const { return static_cast<uint32_t>(overlapped.Internal); }
    };
    // First in, first out; moving a slot between chains needs no memory.
    struct Chain {
        Slot* first = nullptr;
        Slot* last = nullptr;
        size_t count = 0;

        void Append(Slot& slot);
        Slot& RemoveFirst();
    };

    Slot* TakeSlot();
    void Free(Slot& slot);
    void Wake() { PostQueuedCompletionStatus(port_, 0, 0, nullptr); }
    bool Collect(DWORD limit_ms, ULONG count);
    size_t TakeArrived(std::span<Completion> entries);
    Completion Return(Slot& slot);

    std::mutex lock_;
    HANDLE file_ = INVALID_HANDLE_VALUE;
    // Stays until the last user has gone: closing it would not wake who waits on it.
    HANDLE port_ = nullptr;
    bool port_open_ = false;
    uint64_t key_ = 0;
    std::deque<Slot> slots_;  // whose addresses stay
    Chain free_;
    Chain arrived_;  // back from the driver, neither taken nor forgotten
    std::deque<Completion> posted_;
    size_t outstanding_ = 0;  // requests that were neither taken nor forgotten
    size_t takers_ = 0;       // threads that wait on the port
    bool removal_returned_ = false;
};

bool KernelChannel::Open(const char* path) {
    if (!path || !*path) return false;
    file_ = CreateFileA(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                        FILE_FLAG_OVERLAPPED, nullptr);
    if (file_ == INVALID_HANDLE_VALUE) return false;
    // Disk files, consoles and pipes are no devices, although they open.
    const DWORD type = GetFileType(file_);
    if (type == FILE_TYPE_CHAR || type == FILE_TYPE_UNKNOWN) return true;
    CloseHandle(file_);
    file_ = INVALID_HANDLE_VALUE;
    return false;
}

KernelChannel::~KernelChannel() {
    CloseFile();
    if (!port_) return;
    const auto all_back = [this] { return free_.count == slots_.size(); };
    while (!all_back() && Collect(last_requests_ms, batch)) {
    }
    CloseHandle(port_);
    // A driver that keeps a request for ever may still write into it.
    if (!all_back()) new std::deque<Slot>(std::move(slots_));
}

void KernelChannel::CloseFile() {
    Forget();
    const std::lock_guard guard(lock_);
    if (file_ == INVALID_HANDLE_VALUE) return;
    // Closing alone does not give pending requests back.
    CancelIoEx(file_, nullptr);
    CloseHandle(file_);
    file_ = INVALID_HANDLE_VALUE;
}

bool KernelChannel::OpenPort(uint64_t key) {
    const std::lock_guard guard(lock_);
    if (file_ == INVALID_HANDLE_VALUE || port_) return false;
    key_ = key;
    port_ = CreateIoCompletionPort(file_, nullptr, key, 1);
    port_open_ = port_ != nullptr;
    return port_open_;
}

void KernelChannel::ClosePort() {
    const std::lock_guard guard(lock_);
    if (!port_open_) return;
    port_open_ = false;
    for (size_t i = 0; i < takers_; ++i) Wake();
}

void KernelChannel::Chain::Append(Slot& slot) {
    slot.next = nullptr;
    (count == 0 ? first : last->next) = &slot;
    last = &slot;
    ++count;
}

KernelChannel::Slot& KernelChannel::Chain::RemoveFirst() {
    Slot& slot = *first;
    first = slot.next;
    --count;
    return slot;
}

// Null without memory.
KernelChannel::Slot* KernelChannel::TakeSlot() {
    if (free_.count > 0) return &free_.RemoveFirst();
    try {
        return &slots_.emplace_back();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void KernelChannel::Free(Slot& slot) {
    slot.request = nullptr;
    free_.Append(slot);
}

uint32_t KernelChannel::Submit(uint32_t code, OverlappedRequest& request) {
    const std::lock_guard guard(lock_);
    if (file_ == INVALID_HANDLE_VALUE || !port_) return ERROR_INVALID_HANDLE;
    Slot* const slot = TakeSlot();
    if (!slot) return ERROR_NOT_ENOUGH_MEMORY;
    slot->overlapped = {};
    slot->in = request.in;
    slot->out = {};
    slot->request = &request;
    const BOOL done = DeviceIoControl(file_, code, &slot->in, sizeof(slot->in), &slot->out,
                                      sizeof(slot->out), nullptr, &slot->overlapped);
    const DWORD error = done ? ERROR_IO_PENDING : GetLastError();
    // One that completes at once is on its way to the port like any other. Were it told as a
    // failure, the caller would count one request fewer than there are.
    if (error == ERROR_IO_PENDING) {
        ++outstanding_;
        return operation_in_progress;
    }
    // The taking thread had all requests in hand when the driver went: the first that is submitted
    // then tells it of the removal, as those do that the driver had.
    if (IsGone(error) && !removal_returned_ && outstanding_ == 0) {
        slot->overlapped.Internal = status_not_connected;
        if (PostQueuedCompletionStatus(port_, 0, key_, &slot->overlapped)) {
            ++outstanding_;
            return operation_in_progress;
        }
    }
    Free(*slot);
    return error;
}

bool KernelChannel::CancelAll() {
    const std::lock_guard guard(lock_);
    if (file_ == INVALID_HANDLE_VALUE) return false;
    const bool cancelled = CancelIoEx(file_, nullptr) || GetLastError() == ERROR_NOT_FOUND;
    return cancelled && !removal_returned_;
}

void KernelChannel::Forget() {
    const std::lock_guard guard(lock_);
    for (Slot& slot : slots_) slot.request = nullptr;
    while (arrived_.count > 0) Free(arrived_.RemoveFirst());
    outstanding_ = 0;
}

bool KernelChannel::Post(uint32_t bytes, uint64_t key) {
    const std::lock_guard guard(lock_);
    if (!port_open_) return false;
    posted_.push_back({key, nullptr, bytes});
    Wake();
    return true;
}

// Takes a batch off the port; false when the time ran out.
bool KernelChannel::Collect(DWORD limit_ms, ULONG count) {
    std::array<OVERLAPPED_ENTRY, batch> entries;
    ULONG taken = 0;
    // Where it fails, the count says nothing.
    if (!GetQueuedCompletionStatusEx(port_, entries.data(), count, &taken, limit_ms, FALSE))
        return false;
    const std::lock_guard guard(lock_);
    for (const OVERLAPPED_ENTRY& entry : std::span(entries).first(taken)) {
        if (!entry.lpOverlapped) continue;
        Slot& slot = *reinterpret_cast<Slot*>(entry.lpOverlapped);
        slot.bytes = std::min<DWORD>(entry.dwNumberOfBytesTransferred, sizeof(slot.out));
        slot.request ? arrived_.Append(slot) : Free(slot);
    }
    return true;
}

// Posts come first, so that no flood of a driver can hold back the end of a thread.
size_t KernelChannel::TakeArrived(std::span<Completion> entries) {
    size_t taken = 0;
    while (taken < entries.size() && !posted_.empty()) {
        entries[taken++] = posted_.front();
        posted_.pop_front();
    }
    while (taken < entries.size() && arrived_.count > 0)
        entries[taken++] = Return(arrived_.RemoveFirst());
    return taken;
}

Completion KernelChannel::Return(Slot& slot) {
    dv_notification_report& out = slot.request->out;
    out = slot.out;
    if (const uint32_t status = slot.Status(); status == status_cancelled) {
        out = {};
        out.status = NOTIFICATION_STATUS_CANCELLED;
    } else if (static_cast<int32_t>(status) < 0) {
        out = {};
        out.flags = NOTIFICATION_DEVICE_REMOVAL;
        removal_returned_ = true;
    }
    const Completion completion{key_, slot.request, slot.bytes};
    Free(slot);
    --outstanding_;
    return completion;
}

size_t KernelChannel::Take(std::span<Completion> entries, uint32_t limit_ms) {
    const int64_t steps_per_ms = PerformanceFrequency() / 1000;
    const int64_t deadline = PerformanceCounter() + limit_ms * steps_per_ms;
    for (bool in_time = true;;) {
        {
            const std::lock_guard guard(lock_);
            if (!port_open_) return 0;
            const size_t taken = TakeArrived(entries);
            if (taken > 0 || entries.empty() || !in_time) return taken;
            ++takers_;
        }
        DWORD wait_ms = INFINITE;
        if (limit_ms != Event::no_limit) {
            const int64_t left = (deadline - PerformanceCounter()) / steps_per_ms;
            wait_ms = static_cast<DWORD>(std::clamp<int64_t>(left, 0, INT32_MAX));
        }
        // No more than the caller has room for: what is left at the port wakes the next wait.
        Collect(wait_ms, static_cast<ULONG>(std::min<size_t>(entries.size(), batch)));
        const std::lock_guard guard(lock_);
        --takers_;
        in_time = limit_ms == Event::no_limit || PerformanceCounter() < deadline;
    }
}

size_t KernelChannel::Outstanding() {
    const std::lock_guard guard(lock_);
    return outstanding_;
}

bool KernelChannel::IsUntouched(size_t count) {
    const bool more = HasMore();
    const std::lock_guard guard(lock_);
    // What another thread has just taken off the port is no longer pending either.
    return !more && outstanding_ == count &&
           std::all_of(slots_.begin(), slots_.end(), [](const Slot& slot) {
               return !slot.request || slot.Status() == status_pending;
           });
}

// The port does not tell what lies at it; it has to be taken off.
bool KernelChannel::HasMore() {
    if (!port_) return false;
    while (Collect(0, batch)) {
    }
    const std::lock_guard guard(lock_);
    // Nor have those who wait on it noticed.
    if (arrived_.count > 0 || !posted_.empty() || !port_open_)
        for (size_t i = 0; i < takers_; ++i) Wake();
    return arrived_.count > 0;
}

}  // namespace

std::shared_ptr<DeviceChannel> OpenDeviceChannel(const char* path) {
    auto channel = std::make_shared<KernelChannel>();
    return channel->Open(path) ? std::move(channel) : nullptr;
}

}  // namespace platform
