#include <gmock/gmock.h>

#include "support/core/trace_capture.h"

#include "rich_camera.h"

using support::TraceCapture;

namespace {

std::string TextOf(uns32 id, uns32 index, int32& value) {
    char text[300];
    std::memset(text, '?', sizeof text);
    EXPECT_EQ(bv_get_enum_param(0, id, index, &value, text, sizeof text), 1);
    return text;
}

// "value text, value text, ..." as an application lists it.
std::string ListOf(uns32 id) {
    std::string list;
    const uns32 count = Get<uns32>(id, ATTR_COUNT);
    for (uns32 index = 0; index < count; ++index) {
        int32 value = -1;
        const std::string text = TextOf(id, index, value);
        uns32 length = 0;
        EXPECT_EQ(bv_enum_str_length(0, id, index, &length), 1);
        EXPECT_EQ(length, text.size() + 1);
        list += (index ? ", " : "") + std::to_string(value) + " " + text;
    }
    return list;
}

}  // namespace

TEST(Enumerations, Lists) {
    RichCamera camera;
    const std::pair<uns32, const char*> lists[] = {
        {PARAM_EXP_RES, "0 One Millisecond, 1 One Microsecond, 2 One Second"},
        {PARAM_BOF_EOF_ENABLE, "0 No Bof or Eof, 1 Bof Only, 2 Eof Only, 3 Bof and Eof"},
        {PARAM_SHTR_OPEN_MODE,
         "0 Never, 1 Pre-Exposure, 2 Pre-Sequence, 3 Pre-Trigger, 4 Do Not Change"},
        {PARAM_SHTR_STATUS, "0 Fault, 1 Opening, 2 Open, 3 Closing, 4 Closed, 5 Unknown"},
        {PARAM_IO_TYPE, "0 TTL Port, 1 DAC Port"},
        {PARAM_IO_DIRECTION, "0 Input Only, 1 Output Only, 2 Input/Output"},
        {PARAM_COOLING_MODE, "0 Air or Water, 1 Cryogenic, 2 No cooling"},
        {PARAM_MPP_CAPABLE, "0 Unknown, 1 Off, 2 On, 3 Selectable"},
        {PARAM_COLOR_MODE, "0 Grayscale, 2 Color (RGGB), 4 Color (GBRG)"},
        {PARAM_FAN_SPEED_SETPOINT, "0 High, 2 Low, 3 Off"},
        {PARAM_EXPOSURE_MODE, "2304 Edge, 1792 Internal"},
        {PARAM_EXPOSE_OUT_MODE, "2 Any Row, 0 First Row"},
        {PARAM_BINNING_SER, "1 1x1, 2 2x2, 4 4x8"},
        {PARAM_BINNING_PAR, "1 1x1, 2 2x2, 8 4x8"},
        {PARAM_CENTROIDS_MODE, "0 Locate, 1 Track"},
        {PARAM_CENTROIDS_BG_COUNT, "10 10, 50 50"},
        {PARAM_TRIGTAB_SIGNAL, "0 Expose Out, 6 Other"},
        {PARAM_FRAME_DELIVERY_MODE, "0 Max FPS, 1 Constant"},
        {PARAM_CLEAR_MODE, "2 Pre-Sequence, 4 Pre- and Post-Sequence"},
        {PARAM_PMODE, "1 Frame Transfer, 5 Alternate Frame Transfer"},
        {PARAM_READOUT_PORT, "0 Multiplication Gain, 1 Normal"},
        {PARAM_CAM_INTERFACE_MODE, "1 Control only, 2 Imaging"},
    };
    for (const auto& [id, expected] : lists) {
        EXPECT_EQ(ListOf(id), expected) << bv_text_param_id(id);
    }
}

TEST(Enumerations, InterfaceTypesAreNamedByValue) {
    RichCamera camera;
    const std::vector<std::pair<uns32, std::string>> names = {
        {256, "1394"},     {257, "1394A"},     {258, "1394B"},    {512, "USB"},
        {513, "USB 1.1"},  {514, "USB 2.0"},   {515, "USB 3.0"},  {516, "USB 3.1"},
        {1024, "PCI"},     {1025, "PCI LVDS"}, {2048, "PCIe"},    {2049, "PCIe LVDS"},
        {2050, "PCIe X1"}, {2051, "PCIE X4"},  {4096, "Virtual"}, {8192, "Ethernet"},
        {0, "Unknown"},    {3, "Unknown"},
    };
    camera.reads().ifc_total = 1;
    for (const auto& [type, name] : names) {
        camera.reads().ifc_types[0] = type;
        EXPECT_EQ(ListOf(PARAM_CAM_INTERFACE_TYPE), std::to_string(type) + " " + name);
    }
    // More than the row has room for.
    camera.reads().ifc_total = 200;
    EXPECT_EQ(Get<uns32>(PARAM_CAM_INTERFACE_TYPE, ATTR_COUNT), 8u);
}

TEST(Enumerations, IndexOutOfRange) {
    RichCamera camera;
    TraceCapture trace;
    int32 value = 7;
    char text[8];
    EXPECT_EQ(bv_get_enum_param(0, PARAM_COLOR_MODE, 3, &value, text, sizeof text), 0);
    EXPECT_TRUE(trace.failed_with(C2_INDEX_OUT_OF_RANGE, "Index 3 out of range, max. is 3"));
    EXPECT_EQ(value, 7);
}

TEST(Enumerations, TextsAreCutToTheirRoom) {
    RichCamera camera;
    for (uns32 length : {1u, 2u, 5u, 9u, 10u}) {
        char text[16];
        std::memset(text, '?', sizeof text);
        int32 value = -1;
        EXPECT_EQ(bv_get_enum_param(0, PARAM_COLOR_MODE, 0, &value, text, length), 1);
        EXPECT_EQ(std::string(text), std::string("Grayscale").substr(0, length - 1));
        EXPECT_EQ(text[length], '?');
    }
    uns32 needed = 0;
    EXPECT_EQ(bv_enum_str_length(0, PARAM_COLOR_MODE, 0, &needed), 1);
    EXPECT_EQ(needed, 10u);
}

TEST(Enumerations, MissingOutputs) {
    RichCamera camera;
    TraceCapture trace;
    EXPECT_EQ(oz_get_enum_value(0, PARAM_COLOR_MODE, 0, nullptr), 0);
    EXPECT_TRUE(trace.failed_with(C0_NULL_POINTER, "Null storage for value given"));
    EXPECT_EQ(oz_get_enum_string(0, PARAM_COLOR_MODE, 0, 0, 0, nullptr, nullptr), 0);
    EXPECT_TRUE(trace.failed_with(C0_NULL_POINTER,
                                  "Either desc with length or max_length has to be valid"));
    int32 value = -1;
    EXPECT_EQ(bv_get_enum_param(0, PARAM_COLOR_MODE, 1, &value, nullptr, 4), 1);
    EXPECT_EQ(value, 2);
    EXPECT_TRUE(trace.contains("bv_get_enum_param: RETURN (OZ_OK, *value=2, desc=<null>)"));
    char text[4] = "abc";
    EXPECT_EQ(oz_get_enum_string(0, PARAM_COLOR_MODE, 0, 0, 0, text, nullptr), 1);
    EXPECT_STREQ(text, "abc");
}

TEST(Enumerations, ParametersThatAreNone) {
    RichCamera camera;
    TraceCapture trace;
    int32 value = -1;
    char text[8];
    // A number has a count too, but no texts.
    EXPECT_EQ(bv_get_enum_param(0, PARAM_SERIAL_NUM, 0, &value, text, sizeof text), 0);
    EXPECT_TRUE(trace.failed_with(C2_NOT_AVAILABLE, "Unhandled parameter"));
    EXPECT_EQ(bv_get_enum_param(0, 0x12345678, 0, &value, text, sizeof text), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C2_NOT_AVAILABLE);
    // A value outside a fixed list has the empty text.
    EXPECT_EQ(oz_get_enum_string(0, PARAM_IO_TYPE, 0, 9, sizeof text, text, nullptr), 1);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(oz_get_enum_string(0, PARAM_CAM_INTERFACE_MODE, 0, 9, sizeof text, text, nullptr), 1);
    EXPECT_STREQ(text, "Unknown");
}

TEST(Enumerations, MembershipInAContainer) {
    TraceCapture trace;
    nvp_container container;
    oz_add_nvp_to_container(&container, "Zero", 0);
    oz_add_nvp_to_container(&container, "Top", 65535);
    EXPECT_EQ(oz_is_enum_value_in_nvp(0, &container), 1);
    EXPECT_TRUE(trace.contains("oz_is_enum_value_in_nvp: RETURN (TRUE ('Zero'))"));
    EXPECT_EQ(oz_is_enum_value_in_nvp(65535, &container), 1);
    for (int32 absent : {1, 65536, -1}) EXPECT_EQ(oz_is_enum_value_in_nvp(absent, &container), 0);
    EXPECT_EQ(oz_is_enum_value_in_nvp(0, nullptr), 0);
    EXPECT_TRUE(trace.contains("oz_is_enum_value_in_nvp: RETURN (FALSE)"));
}
