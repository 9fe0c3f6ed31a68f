#include <ctime>
#include <gtest/gtest.h>

#include "log/log.h"
#include "support/environment.h"

using bv::Log;

namespace {

class Line : public testing::Test {
  protected:
    Line() {
        support::set_variable("TZ", "UTC0");
        tzset();
    }

    static std::string Of(const char* group, int32_t level, uint16_t indent, std::string message,
                          uint32_t process = 1234, uint32_t thread = 5678, int64_t ticks = moment) {
        Log::Entry entry(group, level, indent, std::move(message));
        entry.processId = process;
        entry.threadId = thread;
        entry.ticks = ticks;
        entry.Format();
        return entry.text;
    }

    // 2023-11-14 22:13:20.123456 UTC, in units of 100 ns; the last digit is cut off.
    static constexpr int64_t moment = 1'700'000'000'123'456'7;
};

TEST_F(Line, HasAllItsParts) {
    EXPECT_EQ(Of("COR", 3, 2, "bv_cam_open: ENTER (hcam=0)"),
              "[221320.123456 COR 01234:05678 D]     bv_cam_open: ENTER (hcam=0)");
    EXPECT_EQ(Of("COR", 0, 0, "x", 7, 4194304), "[221320.123456 COR 00007:4194304 E] x");

    EXPECT_EQ(Of("COR", 2, 0, "x", 1, 1, 17'000'000'009'999'999),
              "[221320.999999 COR 00001:00001 I] x");
    EXPECT_EQ(Of("COR", 2, 0, "x", 1, 1, 17'000'000'010'000'010),
              "[221321.000001 COR 00001:00001 I] x");

    EXPECT_EQ(Of(nullptr, -1, 0, ""), "[221320.123456 ??? 01234:05678 ?] ");
    EXPECT_EQ(Of("", 4, 0, ""), "[221320.123456 ??? 01234:05678 ?] ");
    EXPECT_EQ(Of("***", 1, 0, ""), "[221320.123456 *** 01234:05678 W] ");

    EXPECT_EQ(Of("COR", 3, 0, "\na\n\nb\n"),
              "[221320.123456 COR 01234:05678 D] <\\n>a<\\n><\\n>b<\\n>");
}

TEST_F(Line, DateIsLocal) {
    EXPECT_EQ(bv::FormatDate(moment), "2023-11-14");
    support::set_variable("TZ", "XYZ-2");
    tzset();
    EXPECT_EQ(bv::FormatDate(moment), "2023-11-15");
}

TEST(Text, OfNumbersAndErrors) {
    const std::string text(100'000, 'x');
    EXPECT_EQ(bv::FormatText("%s", text.c_str()), text);

    EXPECT_EQ(bv::FormatPointer(reinterpret_cast<void*>(uintptr_t{0x7F00ABCD1234})),
              "0x00007F00ABCD1234");

    EXPECT_FALSE(bv::GetSystemErrorText(2).empty());
    EXPECT_EQ(bv::GetSystemErrorText(0x7FFFFFFF), "Unknown error");
}

}  // namespace
