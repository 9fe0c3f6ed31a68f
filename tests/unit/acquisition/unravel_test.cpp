#include <gmock/gmock.h>
#include <numeric>
#include <vector>

#include "orvex/orvex_errors.h"

#include "acquisition/sequence.h"
#include "state/api_global.h"

using testing::Each;
using testing::ElementsAre;

namespace {

// In the buffer region 1 comes first, since it starts further left: 4 pixels, then 2, then 3.
constexpr rgn_type regions[] = {{20, 21, 1, 0, 0, 1}, {0, 3, 2, 0, 3, 2}, {40, 42, 1, 5, 5, 1}};

class Unravel : public testing::Test {
  protected:
    void SetUp() override { std::iota(stream_.begin(), stream_.end(), uns16{1}); }
    boolean16 Run(uns16 exposure, std::vector<uns16*> list) {
        return bv_exp_unravel(0, exposure, stream_.data(), 3, regions, list.data());
    }

    std::vector<uns16> stream_ = std::vector<uns16>(9);
    std::vector<uns16> a_ = std::vector<uns16>(4), b_ = a_, c_ = a_;
};

}  // namespace

TEST_F(Unravel, AllRegions) {
    ASSERT_EQ(Run(65535, {a_.data(), b_.data(), c_.data()}), 1);
    EXPECT_THAT(a_, ElementsAre(5, 6, 0, 0));
    EXPECT_THAT(b_, ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(c_, ElementsAre(7, 8, 9, 0));
}

TEST_F(Unravel, OneRegion) {
    // Region 0 is second in the buffer: its place in the list is its own.
    ASSERT_EQ(Run(0, {a_.data(), b_.data(), c_.data()}), 1);
    EXPECT_THAT(a_, ElementsAre(5, 6, 0, 0));
    EXPECT_THAT(b_, Each(0));
    // Region 2 is third in the buffer too: the list has one entry.
    ASSERT_EQ(Run(2, {c_.data()}), 1);
    EXPECT_THAT(c_, ElementsAre(7, 8, 9, 0));
}

TEST_F(Unravel, Refusals) {
    uns16* none = nullptr;
    EXPECT_EQ(bv_exp_unravel(0, 0, stream_.data(), 0, regions, &none), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C3_RGN_INVALID);
    const rgn_type unbinned{0, 1, 0, 0, 1, 1};
    EXPECT_EQ(bv_exp_unravel(0, 0, stream_.data(), 1, &unbinned, &none), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C3_RGN_INVALID);
}
