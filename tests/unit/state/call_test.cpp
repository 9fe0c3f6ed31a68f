#include "state/call.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "unit/log/collected_log.h"

using bv::arg;
using bv::Call;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// A failing function notes, at each step, what the error state was.
boolean16 FailingWorker(int16 hcam) {
    Call call("worker", arg("hcam", hcam));
    return call.fail(C2_NOT_AVAILABLE, "No %s on camera %d", "shutter", hcam);
}

boolean16 Caller(int16 hcam) {
    Call call("caller", arg("hcam", hcam));
    if (!FailingWorker(hcam)) return call.failed();
    return call.ok();
}

TEST(Call, FailureIsLineThenCodeThenResult) {
    tests::Trace trace;
    EXPECT_EQ(Caller(3), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C2_NOT_AVAILABLE);
    auto lines = trace.Lines();
    lines.resize(7);
    EXPECT_THAT(lines, ElementsAre("D caller: ENTER (hcam=3)", "D   worker: ENTER (hcam=3)",
                                   "E     worker: No shutter on camera 3",
                                   "D     bv::ApiGlobal::SetErrorCode: ENTER "
                                   "(openMode=EXT_OPEN_EXCLUSIVE(0), errorCode=25)",
                                   "D     bv::ApiGlobal::SetErrorCode: RETURN ()",
                                   "D   worker: RETURN (OZ_FAIL)", "D caller: RETURN (OZ_FAIL)"));
}

TEST(Call, ErrorLevelLogHasTheLineAlone) {
    tests::Trace trace(bv::log_error);
    Caller(1);
    EXPECT_THAT(trace.Lines(), ElementsAre("E worker: No shutter on camera 1"));
}

TEST(Call, SuccessShowsOutputs) {
    tests::Trace trace;
    {
        Call call("f");
        EXPECT_EQ(call.ok(arg("*hcam", 2), bv::quoted("name", "x")), 1);
    }
    {
        Call call("g");
        EXPECT_EQ(call.result(0), 0);
        EXPECT_EQ(call.result(7), 1);
    }
    {
        Call call("h");
        call.warn("%d%%", 5);
        call.info("i");
        call.debug("d");
        call.error("e");
        call.returns(arg("total", 4));
    }
    EXPECT_THAT(trace.Lines(),
                ElementsAre("D f: ENTER ()", "D f: RETURN (OZ_OK, *hcam=2, name='x')",
                            "D g: ENTER ()", "D g: RETURN (OZ_OK)", "D h: ENTER ()", "W   h: 5%",
                            "I   h: i", "D   h: d", "E   h: e", "D h: RETURN (total=4)"));
}

TEST(Call, BridgeFailuresAreReadByTheBridgeTable) {
    Call call("f");
    char message[ERROR_MSG_LEN];
    EXPECT_EQ(call.fail_bridge(BC_TIMEOUT, "Got error status from bridge FW"), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorMessage(bv::ApiGlobal::GetErrorCode(), message), 1);
    EXPECT_STREQ(message, "BC_TIMEOUT                    Timeout during transmission");
    EXPECT_EQ(call.fail_silently(C0_NULL_POINTER), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorMessage(bv::ApiGlobal::GetErrorCode(), message), 1);
    EXPECT_STREQ(message, "Input pointer is null, it must be a legal address (C0_NULL_POINTER)");
}

// What is printed is not even made without a trace.
TEST(Call, FormatsNothingWithoutATrace) {
    static int texts_made = 0;
    texts_made = 0;
    const auto text = +[](int32) -> const char* {
        ++texts_made;
        return "X";
    };
    {
        Call call("f", bv::enumerated("e", 1, text));
        call.ok(bv::enumerated("e", 1, text));
    }
    EXPECT_EQ(texts_made, 0);
    tests::Trace trace;
    {
        Call call("f", bv::enumerated("e", 1, text));
        call.ok(bv::enumerated("e", 1, text));
    }
    EXPECT_EQ(texts_made, 2);
}

}  // namespace
