#include "softcam/configuration.h"

#include "support/scene_image.h"

#include "module_fixture.h"

namespace {

using softcam::CameraOptions;

TEST(Configuration, ACameraOverridesWhatHoldsForAll) {
    std::vector<CameraOptions> cameras;
    std::string message;
    ASSERT_TRUE(softcam::ParseConfiguration(
        R"({"noise": false, "seed": 3, "scene": {"kind": "ramp"}, // comments are fine
            "cameras": [{"model": "cmos", "name": "A", "driver": "usb", "delivery": "callbacks",
                         "scene": {"kind": "flat", "level": 7}, "noise": true,
                         "faults": [{"fault": "unplug", "after": 5}]},
                        {"model": "em", "trigger": {"manual": true}}]})",
        cameras, message))
        << message;
    EXPECT_EQ(cameras[0].driver_type, uint32_t{DRIVER_TYPE_USB});
    EXPECT_FALSE(cameras[0].kernel_driver);
    EXPECT_FALSE(cameras[0].ideal);
    EXPECT_EQ(cameras[0].scene.level, 7);
    EXPECT_EQ(cameras[0].faults.at(0).after, 5u);
    EXPECT_EQ(cameras[0].seed, 3u);
    EXPECT_TRUE(cameras[1].ideal);
    EXPECT_TRUE(cameras[1].kernel_driver);
    EXPECT_TRUE(cameras[1].trigger.manual);
    EXPECT_TRUE(cameras[1].faults.empty());
}

struct Wrong {
    const char* text;
    const char* message;
};

const Wrong wrong_configurations[] = {
    {"{", "is not valid JSON"},
    {"[]", "configuration must be an object"},
    {R"({"camera": []})", "configuration: \"camera\" is not a known setting"},
    {R"({"cameras": 3})", "configuration: \"cameras\" must be a list of at most 21 cameras"},
    {R"({"cameras": [{}]})", "cameras[0]: \"model\" must be ccd, cmos, plain or em"},
    {R"({"cameras": [{"model": "em"}, {"model": "em"}]})", "cameras[1]: \"name\" is used twice"},
    {R"({"cameras": [{"model": "em", "name": "12345678901234567890123456789012"}]})",
     "cameras[0]: \"name\" must have 1 to 31 characters"},
    {R"({"time_scale": -1})", "configuration: \"time_scale\" must lie between 0 and 1000"},
    {R"({"seed": 1.5})",
     "configuration: \"seed\" must be a whole number from 0 to 18446744073709551615"},
    {R"({"scene": {"kind": "file"}})",
     "configuration.scene: \"path\" is needed for a scene from a file"},
    {R"({"faults": [{"fault": "rain"}]})",
     "configuration.faults: \"fault\" must name a known fault"}};

TEST(Configuration, SaysWhatIsWrongAndWhere) {
    for (const auto& [text, expected] : wrong_configurations) {
        std::vector<CameraOptions> cameras;
        std::string message;
        EXPECT_FALSE(softcam::ParseConfiguration(text, cameras, message));
        EXPECT_EQ(message, expected);
    }
}

class ConfiguredModule : public ModuleTest {};

TEST_F(ConfiguredModule, ABadFileIsToldAndEndsTheStart) {
    testing::internal::CaptureStderr();
    EXPECT_FALSE(Configure("nonsense"));
    const std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_NE(printed.find("softcam.json': is not valid JSON"), std::string::npos) << printed;
    testing::internal::CaptureStderr();
    path_.emplace("ORVEX_SOFTCAM", (directory_ / "missing.json").string());
    EXPECT_EQ(orvex_ddi_init(&ddi_), 0u);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("cannot read"), std::string::npos);
}

TEST_F(ConfiguredModule, APictureBecomesTheScene) {
    const std::string path = (directory_ / "scene.tif").string();
    const support::SceneImage picture(2, 1, 7);
    picture.WriteTiff(path);
    const auto pixels = picture.CropAndBin({0, 1, 1, 0, 0, 1});
    const uint16_t left = pixels[0], right = pixels[1];

    softcam::SceneChoice choice{.kind = softcam::SceneKind::file, .path = path};
    std::string message;
    const auto scene = softcam::MakeScene(choice, 4, 2, 1, message);
    ASSERT_NE(scene, nullptr) << message;
    EXPECT_EQ(scene->At(0).pixels,
              (std::vector<uint16_t>{left, left, right, right, left, left, right, right}));

    choice.path = directory_.write("broken.png", "\x89PNG nothing").string();
    EXPECT_EQ(softcam::MakeScene(choice, 4, 2, 1, message), nullptr);
    EXPECT_NE(message.find("cannot read image file"), std::string::npos);
}

}  // namespace
