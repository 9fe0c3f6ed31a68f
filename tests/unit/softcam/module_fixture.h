#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <optional>

#include "support/environment.h"
#include "support/temp_dir.h"

#include "driver_client.h"

// The module with a configuration of the test's own.
class ModuleTest : public testing::Test {
  protected:
    void TearDown() override {
        cameras_.clear();
        orvex_ddi_uninit(&ddi_);
    }

    bool Configure(const std::string& text) {
        path_.emplace("ORVEX_SOFTCAM", directory_.write("softcam.json", text).string());
        return orvex_ddi_init(&ddi_) == 1;
    }
    // Opens camera `index`.
    client::Connection& Camera(size_t index = 0) {
        cameras_.push_back(std::make_unique<client::Connection>(ddi_.devices[index]));
        EXPECT_TRUE(cameras_.back()->Open());
        return *cameras_.back();
    }

    support::TempDir directory_;
    std::optional<support::Environment> path_;
    orvex_ddi ddi_{};
    std::vector<std::unique_ptr<client::Connection>> cameras_;
};
