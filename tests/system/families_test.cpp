// Families of cameras side by side in one module.
#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "orvex/orvex.hpp"

#include "support/environment.h"
#include "support/temp_dir.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

// The module of all families, with those of a test.
class Families : public testing::Test {
  protected:
    Families() {
        std::filesystem::create_directory(folder_ / "families");
        const std::filesystem::path built = ORVEX_LIBRARY_DIR "/orvex";
        Copy(built / ("orvexDDI" + ending), "orvexDDI");
        Copy(built / "families" / ("softcam" + ending), "families/softcam");
    }

    void Copy(const std::filesystem::path& file, const std::string& name) const {
        std::filesystem::copy_file(file, folder_ / (name + ending));
    }
    void AddTiny(const std::string& module, const std::string& name) const {
        Copy(ORVEX_TEST_MODULES "/" + module + ending, "families/" + name);
    }

    // Names of the cameras, and what was said about them.
    std::vector<std::string> Cameras() {
        testing::internal::CaptureStderr();
        try {
            cameras_ = orvex::Library().cameras();
        } catch (const orvex::Error&) {
            cameras_ = {"failed"};
        }
        said_ = testing::internal::GetCapturedStderr();
        return cameras_;
    }

    const std::string ending = ORVEX_MODULE_SUFFIX;
    support::TempDir folder_;
    support::Environment modules_{"ORVEX_MODULE_PATH", folder_.path().string()};
    support::Environment configuration_{
        "ORVEX_SOFTCAM",
        folder_.write("soft.json", R"({"cameras": [{"model": "plain", "name": "Soft"}]})")
            .string()};
    std::vector<std::string> cameras_;
    std::string said_;
};

TEST_F(Families, RealCamerasComeFirstAndOneThatFailsCostsNoOther) {
    AddTiny("tiny_uninit_fails", "vendor");
    AddTiny("tiny_no_init", "a");
    AddTiny("tiny_init_fails", "b");
    folder_.write("families/c" + ending, "no module");
    for (int time = 0; time < 2; ++time) {
        EXPECT_THAT(Cameras(), ElementsAre("Tiny 0", "Soft"));
        EXPECT_THAT(said_, AllOf(HasSubstr("without the cameras of a: it is no driver module\n"),
                                 HasSubstr("without the cameras of b: it does not start\n"),
                                 HasSubstr("without the cameras of c: "),
                                 testing::Not(HasSubstr("vendor"))));
    }
    // A camera behind the union works as one alone does.
    const orvex::Library library;
    EXPECT_EQ(orvex::snap(orvex::Camera(library, "Soft"), {orvex::Milliseconds(1)}).width, 512u);
}

TEST_F(Families, NamesAreUniqueAndTheListHasAnEnd) {
    AddTiny("tiny_uninit_fails", "one");
    AddTiny("tiny_many_cameras", "two");
    const std::vector<std::string> cameras = Cameras();
    EXPECT_EQ(cameras.size(), 16u) << "as many as the library serves";
    EXPECT_EQ(cameras[1], "Tiny 1");
    EXPECT_THAT(said_, HasSubstr("without the camera 'Tiny 0' of two: another has this name\n"));
    AddTiny("tiny_many_cameras", "three");
    EXPECT_EQ(Cameras().size(), 16u);
}

TEST_F(Families, SoftwareCamerasCanBeLeftOutAndTheModuleFailsWithTheLast) {
    const support::Environment off("ORVEX_SOFTCAM", "off");
    EXPECT_THAT(Cameras(), ElementsAre());
    EXPECT_EQ(said_, "");
    const support::Environment lost("ORVEX_SOFTCAM", (folder_ / "nothing").string());
    EXPECT_THAT(Cameras(), ElementsAre("failed"));
    AddTiny("tiny_no_cameras", "empty");
    EXPECT_THAT(Cameras(), ElementsAre());
    EXPECT_THAT(said_, HasSubstr("without the cameras of softcam: it does not start\n"));
}

}  // namespace
