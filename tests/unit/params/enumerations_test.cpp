#include <string>

#include "rich_camera.h"

class Enumerations : public RichCameraTest {};

namespace {

// "value text, value text, ..." as an application lists it.
std::string ListOf(uns32 id) {
    std::string list;
    const uns32 count = Get<uns32>(id, ATTR_COUNT);
    for (uns32 index = 0; index < count; ++index) {
        int32 value = -1;
        char text[64] = {};
        EXPECT_EQ(bv_get_enum_param(0, id, index, &value, text, sizeof text), 1);
        list += (index ? ", " : "") + std::to_string(value) + " " + text;
    }
    return list;
}

}  // namespace

// The other lists are those of the software cameras, which have no colour and few interfaces.
TEST_F(Enumerations, Lists) {
    EXPECT_EQ(ListOf(PARAM_COLOR_MODE), "0 Grayscale, 2 Color (RGGB), 4 Color (GBRG)");
    cam_reads_type& reads = camera_.reads();
    reads.ifc_total = 8;
    reads.ifc_types = {256, 257, 258, 512, 513, 514, 515, 516};
    EXPECT_EQ(ListOf(PARAM_CAM_INTERFACE_TYPE),
              "256 1394, 257 1394A, 258 1394B, 512 USB, 513 USB 1.1, 514 USB 2.0, 515 USB 3.0, "
              "516 USB 3.1");
    reads.ifc_types = {1024, 1025, 2048, 2049, 2050, 2051, 4096, 8192};
    EXPECT_EQ(ListOf(PARAM_CAM_INTERFACE_TYPE),
              "1024 PCI, 1025 PCI LVDS, 2048 PCIe, 2049 PCIe LVDS, 2050 PCIe X1, 2051 PCIE X4, "
              "4096 Virtual, 8192 Ethernet");
    reads.ifc_types = {0, 3};
    reads.ifc_total = 2;
    EXPECT_EQ(ListOf(PARAM_CAM_INTERFACE_TYPE), "0 Unknown, 3 Unknown");
    // More than the row has room for.
    reads.ifc_total = 200;
    EXPECT_EQ(Get<uns32>(PARAM_CAM_INTERFACE_TYPE, ATTR_COUNT), 8u);
}

TEST_F(Enumerations, ParametersThatAreNone) {
    int32 value = -1;
    char text[8];
    // A number has a count too, but no texts.
    EXPECT_TRUE(trace_.refused(bv_get_enum_param(0, PARAM_SERIAL_NUM, 0, &value, text, sizeof text),
                               C2_NOT_AVAILABLE, "Unhandled parameter"));
    // A value outside a fixed list has the empty text.
    EXPECT_EQ(oz_get_enum_string(0, PARAM_IO_TYPE, 0, 9, sizeof text, text, nullptr), 1);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(oz_get_enum_string(0, PARAM_CAM_INTERFACE_MODE, 0, 9, sizeof text, text, nullptr), 1);
    EXPECT_STREQ(text, "Unknown");
}
