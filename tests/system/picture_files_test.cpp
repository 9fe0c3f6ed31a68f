// Files of the program orvex in formats that take a library, all of which the build needs to have.
#include <gmock/gmock.h>
#include <map>

#include "support/image_reading.h"

#include "command_line.h"

namespace {

using testing::HasSubstr;

class PictureFiles : public CommandLine {};

TEST_F(PictureFiles, FilesSayWhatIsKnown) {
    ASSERT_EQ(Orvex("snap Right --set temp_setpoint=-15 --wait-temp --set gain_index=2 --bin 1x2 "
                    "--roi 8,16,64,32 --exposure 2.5 --out f.fits")
                  .status,
              0);
    ASSERT_EQ(Orvex("snap Left --set shtr_open_mode=never --roi 0,0,8,8 --out dark.fits").status,
              0);
    ASSERT_EQ(Orvex("snap Left --exposure 0 --roi 0,0,8,8 --out bias.fits").status, 0);
    ASSERT_EQ(Orvex("snap Left --type Flat --roi 0,0,8,8 --out flat.fits").status, 0);
    std::map<std::string, std::string> cards = support::ReadFits(folder_ / "f.fits").cards;
    const std::pair<const char*, const char*> expected[] = {
        {"INSTRUME", "Right"}, {"IMAGETYP", "LIGHT"},
        {"BUNIT", "adu"},      {"TIMESYS", "UTC"},
        {"EXPTIME", "0.0025"}, {"XPIXSZ", "6.5"},
        {"YPIXSZ", "13."},     {"CCD-TEMP", "-15."},
        {"SET-TEMP", "-15."},  {"READOUTM", "Sensitivity, 100 MHz"},
        {"GAIN", "2"},         {"GAINNAME", "Full Well"},
        {"EGAIN", "11.3"},     {"RDNOISE", "5."},
        {"PEDESTAL", "100"},   {"SATURATE", "4095"},
        {"YORGSUBF", "16"},    {"EXPMODE", "timed"}};
    for (const auto& [key, value] : expected) EXPECT_EQ(cards[key], value) << key;
    EXPECT_THAT(cards["SWCREATE"], HasSubstr("orvex 1."));
    // What a camera does not tell is not made up.
    cards = support::ReadFits(folder_ / "dark.fits").cards;
    EXPECT_EQ(cards["IMAGETYP"], "DARK");
    EXPECT_FALSE(cards.contains("EGAIN") || cards.contains("RDNOISE"));
    EXPECT_EQ(support::ReadFits(folder_ / "bias.fits").cards["IMAGETYP"], "BIAS");
    EXPECT_EQ(support::ReadFits(folder_ / "flat.fits").cards["IMAGETYP"], "FLAT");
}

// A name is a name, whatever stands in it, and what it might mean to a library stays as it is.
class OddName : public PictureFiles, public testing::WithParamInterface<const char*> {};

TEST_P(OddName, IsTakenAsItIs) {
    const std::string name = GetParam();
    const std::set<std::string> precious = {"x", "x.fits", "w.fits", "w.tif"};
    for (const std::string& file : precious) folder_.write(file, "precious");
    const Output snap = Orvex("snap Left --roi 0,0,8,8 --out '" + name + "'");
    ASSERT_EQ(snap.status, 0) << snap.text;
    std::set<std::string> expected = precious;
    for (const char* ending : {".tif", ".fits", ".png"}) expected.insert(name + ending);
    EXPECT_EQ(Files(), expected);
    for (const std::string& file : precious) EXPECT_EQ(Content(file), "precious") << file;
    EXPECT_EQ(support::ReadFits(folder_ / (name + ".fits")).width, 8u);
}

INSTANTIATE_TEST_SUITE_P(Names, OddName,
                         testing::Values("x[1]", "x(y)", "!w", "x[1:2,1:2]", " w", "~w", "mem:w",
                                         "x.fits+1", "-"));

struct Choice {
    const char* options;
    std::set<std::string> files;
};

class ChosenFormats : public PictureFiles, public testing::WithParamInterface<Choice> {};

TEST_P(ChosenFormats, AreWritten) {
    const Output snap = Orvex(std::string("snap Left --roi 0,0,8,8 ") + GetParam().options);
    ASSERT_EQ(snap.status, 0) << snap.text;
    EXPECT_EQ(Files(), GetParam().files);
}

INSTANTIATE_TEST_SUITE_P(Options, ChosenFormats,
                         testing::Values(Choice{"", {"snap.tif", "snap.fits", "snap.png"}},
                                         Choice{"--out a.b", {"a.b.tif", "a.b.fits", "a.b.png"}},
                                         Choice{"--out a.tiff", {"a.tiff"}},
                                         Choice{"--out a.fits --format png,tif,png",
                                                {"a.png", "a.tif"}},
                                         Choice{"--out a.raw", {"a.raw", "a.raw.json"}}));

TEST_F(PictureFiles, AWrongFormatIsToldTheRightOnes) {
    const Output output = Orvex("snap Left --format gif");
    EXPECT_EQ(output.status, 2);
    EXPECT_THAT(output.text, HasSubstr("take tif, fits, png or raw"));
}

}  // namespace
