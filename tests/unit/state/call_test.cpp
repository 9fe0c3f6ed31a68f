#include "state/call.h"

#include <gmock/gmock.h>

#include "unit/log/collected_log.h"

using bv::arg;
using bv::Call;
using testing::ElementsAre;

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
