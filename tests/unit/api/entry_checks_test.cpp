#include <gmock/gmock.h>
#include <mutex>
#include <set>
#include <string_view>
#include <system_error>
#include <thread>

#include "api/api_entry_layer.h"
#include "support/core/test_camera.h"
#include "support/core/trace_capture.h"

#include "operation_table.h"

// What the entry layer does for each operation before the work begins: lock and null checks. What
// is expected stands here by name, apart from the rows.
namespace {

// Pointers that may be null.
const std::set<std::string> unchecked_pointers = {
    "ox_cam_register_callback_ex3.context",
    "ox_cam_register_callback.callback",
    "ox_cam_register_callback_ex.callback",
    "ox_cam_register_callback_ex.context",
    "ox_cam_register_callback_ex2.callback",
    "oz_script_set_hook.pfn",
    "ox_get_enum_param.desc",
    "ox_buf_alloc.hbuf",
    "oz_cam_send_debug.reply_str",
    "oz_cam_write_read.read_array",
    "bv_cam_write_read.read_array",
    "ox_internal_cam_write_read_passthrough.write_array",
    "ox_internal_cam_write_read_passthrough.read_array",
    "ox_internal_bridge_command.send_data",
    "ox_internal_bridge_command.recv_data",
    "oz_bridge_command.send_data",
    "oz_bridge_command.recv_data",
};

bv::ApiLock ExpectedLock(std::string_view name) {
    static const std::set<std::string_view> none = {
        "ox_error_code", "ox_error_message", "oz_set_error_code", "oz_free",
        "oz_malloc",     "oz_realloc",       "oz_calloc",         "oz_script_set_hook",
    };
    static const std::set<std::string_view> global = {
        "ox_orvex_get_ver",
        "ox_orvex_init",
        "ox_orvex_uninit",
        "ox_cam_get_name",
        "ox_cam_get_total",
        "ox_cam_open",
        "ox_create_tidal_stream_struct",
        "ox_release_tidal_stream_struct",
        "ox_create_frame_info_struct",
        "ox_release_frame_info_struct",
        "ox_exp_init_seq",
        "ox_exp_uninit_seq",
        "ox_ddi_get_ver",
    };
    if (none.contains(name)) return bv::ApiLock::none;
    if (global.contains(name) || name.starts_with("ox_md_") || name.starts_with("ox_buf_")) {
        return bv::ApiLock::global;
    }
    return bv::ApiLock::camera;
}

bool Checks(const Operation& operation, size_t argument) {
    return operation.pointers[argument] &&
           !unchecked_pointers.contains(operation.name + "." + operation.words[argument]);
}

// The error-checking mutexes tell by an exception that an operation wants what this thread holds.
TEST(Locks, AreThoseOfTheOperation) {
    const support::TestCamera camera;
    for (const Operation& operation : Operations()) {
        SCOPED_TRACE(operation.name);
        const bv::ApiLock expected = ExpectedLock(operation.name);
        EXPECT_EQ(operation.lock, expected);
        if (expected == bv::ApiLock::none) {
            std::lock_guard global(api_global_mutex);
            std::lock_guard held(api_camera_mutexes[0]);
            EXPECT_NO_THROW(operation.call(0));
            continue;
        }
        std::lock_guard held(expected == bv::ApiLock::global ? api_global_mutex
                                                             : api_camera_mutexes[0]);
        EXPECT_THROW(operation.call(no_nulls), std::system_error);
    }
}

TEST(BadHandles, AreRejectedBeforeTheErrorIsCleared) {
    support::TestCamera camera;
    camera.cam_info().open = 0;
    for (const Operation& operation : Operations()) {
        if (operation.lock != bv::ApiLock::camera) continue;
        SCOPED_TRACE(operation.name);
        support::TraceCapture trace;
        EXPECT_FALSE(operation.call(0));
        const std::vector<std::string> messages = trace.messages();
        EXPECT_TRUE(
            trace.failed_with(C0_INVALID_HANDLE, "Invalid camera handle or camera not open"));
        EXPECT_THAT(messages,
                    testing::Not(testing::Contains(testing::HasSubstr("ClearErrorCode"))));
        EXPECT_EQ(messages.back(), "bv::ApiEntryLayer::" + operation.name + ": RETURN (OZ_FAIL)");
    }
}

// A handle that was good when a call came may be a closed camera's when its turn comes.
TEST(WaitingCall, IsRejectedWhenTheCameraWasClosedMeanwhile) {
    support::TraceCapture trace;
    support::TestCamera camera;
    boolean16 result = 1;
    boolean16 script_valid = 7;
    std::unique_lock held(api_camera_mutexes[0]);
    std::thread waiting([&] { result = api_entry_layer.oz_exp_get_script(0, &script_valid); });
    const bool arrived =
        support::eventually([&] { return trace.contains("oz_cam_check: RETURN (OZ_OK)"); });
    camera.cam_info().open = 0;
    held.unlock();
    waiting.join();
    EXPECT_TRUE(arrived);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(script_valid, 7);
    EXPECT_TRUE(trace.failed_with(C0_INVALID_HANDLE, "Invalid camera handle or camera not open"));
}

// From the argument on all are null: the first one that must not be is told, and ends the call.
TEST(Nulls, EndTheCallUnlessTheyAreAllowed) {
    size_t allowed = 0;
    for (const Operation& operation : Operations()) {
        for (size_t first = 0; first < operation.words.size(); ++first) {
            if (!operation.pointers[first]) continue;
            SCOPED_TRACE(operation.name + "." + operation.words[first]);
            if (!Checks(operation, first)) ++allowed;
            size_t refused = first;
            while (refused < operation.words.size() && !Checks(operation, refused)) ++refused;

            const support::TestCamera camera;
            support::TraceCapture trace;
            const bool answered = operation.call(first);
            const std::vector<std::string> messages = trace.messages();
            const auto work = testing::Contains(testing::StartsWith("bv::ApiExecLayer::"));
            if (refused == operation.words.size()) {
                EXPECT_THAT(messages, work);
                continue;
            }
            const std::string entry = "bv::ApiEntryLayer::" + operation.name;
            const std::string text = "Argument '" + operation.words[refused] + "' is null";
            EXPECT_FALSE(answered);
            EXPECT_TRUE(trace.failed_with(C0_NULL_POINTER, text));
            EXPECT_EQ(trace.messages(bv::log_error), std::vector{entry + ": " + text});
            EXPECT_THAT(messages, testing::Not(work));
            EXPECT_THAT(messages.back(), testing::StartsWith(entry + ": RETURN ("));
        }
    }
    EXPECT_EQ(allowed, unchecked_pointers.size());
}

}  // namespace
