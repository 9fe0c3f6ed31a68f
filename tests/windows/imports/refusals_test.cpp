// What the library makes of a system that refuses.
#include <array>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/device_file.h"
#include "platform/event.h"
#include "platform/system.h"

#include "imported.h"

IMPORTED(CancelIoEx)
IMPORTED(CreateEventA)
IMPORTED(CreateIoCompletionPort)
IMPORTED(DeviceIoControl)
IMPORTED(GetQueuedCompletionStatusEx)
IMPORTED(MessageBoxA)
IMPORTED(PostQueuedCompletionStatus)

namespace {

using platform::Completion;
using platform::operation_in_progress;
using platform::OverlappedRequest;

constexpr uint64_t key = 22080;
constexpr uint32_t short_wait_ms = 20;

// A device that takes every operation and leaves it to the test to complete it.
class RefusingSystem : public testing::Test {
  protected:
    RefusingSystem() {
        ImportedDeviceIoControl::replacement = [this](HANDLE, DWORD, void*, DWORD, void* out, DWORD,
                                                      DWORD*, OVERLAPPED* overlapped) {
            submission_ = overlapped;
            submission_->Internal = STATUS_PENDING;
            out_ = static_cast<dv_notification_report*>(out);
            SetLastError(ERROR_IO_PENDING);
            return FALSE;
        };
        ImportedCreateIoCompletionPort::replacement = [this](HANDLE file, HANDLE, ULONG_PTR,
                                                             DWORD) {
            EXPECT_NE(file, INVALID_HANDLE_VALUE);
            return completions_ =
                       ImportedCreateIoCompletionPort::Real(INVALID_HANDLE_VALUE, nullptr, 0, 1);
        };
    }
    ~RefusingSystem() override {
        ImportedCancelIoEx::Restore();
        ImportedCreateEventA::Restore();
        ImportedCreateIoCompletionPort::Restore();
        ImportedDeviceIoControl::Restore();
        ImportedGetQueuedCompletionStatusEx::Restore();
        ImportedMessageBoxA::Restore();
        ImportedPostQueuedCompletionStatus::Restore();
    }

    void Open() {
        ASSERT_TRUE(file_.Open("NUL"));
        ASSERT_TRUE(port_.Open(file_, key));
    }
    uint32_t Submit() { return file_.Submit(DV_EVENT_NOTIFICATION_REQUEST, request_); }
    // The last submission.
    void Complete(ULONG_PTR status, DWORD bytes) {
        submission_->Internal = status;
        ASSERT_TRUE(PostQueuedCompletionStatus(completions_, bytes, key, submission_));
    }
    std::vector<Completion> Take() {
        std::vector<Completion> entries(8);
        entries.resize(port_.Take(entries, short_wait_ms));
        return entries;
    }
    void ExpectRemoval() {
        const std::vector<Completion> taken = Take();
        ASSERT_EQ(taken.size(), 1u);
        EXPECT_EQ(taken[0].request, &request_);
        EXPECT_EQ(request_.out.flags, uint32_t{NOTIFICATION_DEVICE_REMOVAL});
        EXPECT_EQ(request_.out.frame_number_eof, 0u);
        EXPECT_EQ(port_.Outstanding(), 0u);
    }

    platform::DeviceFile file_;
    platform::CompletionPort port_;
    OverlappedRequest request_;
    HANDLE completions_ = nullptr;
    OVERLAPPED* submission_ = nullptr;
    dv_notification_report* out_ = nullptr;
};

TEST_F(RefusingSystem, WithoutAPortNothingIsSubmitted) {
    ImportedCreateIoCompletionPort::FailWith(ERROR_NOT_ENOUGH_MEMORY);
    ASSERT_TRUE(file_.Open("NUL"));
    EXPECT_FALSE(port_.Open(file_, key));
    EXPECT_EQ(Submit(), uint32_t{ERROR_INVALID_HANDLE});
    EXPECT_EQ(submission_, nullptr);
    EXPECT_FALSE(port_.Post(420, key));
    EXPECT_EQ(Take().size(), 0u);
}

TEST_F(RefusingSystem, ASubmissionThatFailsAtOnceIsNotWaitedFor) {
    Open();
    ImportedDeviceIoControl::FailWith(ERROR_NOT_ENOUGH_QUOTA);
    EXPECT_EQ(Submit(), uint32_t{ERROR_NOT_ENOUGH_QUOTA});
    EXPECT_EQ(port_.Outstanding(), 0u);
    EXPECT_EQ(Take().size(), 0u);
}

// By the first submission that finds none, however the system names that; by none of the others,
// and by no submission while a request is still to come back, which then tells it.
TEST_F(RefusingSystem, ADriverThatHasGoneIsToldOfOnce) {
    for (const DWORD error : {ERROR_BAD_COMMAND, ERROR_GEN_FAILURE, ERROR_DEV_NOT_EXIST,
                              ERROR_NOT_READY, ERROR_DEVICE_REMOVED}) {
        SCOPED_TRACE(error);
        platform::DeviceFile file;
        platform::CompletionPort port;
        ASSERT_TRUE(file.Open("NUL") && port.Open(file, key));
        ImportedDeviceIoControl::FailWith(error);
        EXPECT_EQ(file.Submit(DV_EVENT_NOTIFICATION_REQUEST, request_), operation_in_progress);
        std::array<Completion, 2> entries;
        EXPECT_EQ(port.Take(entries, short_wait_ms), 1u);
        EXPECT_EQ(request_.out.flags, uint32_t{NOTIFICATION_DEVICE_REMOVAL});
        EXPECT_EQ(file.Submit(DV_EVENT_NOTIFICATION_REQUEST, request_), error);
    }
}

TEST_F(RefusingSystem, ARequestThatIsStillOutTellsOfTheRemoval) {
    Open();
    ASSERT_EQ(Submit(), operation_in_progress);
    OVERLAPPED* const first = submission_;
    ImportedDeviceIoControl::FailWith(ERROR_BAD_COMMAND);
    OverlappedRequest second;
    EXPECT_EQ(file_.Submit(DV_EVENT_NOTIFICATION_REQUEST, second), uint32_t{ERROR_BAD_COMMAND});
    submission_ = first;
    Complete(0xC000009D, 0);
    ExpectRemoval();
}

TEST_F(RefusingSystem, ARemovalThatCannotBeQueuedIsAnError) {
    Open();
    ImportedDeviceIoControl::FailWith(ERROR_BAD_COMMAND);
    ImportedPostQueuedCompletionStatus::FailWith(ERROR_NO_SYSTEM_RESOURCES);
    EXPECT_EQ(Submit(), uint32_t{ERROR_BAD_COMMAND});
    EXPECT_EQ(port_.Outstanding(), 0u);
}

// The status has 32 bits, whatever stands above them; what the driver wrote with a failure is no
// report.
TEST_F(RefusingSystem, ARequestThatFailsIsTheRemoval) {
    Open();
    ASSERT_EQ(Submit(), operation_in_progress);
    out_->flags = NOTIFICATION_EOF;
    out_->frame_number_eof = 7;
    Complete(0x12345678'C0000185, 48);  // an error of the device
    ExpectRemoval();
    EXPECT_FALSE(file_.CancelAll());
}

// A driver can't pass for what the library posts to itself.
TEST_F(RefusingSystem, ADriverThatTellsOfTooManyBytesHasFortyEight) {
    Open();
    ASSERT_EQ(Submit(), operation_in_progress);
    out_->flags = NOTIFICATION_EOF;
    Complete(0x12345678'00000000, 420);
    const std::vector<Completion> taken = Take();
    ASSERT_EQ(taken.size(), 1u);
    EXPECT_EQ(taken[0].bytes, sizeof(dv_notification_report));
    EXPECT_EQ(request_.out.flags, uint32_t{NOTIFICATION_EOF});
}

// Where taking fails, what it wrote is nothing.
TEST_F(RefusingSystem, AFailedTakeLeavesGarbage) {
    Open();
    ASSERT_EQ(Submit(), operation_in_progress);
    ImportedGetQueuedCompletionStatusEx::replacement = [](HANDLE, OVERLAPPED_ENTRY* entries, ULONG,
                                                          ULONG* count, DWORD, BOOL) {
        entries[0].lpOverlapped = reinterpret_cast<OVERLAPPED*>(1);
        *count = 1;
        Sleep(1);
        SetLastError(WAIT_TIMEOUT);
        return FALSE;
    };
    EXPECT_EQ(Take().size(), 0u);
    EXPECT_FALSE(port_.HasMore());
    ImportedGetQueuedCompletionStatusEx::Restore();
    Complete(0, 48);
    EXPECT_EQ(Take().size(), 1u);
}

// That nothing was pending is no failure.
TEST_F(RefusingSystem, ACancellationThatFailsIsTold) {
    Open();
    ImportedCancelIoEx::FailWith(ERROR_NOT_FOUND);
    EXPECT_TRUE(file_.CancelAll());
    ImportedCancelIoEx::FailWith(ERROR_INVALID_FUNCTION);
    EXPECT_FALSE(file_.CancelAll());
}

TEST_F(RefusingSystem, AnEventThatCannotBeMadeIsNone) {
    ImportedCreateEventA::FailWith(ERROR_NO_SYSTEM_RESOURCES);
    platform::Event event;
    EXPECT_FALSE(event.Create("name", platform::EventReset::manual, false));
    EXPECT_FALSE(event.Create(nullptr, platform::EventReset::manual, false));
    ImportedCreateEventA::Restore();
    EXPECT_TRUE(event.Create("name", platform::EventReset::manual, false));
    EXPECT_TRUE(event.IsNamed());
}

// Above all windows, also where the program's own has the keyboard, and with one button alone.
TEST_F(RefusingSystem, TheNoticeComesToTheFront) {
    UINT style = 0;
    std::string words;
    ImportedMessageBoxA::replacement = [&](HWND owner, const char* text, const char* title,
                                           UINT flags) {
        EXPECT_EQ(owner, nullptr);
        words = std::string(title) + '/' + text;
        style = flags;
        return IDOK;
    };
    platform::ShowNotice("title", "text");
    EXPECT_EQ(words, "title/text");
    EXPECT_EQ(style, 0x50010u);
}

}  // namespace
