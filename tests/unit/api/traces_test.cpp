#include <functional>
#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "orvex/orvex.h"

#include "api/api_entry_layer.h"
#include "log/log.h"
#include "support/core/test_camera.h"
#include "support/core/trace_capture.h"

// What a traced operation shows on its two layers.
namespace {

using testing::HasSubstr;
using testing::Not;

// Records of the two layers alone, without their common prefix.
std::vector<std::string> LayerRecords(support::TraceCapture& trace) {
    std::vector<std::string> records;
    for (const std::string& message : trace.messages()) {
        if (message.starts_with("bv::Api") && !message.starts_with("bv::ApiGlobal")) {
            records.push_back(message.substr(std::string("bv::Api").size()));
        }
    }
    return records;
}

struct TracedCall {
    std::string name;
    std::function<void()> call;
    std::vector<std::string> records;
};

// What one layer shows of a call.
struct Layer {
    std::string name, arguments, result;
};

std::vector<std::string> Nested(const Layer& entry, const Layer& exec) {
    return {"EntryLayer::" + entry.name + ": ENTER (" + entry.arguments + ")",
            "ExecLayer::" + exec.name + ": ENTER (" + exec.arguments + ")",
            "ExecLayer::" + exec.name + ": RETURN (" + exec.result + ")",
            "EntryLayer::" + entry.name + ": RETURN (" + entry.result + ")"};
}
std::vector<std::string> Nested(const std::string& name, const std::string& arguments,
                                const std::string& result) {
    return Nested({name, arguments, result}, {name, arguments, result});
}

std::string Address(const void* pointer) {
    return bv::FormatPointer(pointer);
}

int16 number = 0;
int32 value = 0;
uns16 word = 0;
char text[256];
char firmware_text[] = "?";

const std::string parameter_write =
    "hcam=0, param_id=PARAM_CLEAR_CYCLES(0x06020061), param_value=" + Address(&word);
const std::string write_read = "hcam=0, c_class=63, write_bytes=0, write_array=";

const TracedCall traced_calls[] = {
    {"text_output", [] { ox_cam_get_name(0, text); },
     Nested("ox_cam_get_name", "cam_num=0, cam_name=" + Address(text),
            "OZ_OK, cam_name='Camera 0'")},
    {"parameter_read", [] { ox_get_param(0, PARAM_SER_SIZE, ATTR_CURRENT, &word); },
     Nested("ox_get_param",
            "hcam=0, param_id=PARAM_SER_SIZE(0x0602003a), param_attribute=ATTR_CURRENT(0), "
            "param_value=" +
                Address(&word),
            "OZ_OK, *param_value=<see nested calls>")},
    {"parameter_write",
     [] {
         word = 3;
         ox_set_param(0, PARAM_CLEAR_CYCLES, &word);
     },
     Nested({"ox_set_param", parameter_write, "OZ_OK, *param_value=<see nested calls>"},
            {"ox_set_param", parameter_write, "OZ_OK"})},
    {"enumerated_entry",
     [] { ox_get_enum_param(0, PARAM_SHTR_OPEN_MODE, 4, &value, text, sizeof text); },
     Nested("ox_get_enum_param",
            "hcam=0, param_id=PARAM_SHTR_OPEN_MODE(0x09020209), index=4, value=" + Address(&value) +
                ", desc=" + Address(text) + ", length=256",
            "OZ_OK, *value=4, desc=Do Not Change")},
    {"enumerated_entry_without_text",
     [] { ox_get_enum_param(0, PARAM_SHTR_OPEN_MODE, 0, &value, nullptr, 9); },
     Nested("ox_get_enum_param",
            "hcam=0, param_id=PARAM_SHTR_OPEN_MODE(0x09020209), index=0, value=" + Address(&value) +
                ", desc=" + Address(nullptr) + ", length=9",
            "OZ_OK, *value=0, desc=<null>")},
    {"deprecated_without_blank", [] { ox_spdtab_get_entries(0, &number); },
     Nested("ox_spdtab_get_entries", "[DEPRECATED]hcam=0, spdtab_entries=" + Address(&number),
            "OZ_OK, *spdtab_entries=2")},
    {"other_word_for_the_output", [] { ox_spdtab_get_max_gain(0, &number); },
     Nested("ox_spdtab_get_max_gain", "[DEPRECATED] hcam=0, spdtab_max_gain=" + Address(&number),
            "OZ_OK, *spd_max_gain=3")},
    {"error_code_is_set_under_two_forms", [] { oz_set_error_code(EXT_OPEN_FW_UPDATE, 5); },
     Nested({"oz_set_error_code", "[DEPRECATED] omode=EXT_OPEN_FW_UPDATE(1), err_code=5", "OZ_OK"},
            {"oz_set_error_code", "omode=EXT_OPEN_FW_UPDATE(1), err_code=5", "OZ_OK"})},
    {"init_seq_goes_on_as_uninit_seq", [] { ox_exp_init_seq(); },
     Nested({"ox_exp_init_seq", "[DEPRECATED]", "OZ_OK"},
            {"ox_exp_uninit_seq", "[DEPRECATED]", "OZ_OK"})},
    {"write_read_goes_on_under_the_older_name",
     [] { bv_cam_write_read(0, 63, 0, firmware_text, nullptr); },
     Nested({"bv_cam_write_read",
             "[DEPRECATED] " + write_read + Address(firmware_text) +
                 ", read_array=" + Address(nullptr),
             "OZ_FAIL"},
            {"oz_cam_write_read",
             "[DEPRECATED] " + write_read + Address(firmware_text) +
                 ", read_array=" + Address(nullptr),
             "OZ_FAIL"})},
    {"bridge_command_without_signs", [] { oz_bridge_command(0, 1, 200, 2, nullptr, 0, nullptr); },
     Nested("oz_bridge_command",
            "hcam=0, node_id=1, bridge_command=<UNKNOWN>(200), send_data_length=2, send_data=" +
                Address(nullptr) + ", recv_data_length=0, recv_data=" + Address(nullptr),
            "OZ_FAIL")},
};

TEST(Traces, ShowArgumentsAndResults) {
    for (const auto& [name, call, records] : traced_calls) {
        support::TestCamera camera;
        camera.firmware().reply(SPD_MAX_GAIN, 1, 3);
        support::TraceCapture trace;
        call();
        EXPECT_EQ(LayerRecords(trace), records) << name;
    }
}

// A handle that prints without a sign is as wide as any other such number.
TEST(Traces, ShowABadHandleOfABridgeCommandInFull) {
    support::TraceCapture trace;
    EXPECT_FALSE(ox_internal_bridge_command(-1, 0, 0, 0, nullptr, 0, nullptr));
    EXPECT_THAT(LayerRecords(trace)[0], HasSubstr("ENTER (hcam=4294967295, node_id=0, "));
}

}  // namespace
