#include <chrono>
#include <gmock/gmock.h>
#include <thread>

#include "log/argument.h"
#include "log/log.h"

#include "unit/log/collected_log.h"

using bv::LogScope;
using testing::ElementsAre;

namespace {

TEST(Scope, NestsByThread) {
    tests::Trace trace;
    {
        LogScope outer(trace.log(), "COR", "outer");
        outer.Enter("hcam=0");
        {
            LogScope inner(trace.log(), "COR", "inner");
            inner.Enter("");
            inner.Line(bv::log_warning, "odd %d", 7);
            inner.SetResult("OZ_FAIL");
        }
        std::thread([&] {
            LogScope other(trace.log(), "COR", "other");
            other.Enter("");
        }).join();
        outer.SetResult("replaced");
        outer.SetResult("OZ_OK");
    }
    EXPECT_THAT(trace.Lines(),
                ElementsAre("D outer: ENTER (hcam=0)", "D   inner: ENTER ()", "W     inner: odd 7",
                            "D   inner: RETURN (OZ_FAIL)", "D other: ENTER ()",
                            "D other: RETURN ()", "D outer: RETURN (OZ_OK)"));
}

TEST(Scope, TellsItsDurationInMicroseconds) {
    tests::Trace trace;
    constexpr auto pause = std::chrono::milliseconds(3);
    const auto start = std::chrono::steady_clock::now();
    {
        LogScope scope(trace.log(), "COR", "slow");
        scope.Enter("");
        std::this_thread::sleep_for(pause);
        scope.SetResult("OZ_OK");
    }
    const std::string message = trace.Entries().back().message;
    long long duration = -1;
    ASSERT_EQ(std::sscanf(message.c_str(), "slow: RETURN (OZ_OK) [%lldus]", &duration), 1);
    const auto passed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(duration, 3000);
    EXPECT_LE(std::chrono::microseconds(duration), passed);
}

const char* TextOfNumber(int32_t value) {
    return value == 3 ? "THREE" : "<UNKNOWN>";
}

TEST(Arguments, PrintByTheirType) {
    using bv::arg;
    int object = 0;
    const std::string address = bv::FormatPointer(&object);
    EXPECT_EQ(bv::JoinArguments(), "");
    EXPECT_EQ(bv::JoinArguments(arg("a", int16_t{-1}), arg("b", uint8_t{200}),
                                arg("c", uint64_t{18446744073709551615u})),
              "a=-1, b=200, c=18446744073709551615");
    EXPECT_EQ(bv::JoinArguments(arg("p", &object), arg("n", nullptr)),
              "p=" + address + ", n=0x0000000000000000");
    EXPECT_EQ(bv::JoinArguments(arg("s", "text"), arg("z", static_cast<const char*>(nullptr)),
                                bv::quoted("q", "x"), bv::quoted("r", nullptr)),
              "s=text, z=<null>, q='x', r='<null>'");
    EXPECT_EQ(bv::JoinArguments(arg("t", true), arg("f", false), arg("d", 1.5)),
              "t=TRUE, f=FALSE, d=1.500000");
    EXPECT_EQ(bv::JoinArguments(bv::words("OZ_OK"), bv::enumerated("e", int16_t{3}, TextOfNumber),
                                bv::hex_enumerated("h", 0xABCDu, TextOfNumber)),
              "OZ_OK, e=THREE(3), h=<UNKNOWN>(0x0000abcd)");
}

}  // namespace
