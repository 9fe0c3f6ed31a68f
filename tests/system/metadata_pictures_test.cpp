// Recorded frames with metadata, as the pictures that orvex metadata makes of them. The build needs
// the library of each format.
#include <gmock/gmock.h>

#include "support/image_reading.h"
#include "support/scene_image.h"

#include "stream.h"

namespace {

class MetadataPictures : public Metadata {
  protected:
    MetadataPictures() : Metadata(R"({"kind": "file", "path": ")" + SceneFile() + "\"}") {}

    static std::string SceneFile() {
        const std::string file = (scene_folder_ / "scene.tif").string();
        scene_.WriteTiff(file);
        return file;
    }

    static inline support::TempDir scene_folder_;
    static inline support::SceneImage scene_{2048, 2048, 11};
};

// The regions in a picture as large as all of them, and black between them.
std::vector<uns16> Paint(const support::SceneImage& scene, std::vector<rgn_type> regions,
                         const rgn_type& box) {
    const size_t width = (box.s2 - box.s1 + 1u) / box.sbin;
    const size_t height = (box.p2 - box.p1 + 1u) / box.pbin;
    std::vector<uns16> out(width * height);
    for (rgn_type& r : regions) {
        r.sbin = box.sbin;
        r.pbin = box.pbin;
        const std::vector<uns16> pixels = scene.CropAndBin(r);
        const size_t columns = (r.s2 - r.s1 + 1u) / r.sbin;
        for (size_t i = 0; i < pixels.size(); ++i) {
            const size_t x = static_cast<size_t>(r.s1 - box.s1) / r.sbin + i % columns;
            const size_t y = static_cast<size_t>(r.p1 - box.p1) / r.pbin + i / columns;
            out[y * width + x] = pixels[i];
        }
    }
    return out;
}

TEST_F(MetadataPictures, AreNoFormatToRecordIn) {
    const ProgramOutput output =
        Orvex("stream Fast --frames 2 --set metadata_enabled=on --record run.tif");
    EXPECT_NE(output.status, 0);
    EXPECT_THAT(output.text, testing::HasSubstr("as .raw"));
}

TEST_F(MetadataPictures, RecomposedFramesShowTheSceneWhereRegionsAre) {
    constexpr uns16 binning = 2;
    Record("2", 12);
    const ProgramOutput output = Orvex("metadata run.raw --out pictures/all.tif");
    ASSERT_EQ(output.status, 0) << output.text;
    const std::vector<uns16> expected = Paint(
        scene_, {{100, 159, 1, 200, 239, 1}, {300, 331, 1, 220, 283, 1}, {40, 239, 1, 400, 419, 1}},
        {40, 331, binning, 200, 419, binning});
    const support::Frames pictures = support::ReadTiff(folder_ / "pictures/all.tif");
    EXPECT_EQ(pictures.width, 292u / binning);
    EXPECT_EQ(pictures.height, 220u / binning);
    ASSERT_EQ(pictures.pixels.size(), 12u);
    for (const auto& picture : pictures.pixels) ASSERT_EQ(picture, expected);
    ASSERT_EQ(Orvex("metadata run.raw --frame 2 --out two.png").status, 0);
    EXPECT_GT(std::filesystem::file_size(folder_ / "two.png"), 1000u);
}

TEST_F(MetadataPictures, SpotsBringTheirTags) {
    const ProgramOutput output = Orvex(
        "stream Fast --set metadata_enabled=on --set centroids_enabled=on --set centroids_count=3"
        " --roi 0,0,256,256 --ring 200 --frames 2 --record spots.raw");
    ASSERT_EQ(output.status, 0) << output.text;
    const ProgramOutput shown = Orvex("metadata spots.raw --json --out spots.tif");
    ASSERT_EQ(shown.status, 0) << shown.text;
    const json spots = json::parse(shown.text)["decoded"][0]["regions"];
    ASSERT_GT(spots.size(), 0u);
    EXPECT_EQ(spots[0]["tags"][0]["name"], "Particle ID");
    EXPECT_EQ(spots[0]["tags"][1]["name"], "Particle M0");
    // Squares anywhere in the region are painted into a picture of the region.
    EXPECT_EQ(support::ReadTiff(folder_ / "spots.tif").width, 256u);
}

}  // namespace
