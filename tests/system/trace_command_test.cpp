// orvex trace: traces of real runs, and what files may hold beside good lines.
#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/command_line.h"
#include "support/environment.h"
#include "support/temp_dir.h"

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

class TraceCommand : public testing::Test {
  protected:
    TraceCommand() : program_(folder_.path(), folder_ / "cameras.json") {
        folder_.write("cameras.json",
                      R"({"noise": false, "time_scale": 0, "scene": {"kind": "ramp"},
            "cameras": [{"model": "ccd", "name": "Loose",
                         "faults": [{"fault": "unplug", "after": 1}]},
                        {"model": "cmos", "name": "Right"}]})");
    }

    support::ProgramOutput Trace(const std::string& arguments) const {
        return program_.Run("trace " + arguments);
    }
    json Read(const std::string& content, const std::string& options = "") const {
        folder_.write("t.log", content);
        const support::ProgramOutput out = Trace("t.log --json " + options);
        EXPECT_EQ(out.status, 0) << out.text;
        return json::parse(out.text);
    }
    void RunTraced(const std::string& arguments) const {
        const support::Environment file("ORVEX_CORE_LOG_FILE", (folder_ / "t.log").string());
        program_.Run(arguments);
    }

    support::TempDir folder_;
    support::CommandLineProgram program_;
};

// A line of a trace.
std::string Line(const std::string& time, const std::string& thread, unsigned depth,
                 const std::string& message, char level = 'D') {
    return "[" + time + " COR " + thread + " " + level + "] " + std::string(2 * depth, ' ') +
           message + "\n";
}

TEST_F(TraceCommand, TellsWhyARealRunFailed) {
    RunTraced("snap Loose --frames 3 --roi 0,0,64,64 --out a.raw");
    const json all = json::parse(Trace("t.log --json --exchanges").text);
    const json& groups = all["errors"]["groups"];
    const auto abort = std::find_if(groups.begin(), groups.end(), [](const json& group) {
        return group["call"] == "ox_exp_abort" && group["outcome"] == "failed";
    });
    ASSERT_NE(abort, groups.end()) << all["errors"].dump(1);
    EXPECT_EQ((*abort)["cause_function"], "dv_cam_write_read");
    EXPECT_EQ((*abort)["error"]["name"], "42 C7_DRIVER_COM_ERROR");
    EXPECT_THAT((*abort)["road"].back()["function"], HasSubstr("ox_exp_abort"));
    EXPECT_EQ(all["trace"]["senseless_lines"], 0);
    EXPECT_TRUE(all["unended"].empty());
    EXPECT_GE(all["frames"]["runs"][0]["frames"], 1);
    // The program of the set-up, and a message that brought an answer.
    const json& operations = all["programs"][0]["operations"];
    EXPECT_TRUE(std::any_of(operations.begin(), operations.end(), [](const json& operation) {
        return operation["operation"] == "OP_EXPOSE" || operation["operation"] == "OP_EXPOSE_SCALE";
    }));
    std::map<std::string, json> replies;
    for (const json& message : all["messages"])
        for (const json& command : message["commands"])
            if (command.contains("reply")) replies[command["command"]] = command["reply"]["value"];
    EXPECT_EQ(replies["PAR_PIX_SIZE"], "13000");
    EXPECT_EQ(replies["ALPHA_SER_NUM"], "'SC1-0001'");
    EXPECT_THAT(Trace("t.log").text, AllOf(HasSubstr("Wrong\n  ox_exp_abort (hcam=0"),
                                           HasSubstr("that a camera was removed")));
}

TEST_F(TraceCommand, FlameChartNestsAndNamesItsTracks) {
    RunTraced("snap Right --roi 0,0,64,64 --out a.raw");
    ASSERT_EQ(Trace("t.log --chrome c.json").status, 0);
    EXPECT_THAT(Trace("t.log --chrome c.json").text, HasSubstr("--force replaces it"));
    std::ifstream file(folder_ / "c.json");
    const json events = json::parse(file)["traceEvents"];
    std::map<int, std::vector<std::pair<int64_t, int64_t>>> slices;
    size_t names = 0;
    for (const json& event : events) {
        if (event["ph"] == "M") ++names;
        if (event["ph"] == "X")
            slices[event["tid"]].emplace_back(
                event["ts"], event["ts"].get<int64_t>() + event["dur"].get<int64_t>());
    }
    EXPECT_EQ(names, slices.size());
    ASSERT_GE(slices.size(), 2u);
    // Inner calls are written before those around them.
    for (const auto& [thread, all] : slices)
        for (size_t i = 1; i < all.size(); ++i)
            EXPECT_TRUE(all[i].first <= all[i - 1].first || all[i].first >= all[i - 1].second);
}

// Two processes, one of which works past midnight; rubbish, a call whose end is missing, one that
// goes on at the end of the file, and a line that is cut off.
TEST_F(TraceCommand, LosesNothingGood) {
    const std::string one = "00100:00100", two = "00200:00201";
    const json all = Read(
        "[Current date: 2026-12-31]\n[235959.900000 *** 00100:00100 I] Logging started, PID 100\n" +
        Line("235959.950000", one, 0, "bv::ApiEntryLayer::ox_a: ENTER (hcam=0)") +
        "\x01\xff rubbish [235959.950000 COR 1:1 D]\n" +
        Line("000000.100000", two, 0, "bv::ApiEntryLayer::ox_b: ENTER ()") +
        Line("000000.150000", one, 1, "lost: ENTER ()") +
        Line("000000.200000", one, 0, "bv::ApiEntryLayer::ox_a: RETURN (OZ_OK) [250000us]") +
        "[000000.300000 *** 00100:00100 I] Logging stopped, PID 100, dropped 7 messages\n" +
        "[000000.400000 COR 00200:00201 D]   inner: ENT");
    EXPECT_EQ(all["trace"]["senseless_lines"], 1);
    EXPECT_EQ(all["trace"]["cut_off"], true);
    EXPECT_EQ(all["trace"]["dropped"], 7);
    EXPECT_EQ(all["trace"]["calls_without_end"], 1);
    EXPECT_EQ(all["trace"]["first"], "2026-12-31T00:00:00.100000");  // of the process without date
    EXPECT_EQ(all["trace"]["last"], "2027-01-01T00:00:00.300000");
    EXPECT_EQ(all["exported_calls"]["count"], 1);
    ASSERT_EQ(all["unended"].size(), 1u);
    EXPECT_EQ(all["unended"][0]["calls"][0]["function"], "bv::ApiEntryLayer::ox_b");
    const json& processes = all["trace"]["processes"];
    EXPECT_EQ(processes[0]["stopped"], true);
    EXPECT_EQ(processes[1]["started"], false);
}

TEST_F(TraceCommand, TimesAreOfTheCallItself) {
    const std::string thread = "00007:00007";
    const json all = Read(
        Line("100000.000000", thread, 0, "bv::ApiEntryLayer::ox_x: ENTER (hcam=2)") +
            Line("100000.000100", thread, 1, "bv::ApiExecLayer::ox_x: ENTER (hcam=2)") +
            Line("100000.000110", thread, 2, "part: ENTER ()") +
            Line("100000.000140", thread, 2, "part: RETURN () [30us]") +
            Line("100000.000150", thread, 2, "part: ENTER ()") +
            Line("100000.000190", thread, 2, "part: RETURN () [40us]") +
            Line("100000.000200", thread, 1, "bv::ApiExecLayer::ox_x: RETURN (OZ_OK) [100us]") +
            Line("100000.000200", thread, 0, "bv::ApiEntryLayer::ox_x: RETURN (OZ_OK) [205us]"),
        "--tree");
    EXPECT_EQ(all["locks"]["longest_us"], 105);
    EXPECT_EQ(all["locks"]["longest_in"], "ox_x");
    const json& own = all["slowest"]["by_own_time"];
    EXPECT_EQ(own[0]["function"], "part");
    EXPECT_EQ(own[0]["own_us"], 70);
    EXPECT_EQ(own[0]["longest_us"], 40);
    EXPECT_EQ(own[1]["own_us"], 30);
    ASSERT_EQ(all["tree"].size(), 1u);
    const json& tree = all["tree"][0];
    EXPECT_EQ(tree["total_us"], 205);
    EXPECT_EQ(tree["own_us"], 135);
    ASSERT_EQ(tree["calls"].size(), 1u);
    EXPECT_EQ(tree["calls"][0]["count"], 2);
}

// An error that a function made nothing of is told apart from the one that failed the call.
TEST_F(TraceCommand, FollowsErrorsOutwards) {
    const std::string thread = "00007:00007";
    const auto line = [&](unsigned depth, const std::string& text, char level = 'D') {
        return Line("100000.000000", thread, depth, text, level);
    };
    const json all =
        Read(line(0, "bv::ApiEntryLayer::ox_x: ENTER (hcam=2)") + line(1, "try: ENTER ()") +
             line(2, "try: not there", 'E') + line(1, "try: RETURN (OZ_FAIL) [1us]") +
             line(1, "middle: ENTER (a=1)") + line(2, "deep: ENTER ()") +
             line(3, "deep: it broke", 'E') +
             line(3, "bv::ApiGlobal::SetErrorCode: ENTER (openMode=X(0), errorCode=14)") +
             line(3, "bv::ApiGlobal::SetErrorCode: RETURN () [0us]") +
             line(2, "deep: RETURN (OZ_FAIL) [1us]") + line(2, "middle: no good", 'E') +
             line(1, "middle: RETURN (OZ_FAIL) [3us]") +
             line(0, "bv::ApiEntryLayer::ox_x: RETURN (OZ_FAIL) [9us]"));
    const json& groups = all["errors"]["groups"];
    ASSERT_EQ(groups.size(), 2u) << groups.dump(1);
    EXPECT_EQ(groups[0]["outcome"], "overlooked");
    EXPECT_EQ(groups[0]["cause"], "not there");
    EXPECT_EQ(groups[1]["outcome"], "failed");
    EXPECT_EQ(groups[1]["cause"], "it broke");
    EXPECT_EQ(groups[1]["error"]["name"], "14 C0_CAM_NAME_NOT_FOUND");
    ASSERT_EQ(groups[1]["road"].size(), 3u);
    EXPECT_EQ(groups[1]["road"][1]["text"], "no good");
    EXPECT_EQ(groups[1]["road"][2]["arguments"], "hcam=2");
}

TEST_F(TraceCommand, MeasuresFrames) {
    const std::string thread = "00007:00009";
    std::string text = Line("100000.000000", thread, 0, "bv::EventNotifier::Run: ENTER (hcam=3)");
    const std::vector<std::pair<int, int>> frames = {{1, 10},  {2, 20},  {3, 30},  {4, 40},
                                                     {7, 140}, {8, 150}, {1, 400}, {2, 410}};
    for (const auto& [number, ms] : frames) {
        const std::string time = "100000." + std::to_string(1000 + ms).substr(1) + "000";
        text += Line(time, thread, 1,
                     "bv::EventNotifier::DispatchAll: ENTER (flags=NOTIFICATION_EOF(0x00000008), "
                     "FrameNr=" +
                         std::to_string(number) + ")") +
                Line(time, thread, 1, "bv::EventNotifier::DispatchAll: RETURN () [5us]");
    }
    const json runs = Read(text)["frames"]["runs"];
    ASSERT_EQ(runs.size(), 2u);
    EXPECT_EQ(runs[0]["camera"], "3");
    EXPECT_EQ(runs[0]["frames"], 6);
    EXPECT_EQ(runs[0]["missing"], 2);
    EXPECT_NEAR(runs[0]["frames_per_second"], 5 / 0.14, 0.01);
    EXPECT_NEAR(runs[0]["interval_us"]["median"], 10000, 500);
    ASSERT_EQ(runs[0]["gaps"].size(), 1u);
    EXPECT_EQ(runs[0]["gaps"][0]["us"], 100000);
    EXPECT_EQ(runs[0]["losses"][0]["before_frame"], 7);
}

TEST_F(TraceCommand, DecodesMessagesByTheProtocol) {
    const std::string thread = "00007:00007", execute = "bv::HostCommandMessage::Execute: ";
    const auto line = [&](unsigned depth, const std::string& text) {
        return Line("100000.000000", thread, depth, execute + text);
    };
    const json message =
        Read(line(0, "ENTER (hcam=1)") +
                 line(1,
                      "SEND_BUF    : [0x26](CLEAR_STAT_BUF),[0x2D](OLD_NAME,W:2B-BigEndian),"
                      "[0x01,0x02],[0xFE](?,R:1B-Raw),[0x28](SEND_STAT_BUF),[0x00,0x01]") +
                 line(1, "RECV_BUF    : [0x07](unknown 254,ERR:0x05)") +
                 line(0, "RETURN (OZ_FAIL) [4us]"),
             "--exchanges")["messages"][0];
    EXPECT_EQ(message["failed"], true);
    ASSERT_EQ(message["commands"].size(), 2u);
    EXPECT_EQ(message["commands"][0]["command"], "SET_TEMP");
    EXPECT_EQ(message["commands"][0]["sent"]["value"], "258");
    EXPECT_EQ(message["commands"][1]["reply"]["value"], "07");
    EXPECT_EQ(message["commands"][1]["status"], "0x05");
}

struct Mistake {
    const char* arguments;
    int status;
    const char* answer;
};
class WrongTrace : public TraceCommand, public testing::WithParamInterface<Mistake> {};

TEST_P(WrongTrace, IsAnsweredWithWhatIsPossible) {
    folder_.write("empty", "");
    folder_.write("prose", "Dear reader,\nthis is no trace.\n");
    folder_.write("t.log",
                  Line("100000.000000", "00007:00007", 0,
                       "bv::ApiEntryLayer::ox_cam_open: ENTER (cam_name=Left, hcam=0x00)") +
                      Line("100000.000001", "00007:00007", 0,
                           "bv::ApiEntryLayer::ox_cam_open: RETURN (OZ_OK, *hcam=4) [1us]"));
    const support::ProgramOutput out = Trace(GetParam().arguments);
    EXPECT_EQ(out.status, GetParam().status);
    EXPECT_THAT(out.text, HasSubstr(GetParam().answer));
}

INSTANTIATE_TEST_SUITE_P(
    Mistakes, WrongTrace,
    testing::Values(Mistake{"nothing", 1, "cannot read 'nothing': No such file"},
                    Mistake{".", 1, "it is a folder"}, Mistake{"empty", 1, "'empty' is empty"},
                    Mistake{"prose", 1, "none of its 2 lines is a record"},
                    Mistake{"t.log --call ox_cam_opne", 2, "did you mean ox_cam_open?"},
                    Mistake{"t.log --thread x", 2, "PROCESS:THREAD"},
                    Mistake{"t.log --thread 8", 2, "there are 7:7"},
                    Mistake{"t.log --camera Lost", 2, "opened was Left"},
                    Mistake{"t.log --levels 2", 2, "--tree"},
                    Mistake{"t.log --camera Left", 0, "1 of the interface"}));

}  // namespace
