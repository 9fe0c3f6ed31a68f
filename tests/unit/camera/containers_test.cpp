#include "camera/containers.h"

#include <gmock/gmock.h>
#include <string>

#include "support/core/camera_test.h"

using support::Bytes;
using support::hex;
using testing::ElementsAre;

namespace {

class ContainersTest : public support::CameraTest<> {
  protected:
    boolean16 Append(const Bytes& list) {
        camera_.firmware().reply(GET_FAN_SPEEDS_SIZE, 4, list.size()).reply(GET_FAN_SPEEDS, list);
        return oz_cam_append_nvp_container(hcam, &container_, GET_FAN_SPEEDS_SIZE);
    }

    // A list of `count` items, the first of which has this name.
    static Bytes List(uns16 count, const std::string& name) {
        Bytes list = support::big_endian(count, 2);
        for (uns16 i = 0; i < count; ++i) {
            const Bytes value = support::big_endian(i, 2);
            list.insert(list.end(), value.begin(), value.end());
            const std::string text = i == 0 ? name : "x";
            list.insert(list.end(), text.begin(), text.end());
            list.push_back(0);
        }
        return list;
    }

    nvp_container container_;
};

TEST_F(ContainersTest, AppendsTheCamerasList) {
    ASSERT_EQ(oz_add_nvp_to_container(&container_, "first", 9), 1);
    EXPECT_EQ(Append(hex("0002 0003 4C6F7700 FFFE 00")), 1);
    EXPECT_THAT(camera_.writes(),
                ElementsAre(hex("3F 0005 26 96 28 0004"), hex("3F 0005 26 97 28 000B")));
    ASSERT_EQ(container_.count, 3);
    EXPECT_EQ(container_.items[0].value, 9);
    EXPECT_STREQ(container_.items[1].name, "Low");
    EXPECT_EQ(container_.items[1].value, 3);
    EXPECT_STREQ(container_.items[2].name, "");
    EXPECT_EQ(container_.items[2].value, 0xFFFE);
}

TEST_F(ContainersTest, ListsThatCannotBeDecoded) {
    EXPECT_EQ(Append(List(20, std::string(255, 'n'))), 1) << "which still can";
    EXPECT_EQ(std::string(container_.items[0].name), std::string(255, 'n'));
    const std::pair<Bytes, const char*> lists[] = {
        {hex("00"), "Cannot decode NVP container size"},
        {List(21, "x"), "Supported up to 20 NVP items only"},
        {hex("0001"), "Cannot decode NVP value at index 0"},
        {hex("0002 0001 4100 00"), "Cannot decode NVP value at index 1"},
        {hex("0001 0001"), "NVP name at index 0 not null-terminated"},
        {hex("0001 0001 4142"), "NVP name at index 0 not null-terminated"},
        {List(1, std::string(256, 'n')), "NVP name at index 0 not null-terminated"},
    };
    for (const auto& [list, text] : lists) {
        container_ = {};
        EXPECT_TRUE(trace_.refused(Append(list), C3_INVALID_CAPABILITIES, text));
    }
    EXPECT_EQ(container_.count, 0);
}

TEST_F(ContainersTest, SizesThatAreRefused) {
    for (const uns32 size : {0u, 65536u}) {
        camera_.firmware().reply(GET_FAN_SPEEDS_SIZE, 4, size);
        EXPECT_TRUE(
            trace_.refused(oz_cam_append_nvp_container(hcam, &container_, GET_FAN_SPEEDS_SIZE),
                           C2_CANNOT_ALLOCATE_MEMORY,
                           "Unsupported size of NVP container: " + std::to_string(size)));
    }
    EXPECT_EQ(camera_.firmware().count(GET_FAN_SPEEDS), 0u);
}

TEST_F(ContainersTest, ItemsMustFit) {
    for (uns16 i = 0; i < 19; ++i) ASSERT_EQ(oz_add_nvp_to_container(&container_, "x", i), 1);
    EXPECT_TRUE(trace_.refused(Append(List(2, "x")), C2_CANNOT_ALLOCATE_MEMORY,
                               "Supported up to 20 NVP items only"));
    EXPECT_EQ(container_.count, 20);

    container_ = {};
    const auto add = [this](size_t length) {
        return oz_add_nvp_to_container(&container_, std::string(length, 'n').c_str(), 0);
    };
    EXPECT_TRUE(
        trace_.refused(add(256), C2_CANNOT_ALLOCATE_MEMORY, "NVP name is longer than 256 chars"));
    EXPECT_EQ(add(255), 1);
    // A shorter name leaves nothing of a longer one that stood there.
    container_.count = 0;
    EXPECT_EQ(add(2), 1);
    EXPECT_EQ(std::ranges::count(container_.items[0].name, 'n'), 2);
}

}  // namespace
