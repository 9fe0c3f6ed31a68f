#include "state/api_global.h"

#include <array>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "unit/log/collected_log.h"

using bv::ApiGlobal;
using testing::Contains;
using testing::ElementsAre;

namespace {

struct MessageCase {
    int16 mode;
    int16 code;
    boolean16 known;
    const char* message;
};

class ErrorMessage : public testing::TestWithParam<MessageCase> {};

TEST_P(ErrorMessage, IsReadByTheStoredMode) {
    const MessageCase& c = GetParam();
    ApiGlobal::SetErrorCode(c.mode, 9);
    std::array<char, ERROR_MSG_LEN + 1> message;
    message.fill('#');
    EXPECT_EQ(ApiGlobal::GetErrorMessage(c.code, message.data()), c.known);
    EXPECT_STREQ(message.data(), c.message);
    EXPECT_EQ(message[ERROR_MSG_LEN - 1], 0);
    EXPECT_EQ(message[ERROR_MSG_LEN], '#');
    EXPECT_EQ(ApiGlobal::GetErrorCode(), 9);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ErrorMessage,
    testing::Values(
        MessageCase{0, 0, 1, "No Error"}, MessageCase{1, 0, 1, "No Error"},
        MessageCase{7, 0, 1, "No Error"},
        MessageCase{0, 1, 1, "Unexpected, unanticipated, or undocumented (C0_UNKNOWN_ERROR)"},
        MessageCase{0, 8, 1, "System error in dv_driver_set_image_data_idle (C0_SYS_ERR_IM_ABORT)"},
        MessageCase{0, 11, 1, "This is not the handle of an open camera (C0_INVALID_HANDLE)"},
        MessageCase{0, 16, 1, "Can't collect data: expected data is zero bytes (C0_NO_IMG_DATA)"},
        MessageCase{0, 19, 1, "Error occured in opening camera (C0_ERR_OPEN_CAM)"},
        MessageCase{0, 25, 1, "Attribute requested not available (C2_NOT_AVAILABLE)"},
        MessageCase{0, 33, 1, "Invalid region (C3_RGN_INVALID)"},
        MessageCase{0, 40, 1, "Data Buffer is full no place to xfer data (C3_BUFFER_OVERRUN)"},
        MessageCase{0, 48, 1,
                    "Binning value is not valid for current camera configuration "
                    "(C0_BINNING_INVALID)"},
        MessageCase{0, 50, 1, "Resource allocation failed (C0_RESOURCE_ALLOCATION_FAILED)"},
        MessageCase{0, 51, 0, "Unknown error"}, MessageCase{0, -1, 0, "Unknown error"},
        MessageCase{0, -32768, 0, "Unknown error"}, MessageCase{0, 32767, 0, "Unknown error"},
        MessageCase{1, 1, 1,
                    "BC_STATUS_INVALID_BLOCK_NUM   Trying to upload/download invalid block index"},
        MessageCase{1, 4, 1, "BC_TIMEOUT                    Timeout during transmission"},
        MessageCase{1, 9, 1,
                    "BC_NO_MEMORY                  Camera does not have enough resources for "
                    "transaction"},
        MessageCase{1, 18, 1,
                    "BC_PARAMETER_PERMISSION       Parameter permission does not allow that "
                    "operation"},
        MessageCase{1, 19, 0, "Unknown error"}, MessageCase{1, -1, 0, "Unknown error"},
        MessageCase{2, 1, 0, "Unknown error"}, MessageCase{-1, 1, 0, "Unknown error"}));

TEST(ErrorState, IsOnePair) {
    ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    EXPECT_FALSE(ApiGlobal::IsErrorCodeSet());
    ApiGlobal::SetErrorCode(EXT_OPEN_FW_UPDATE, 5);
    EXPECT_TRUE(ApiGlobal::IsErrorCodeSet());
    EXPECT_EQ(ApiGlobal::GetErrorCode(), 5);
    char message[ERROR_MSG_LEN];
    ApiGlobal::GetErrorMessage(5, message);
    EXPECT_STREQ(message,
                 "BC_INVALID_OPCODE             Bridge command is not recognized by this camera");
    ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    EXPECT_FALSE(ApiGlobal::IsErrorCodeSet());
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
