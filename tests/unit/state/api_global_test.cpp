#include "state/api_global.h"

#include <array>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <thread>

using bv::ApiGlobal;

namespace {

void OnAnotherThread(const std::function<void()>& work) {
    std::thread(work).join();
}

TEST(ErrorMessage, IsReadByTheStoredMode) {
    struct MessageCase {
        int16 mode;
        int16 code;
        const char* message;
    };
    const char* const unknown = "Unknown error";
    const MessageCase cases[] = {
        {0, 0, "No Error"},
        {0, 1, "Unexpected, unanticipated, or undocumented (C0_UNKNOWN_ERROR)"},
        {0, 50, "Resource allocation failed (C0_RESOURCE_ALLOCATION_FAILED)"},
        {0, 51, unknown},
        {0, -32768, unknown},
        {1, 1, "BC_STATUS_INVALID_BLOCK_NUM   Trying to upload/download invalid block index"},
        {1, 18, "BC_PARAMETER_PERMISSION       Parameter permission does not allow that operation"},
        {1, 19, unknown},
        {2, 1, unknown},
    };
    for (const MessageCase& c : cases) {
        ApiGlobal::SetErrorCode(c.mode, 9);
        std::array<char, ERROR_MSG_LEN + 1> message;
        message.fill('#');
        EXPECT_EQ(ApiGlobal::GetErrorMessage(c.code, message.data()), c.message != unknown);
        EXPECT_STREQ(message.data(), c.message);
        EXPECT_EQ(message[ERROR_MSG_LEN - 1], 0);
        EXPECT_EQ(message[ERROR_MSG_LEN], '#');
        EXPECT_EQ(ApiGlobal::GetErrorCode(), 9);
    }
}

TEST(ErrorState, ClearingKeepsNoMode) {
    ApiGlobal::SetErrorCode(EXT_OPEN_FW_UPDATE, 5);
    ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    EXPECT_FALSE(ApiGlobal::IsErrorCodeSet());
    char message[ERROR_MSG_LEN];
    ApiGlobal::GetErrorMessage(5, message);
    EXPECT_STREQ(message, "Device driver could not lock pages in RAM (C0_MEM_LOCK_FAILED)");
}

TEST(ErrorState, WhatAnotherThreadSetsIsNoFailureOfThisOne) {
    ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    OnAnotherThread([] { ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, 39); });
    EXPECT_FALSE(ApiGlobal::IsErrorCodeSet());
    EXPECT_EQ(ApiGlobal::GetErrorCode(), 39) << "one code for the process";
    ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, 8);
    OnAnotherThread([] { ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE); });
    EXPECT_TRUE(ApiGlobal::IsErrorCodeSet());
    EXPECT_EQ(ApiGlobal::GetErrorCode(), 0);
}

TEST(ErrorHold, LetsOutWhatLasts) {
    struct HoldCase {
        const char* name;
        int16 before;           // set by this thread
        int16 foreign;          // set by another one during the hold; -1 for none
        int16 mode, set, last;  // in the hold: a code, and one in its place
        int16 code;             // of the process afterwards, and whether it is read by the
        bool of_bridge;         // bridge's table
    };
    const int16 library = EXT_OPEN_EXCLUSIVE, bridge = EXT_OPEN_FW_UPDATE;
    const HoldCase cases[] = {
        {"forgotten", 0, -1, library, 25, 0, 0, false},
        {"forgotten beside another", 0, 5, library, 25, 0, 5, false},
        {"an older one is forgotten too", 8, -1, library, 25, 0, 0, false},
        {"failed", 0, 5, library, 25, 26, 26, false},
        {"mode changed", 0, -1, bridge, 9, 0, 0, true},
        {"mode changed beside another", 0, 5, bridge, 9, 0, 5, false},
    };
    for (const HoldCase& c : cases) {
        SCOPED_TRACE(c.name);
        ApiGlobal::SetErrorCode(library, c.before);
        {
            const bv::ErrorHold hold;
            ApiGlobal::SetErrorCode(c.mode, c.set);
            if (c.foreign >= 0) {
                OnAnotherThread([&] {
                    EXPECT_EQ(ApiGlobal::GetErrorCode(), c.before);
                    ApiGlobal::SetErrorCode(library, c.foreign);
                });
            }
            EXPECT_EQ(ApiGlobal::GetErrorCode(), c.set);
            ApiGlobal::SetErrorCode(c.mode, c.last);
        }
        EXPECT_EQ(ApiGlobal::GetErrorCode(), c.code);
        EXPECT_EQ(ApiGlobal::IsErrorCodeSet(), c.last != 0);
        char message[ERROR_MSG_LEN];
        ApiGlobal::GetErrorMessage(1, message);
        EXPECT_EQ(std::string(message).starts_with("BC_"), c.of_bridge) << message;
    }
}

}  // namespace
