#include "state/api_global.h"

#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "unit/log/collected_log.h"

using bv::ApiGlobal;
using testing::Contains;
using testing::ElementsAre;

namespace {

TEST(ErrorMessage, IsReadByTheStoredMode) {
    struct MessageCase {
        int16 mode;
        int16 code;
        const char* message;
    };
    const char* const unknown = "Unknown error";
    const MessageCase cases[] = {
        {0, 0, "No Error"},
        {7, 0, "No Error"},
        {0, 1, "Unexpected, unanticipated, or undocumented (C0_UNKNOWN_ERROR)"},
        {0, 50, "Resource allocation failed (C0_RESOURCE_ALLOCATION_FAILED)"},
        {0, 51, unknown},
        {0, -1, unknown},
        {0, -32768, unknown},
        {1, 1, "BC_STATUS_INVALID_BLOCK_NUM   Trying to upload/download invalid block index"},
        {1, 9,
         "BC_NO_MEMORY                  Camera does not have enough resources for transaction"},
        {1, 18, "BC_PARAMETER_PERMISSION       Parameter permission does not allow that operation"},
        {1, 19, unknown},
        {1, -1, unknown},
        {2, 1, unknown},
        {-1, 1, unknown},
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

TEST(ErrorState, IsTraced) {
    tests::Trace trace;
    ApiGlobal::SetErrorCode(EXT_OPEN_FW_UPDATE, 5);
    ApiGlobal::IsErrorCodeSet();
    ApiGlobal::GetErrorCode();
    ApiGlobal::ClearErrorCode(7);
    ApiGlobal::IsErrorCodeSet();
    EXPECT_THAT(
        trace.Lines(),
        ElementsAre(
            "D bv::ApiGlobal::SetErrorCode: ENTER (openMode=EXT_OPEN_FW_UPDATE(1), errorCode=5)",
            "D bv::ApiGlobal::SetErrorCode: RETURN ()", "D bv::ApiGlobal::IsErrorCodeSet: ENTER ()",
            "D bv::ApiGlobal::IsErrorCodeSet: RETURN (true)",
            "D bv::ApiGlobal::GetErrorCode: ENTER ()", "D bv::ApiGlobal::GetErrorCode: RETURN (5)",
            "D bv::ApiGlobal::ClearErrorCode: ENTER (openMode=<UNKNOWN>(7))",
            "D bv::ApiGlobal::ClearErrorCode: RETURN ()",
            "D bv::ApiGlobal::IsErrorCodeSet: ENTER ()",
            "D bv::ApiGlobal::IsErrorCodeSet: RETURN (false)"));
}

TEST(ErrorState, MessageTellsWhyItIsUnknown) {
    ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    tests::Trace trace;
    char message[ERROR_MSG_LEN];
    const std::string address = bv::FormatPointer(message);
    ApiGlobal::GetErrorMessage(51, message);
    ApiGlobal::SetErrorCode(EXT_OPEN_FW_UPDATE, 1);
    ApiGlobal::GetErrorMessage(19, message);
    ApiGlobal::SetErrorCode(7, 5);
    ApiGlobal::GetErrorMessage(5, message);
    const std::string name = "bv::ApiGlobal::GetErrorMessage: ";
    const auto lines = trace.Lines();
    EXPECT_EQ(lines[0], "D " + name + "ENTER (errorCode=51, pErrorMessage=" + address + ")");
    EXPECT_EQ(lines[1], "E   " + name + "Unknown error code for EXT_OPEN_EXCLUSIVE mode");
    EXPECT_EQ(lines[2], "D " + name + "RETURN (OZ_FAIL, pErrorMessage='Unknown error')");
    EXPECT_THAT(lines, Contains("E   " + name + "Unknown error code for EXT_OPEN_FW_UPDATE mode"));
    EXPECT_THAT(lines, Contains("E   " + name + "Unknown open mode 7"));
}

}  // namespace
