#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_types.h"

#include "notify/callback_event.h"
#include "notify/callback_table.h"
#include "notify/delivery_thread.h"
#include "notify/frame_info.h"
#include "platform/device_file.h"
#include "platform/event.h"
#include "state/word.h"

namespace bv {

// One notification request, pending at the driver or being processed.
struct NotificationRequest {
    platform::OverlappedRequest overlapped;
    // Of the contract of overlapped operations; nothing waits for it, as the port tells more.
    platform::LocalEvent event{platform::EventReset::automatic, false};
    FrameInfoOwner frame_info;
    uns16 hcam = 0;
};

// Delivers the events of a device whose driver reports them on the device file: keeps a pool of
// requests pending at the driver, takes their completions on a thread of its own, keeps the device
// state and the newest frame information up to date, and calls the application back on that thread.
//
// Callers serialise all operations but GetLatestFrameInfo, BeginAbort and EndAbort; the camera's
// mutex does that. A callback may use every one of them, and may wait for the mutex of whoever
// does: what would wait for the thread's own progress then does that part of the thread's work in
// place.
class EventNotifier : public std::enable_shared_from_this<EventNotifier> {
  public:
    explicit EventNotifier(orvex_device* device) : device_(device) {}
    ~EventNotifier() { Stop(); }
    EventNotifier(const EventNotifier&) = delete;
    EventNotifier& operator=(const EventNotifier&) = delete;

    boolean16 Start();
    void Stop();
    // Gets everything back that is pending at the driver.
    boolean16 Flush();
    // Sizes the pool to the frames of a run that begins, at a moment when no completion is being
    // processed. What the run before left on its way is dropped.
    boolean16 SetFrameCount(uns32 frame_count, boolean16 is_sequence, boolean16 force);
    // `event` is below OX_CALLBACK_MAX.
    boolean16 RegisterCallback(uns32 event, void* function, void* context, uns32 type);
    boolean16 DeregisterCallback(uns32 event);
    CallbackTable& Callbacks() { return callbacks_; }
    void GetLatestFrameInfo(FRAME_INFO* frame_info);
    void ClearLatestFrameInfo();
    // Between the two, no begin or end of frame calls back.
    void BeginAbort() { aborting_ = 1; }
    void EndAbort() { aborting_ = 0; }

  private:
    static constexpr size_t max_entries = 32;
    using Batch = std::span<platform::Completion>;

    // One life of the thread, from Start to Stop.
    struct Life {
        // The thread was left to itself; it touches nothing any more and ends.
        std::atomic<bool> abandoned{false};
        // An end mark or a cancelled request was met.
        std::atomic<bool> ended{false};
        // The application knows that the camera is gone. Only the thread uses it.
        bool removal_told = false;
    };
    // When a batch was taken.
    struct Origin {
        uns64 pool = 0;
        uns32 run = 0;
    };
    // What a completed request says.
    struct Report {
        uns32 status = 0;
        uns32 flags = 0;
        FRAME_INFO frame_info{};
    };
    enum class Next { go_on, leave_batch, end_thread };

    // Nothing that the thread would do can be waited for.
    bool ThreadNeedsCaller() const { return thread_ && thread_->NeedsCaller(); }
    void WaitQuiet();
    bool DropFormerRun();
    boolean16 Configure(uns32 frame_count, boolean16 is_sequence, boolean16 force);
    bool MakePool(size_t count);
    bool SubmitPool();
    bool Submit(NotificationRequest& request);
    bool AwaitDrain();
    bool DrainInPlace();

    void Run(Life& life);
    Next ProcessBatch(Life& life, Batch batch);
    Next Process(Life& life, const platform::Completion& entry, const Origin& origin);
    bool Read(Life& life, const platform::Completion& entry, uns64 pool, Report& report);
    void Resubmit(Life& life, const platform::Completion& entry, uns64 pool);
    void KeepLatest(const Report& report, uns32 run);
    bool DispatchAll(Life& life, const Report& report, uns32 run);
    bool Dispatch(Life& life, uns32 event, uns64 address, const FRAME_INFO& frame_info);
    uns64 FrameAddress(const Report& report) const;

    FrameInfoOwner latest_frame_info_;
    std::vector<std::unique_ptr<NotificationRequest>> requests_;
    std::unordered_map<const platform::OverlappedRequest*, NotificationRequest*>
        requests_by_overlapped_;
    std::optional<DeliveryThread> thread_;
    platform::LocalEvent ready_event_{platform::EventReset::manual, true};
    std::mutex frame_info_lock_;  // guards latest_frame_info_, for the length of a copy
    Word<uns16> complete_mode_{0};
    Word<uns16> aborting_{0};
    Word<uns32> flushing_{0};
    platform::LocalEvent flush_done_event_{platform::EventReset::automatic, false};
    Word<uns16> dropping_{0};  // a run begins: what is taken is of the run before
    platform::LocalEvent dropped_event_{platform::EventReset::manual, false};
    Word<uns32> frame_count_{0};
    Word<uns16> is_sequence_{0};
    platform::CompletionPort port_;
    uint64_t key_ = 0;
    platform::DeviceFile device_file_;
    CallbackTable callbacks_;
    orvex_device* const device_;

    uns16 hcam_ = 0;
    std::shared_ptr<Life> life_;
    // Guards the pool against a rebuild in the middle of a batch, which a callback can cause or
    // outlast. Never held while calling back.
    std::mutex pool_lock_;
    uns64 pool_ = 0;  // changes with every rebuild
    // The pool is that of the stored frame count, and all of it was submitted.
    bool pool_complete_ = false;
    // Changes with every run that begins; frames of a batch are news in the run that it was taken
    // in.
    std::atomic<uns32> run_{0};
};

}  // namespace bv
