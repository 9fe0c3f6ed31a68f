#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "orvex/view/event_log.h"
#include "orvex/view/frame_board.h"
#include "orvex/view/program_trace.h"
#include "orvex/view/rate.h"

namespace orvex::view {
namespace {

using namespace std::chrono_literals;

TEST(FrameBoard, ASlowReaderGetsTheNewestAndNoQueue) {
    FrameBoard board;
    EXPECT_EQ(board.after(0, 1ms), nullptr);
    for (uint32_t number = 1; number <= 5; ++number) {
        std::shared_ptr<Frame> frame = board.blank();
        frame->number = number;
        board.show(std::move(frame));
    }
    const auto newest = board.after(2, 0ms);
    ASSERT_TRUE(newest);
    EXPECT_EQ(newest->number, 5u);
    EXPECT_EQ(newest->serial, 5u);
    EXPECT_EQ(board.after(5, 1ms), nullptr);
    // A frame that somebody reads is not filled anew.
    EXPECT_NE(board.blank().get(), newest.get());
}

TEST(FrameBoard, WakesWhoWaits) {
    FrameBoard board;
    uint32_t seen = 0;
    std::thread reader([&] { seen = board.after(0, 10s)->number; });
    while (!board.wanted()) std::this_thread::yield();
    std::shared_ptr<Frame> frame = board.blank();
    frame->number = 7;
    board.show(std::move(frame));
    reader.join();
    EXPECT_EQ(seen, 7u);
    EXPECT_FALSE(board.wanted());
    std::thread waiting([&] { board.after(1, 10s); });
    while (!board.wanted()) std::this_thread::yield();
    board.close();
    waiting.join();
}

TEST(EventLog, TellsWhatAPageHasNotSeen) {
    EventLog log;
    for (int i = 1; i <= 500; ++i) log.add(Weight::notice, std::to_string(i));
    const nlohmann::json all = log.after(0);
    EXPECT_EQ(all["last"], 500);
    EXPECT_EQ(all["lines"].size(), 400u);
    EXPECT_EQ(all["lines"][0]["text"], "101");
    EXPECT_EQ(log.after(499)["lines"].size(), 1u);
    EXPECT_EQ(log.after(500)["lines"].size(), 0u);
    // Of a server that was there before.
    EXPECT_EQ(log.after(9999)["lines"].size(), 400u);
}

TEST(ProgramTrace, ReadsTheProgramOfTheLastSetUp) {
    EventLog log;
    ProgramTrace trace(log);
    const std::string front = "[033333.093124 COR 03249:03249 D] ";
    const auto load = [&](const std::string& operation) {
        trace.take_line(front + "        bv_script_load_op: ENTER (op=" + operation + ")");
    };
    const std::string set_up = "bv::ApiEntryLayer::ox_exp_setup_cont: ";
    trace.take_line(front + set_up + "ENTER (hcam=0)");
    load("OP_DO_LOOP(1), arg=3");
    load("OP_EXPOSE(4), arg=10");
    load("OP_END_DO(2), arg=0");
    EXPECT_EQ(trace.revision(), 0u);
    trace.take_line(front + set_up + "RETURN (OZ_OK) [134us]");
    EXPECT_EQ(trace.revision(), 1u);
    const nlohmann::json rows = trace.program()["operations"];
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[1],
              nlohmann::json({{"operation", "OP_EXPOSE"}, {"argument", 10}, {"depth", 1}}));
    EXPECT_EQ(rows[2]["depth"], 0);
    // An equal set-up loads nothing, and the program stays.
    trace.take_line(front + set_up + "RETURN (OZ_OK) [4us]");
    EXPECT_EQ(trace.program()["operations"].size(), 3u);
    // Calls and errors are for the log; what a run repeats for each frame is not.
    trace.take_line("[033333.100000 COR 00001:00001 E]     bv_open: no answer");
    trace.take_line(
        "[033333.100000 COR 00001:00001 E]   bv_exp_get_oldest_frame: Frame number 0 returned");
    trace.take_line("no line of a trace");
    const nlohmann::json lines = log.after(0)["lines"];
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0]["text"], "ox_exp_setup_cont: OZ_OK [134us]");
    EXPECT_EQ(lines[2]["weight"], "error");
}

TEST(Rate, ForgetsWhatIsLongAgo) {
    Rate rate;
    Rate::Clock::time_point now{};
    for (uint32_t frame = 0; frame <= 50; ++frame) rate.note(frame, now += 100ms);
    EXPECT_NEAR(rate.per_second(now), 10, 0.01);
    for (uint32_t frame = 51; frame <= 450; ++frame) rate.note(frame, now += 10ms);
    EXPECT_NEAR(rate.per_second(now), 100, 0.01);
    EXPECT_LT(rate.per_second(now + 20s), 10);
    rate.reset();
    EXPECT_EQ(rate.per_second(now), 0);
}

}  // namespace
}  // namespace orvex::view
