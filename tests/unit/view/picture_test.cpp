#include "orvex/view/picture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <numeric>

namespace orvex::view {
namespace {

using testing::ElementsAre;

void fill(Frame& frame, Size size, std::vector<uint16_t> pixels) {
    frame.size = size;
    frame.pixels = std::move(pixels);
    frame.renew();
}

TEST(Levels, TellWhatIsInAFrame) {
    Frame frame;
    frame.saturation = 4095;
    fill(frame, {5, 1}, {4095, 10, 10, 20, 5000});
    const Levels& levels = frame.levels();
    EXPECT_EQ(levels.min, 10);
    EXPECT_EQ(levels.max, 5000);
    EXPECT_DOUBLE_EQ(levels.mean, 1827);
    EXPECT_EQ(levels.saturated, 2u);
    EXPECT_EQ(levels.percentile(0.4), 10);
    EXPECT_EQ(levels.percentile(0.41), 20);
    EXPECT_EQ(levels.percentile(1), 5000);
    // The memory of a frame is used again.
    fill(frame, {2, 1}, {7, 9});
    EXPECT_EQ(frame.levels().max, 9);
    EXPECT_DOUBLE_EQ(frame.levels().deviation, 1);
}

TEST(Levels, StretchByPercentilesHasARangeEvenForOneValue) {
    Frame frame;
    fill(frame, {3, 1}, {65535, 65535, 65535});
    EXPECT_EQ(automatic_stretch(frame.levels()).low, 65534);
    EXPECT_EQ(automatic_stretch(frame.levels()).high, 65535);
    std::vector<uint16_t> pixels(1000);
    std::iota(pixels.begin(), pixels.end(), uint16_t{100});
    fill(frame, {1000, 1}, pixels);
    EXPECT_EQ(automatic_stretch(frame.levels()).low, 104);
    EXPECT_EQ(automatic_stretch(frame.levels()).high, 1097);
}

TEST(Histogram, CountsEveryPixelOfItsRangeOnce) {
    Frame frame;
    fill(frame, {6, 1}, {0, 255, 256, 300, 511, 512});
    const std::vector<uint32_t> all = histogram(frame.levels(), {0, 65535});
    EXPECT_EQ(all[0], 1u + 1u);
    EXPECT_EQ(all[1], 3u);
    EXPECT_EQ(all[2], 1u);
    const std::vector<uint32_t> part = histogram(frame.levels(), {256, 511});
    EXPECT_EQ(std::accumulate(part.begin(), part.end(), 0u), 3u);
    EXPECT_EQ(part[300 - 256], 1u);
}

TEST(MakePicture, ClipsAndStretchesToTheWholeRange) {
    Frame frame;
    fill(frame, {4, 1}, {50, 100, 150, 250});
    const Picture picture = make_picture(frame, std::nullopt, {10, 10}, {100, 200});
    EXPECT_THAT(picture.pixels, ElementsAre(0, 0, 128, 255));
}

TEST(MakePicture, ScalesDownByMeansOfAllPixels) {
    Frame frame;
    fill(frame, {4, 3}, {0, 100, 10, 20, 200, 100, 30, 40, 100, 100, 50, 60});
    const Picture picture = make_picture(frame, std::nullopt, {2, 1}, {0, 255});
    EXPECT_EQ(picture.size.width, 2u);
    EXPECT_THAT(picture.pixels, ElementsAre(100, 35));
    // A part, in a size that does not divide it.
    const Picture part = make_picture(frame, Part{1, 1, 3, 2}, {2, 2}, {0, 255});
    EXPECT_THAT(part.pixels, ElementsAre(100, 35, 100, 55));
}

TEST(MakePicture, CutsAPartThatReachesOutside) {
    Frame frame;
    fill(frame, {3, 2}, {1, 2, 3, 4, 5, 6});
    const Picture cut = make_picture(frame, Part{2, 0, 4294967295u, 9}, {9, 9}, {0, 255});
    EXPECT_THAT(cut.pixels, ElementsAre(3, 6));
    // The page may still think of a larger frame.
    EXPECT_EQ(make_picture(frame, Part{3, 0, 1, 1}, {9, 9}, {0, 255}).pixels.size(), 6u);
}

TEST(PictureAnswer, HoldsFactsAndAPicture) {
    Frame frame;
    fill(frame, {8, 8}, std::vector<uint16_t>(64, 300));
    frame.pixels[2 * 8 + 3] = 4000;
    const auto answer = [&](const Query& query) {
        const std::string bytes = picture_answer(frame, parse_picture_request(query));
        const size_t length = static_cast<uint8_t>(bytes[0]) |
                              static_cast<size_t>(static_cast<uint8_t>(bytes[1])) << 8;
        return std::pair(nlohmann::json::parse(bytes.substr(4, length)), bytes.substr(4 + length));
    };
    const auto [facts, jpeg] = answer({{"pointer", "3,2"}, {"room", "8,8"}});
    EXPECT_EQ(facts["pointer"]["value"], 4000);
    EXPECT_EQ(facts["part"], nlohmann::json({0, 0, 8, 8}));
    EXPECT_EQ(jpeg.substr(0, 2), "\xff\xd8");
    // Enlarged to twice its size and more, no pixel is made up.
    EXPECT_EQ(answer({{"room", "16,16"}}).second.substr(1, 3), "PNG");
    EXPECT_FALSE(answer({{"pointer", "8,0"}}).first.contains("pointer"));
}

TEST(PictureRequest, RefusesWhatMakesNoSense) {
    const std::pair<const char*, const char*> wrong[] = {
        {"after", "-1"},       {"after", ""},          {"after", "1,2"},
        {"part", "0,0,0,5"},   {"part", "1,2,3"},      {"part", "0,0,4294967296,1"},
        {"room", "1,x"},       {"stretch", "5,5"},     {"stretch", "0,65536"},
        {"format", "gif"},     {"pointer", "1,2,"},    {"histogram", "9,1"},
        {"nothing", "at all"}, {"stretch", "1,2junk"},
    };
    for (const auto& [name, value] : wrong) {
        EXPECT_THROW(parse_picture_request({{name, value}}), std::invalid_argument)
            << name << '=' << value;
    }
    // However large the page says that it is.
    EXPECT_LE(parse_picture_request({{"room", "4294967295,0"}}).most.width, 4096u);
    EXPECT_EQ(parse_picture_request({{"room", "4294967295,0"}}).most.height, 1u);
}

}  // namespace
}  // namespace orvex::view
