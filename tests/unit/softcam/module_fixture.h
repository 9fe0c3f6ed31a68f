#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <unistd.h>

#include "driver_client.h"

// The module with a configuration of the test's own.
class ModuleTest : public testing::Test {
  protected:
    void SetUp() override {
        directory_ =
            std::filesystem::temp_directory_path() / ("softcam_test_" + std::to_string(getpid()));
        std::filesystem::create_directories(directory_);
    }
    void TearDown() override {
        cameras_.clear();
        orvex_ddi_uninit(&ddi_);
        std::filesystem::remove_all(directory_);
    }

    bool Configure(const std::string& text) {
        const auto path = directory_ / "softcam.json";
        std::ofstream(path) << text;
        setenv("ORVEX_SOFTCAM", path.c_str(), 1);
        return orvex_ddi_init(&ddi_) == 1;
    }
    // Opens camera `index`.
    client::Connection& Camera(size_t index = 0) {
        cameras_.push_back(std::make_unique<client::Connection>(ddi_.devices[index]));
        EXPECT_TRUE(cameras_.back()->Open());
        return *cameras_.back();
    }

    orvex_ddi ddi_{};
    std::filesystem::path directory_;
    std::vector<std::unique_ptr<client::Connection>> cameras_;
};
