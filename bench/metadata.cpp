// Decoding a frame with regions, and painting them into one image.
#include <cstring>
#include <memory>
#include <thread>

#include "bench.h"
#include "sections.h"

namespace bench {

namespace {

constexpr uns16 region_count = 15;
constexpr uns16 region_side = 256;
constexpr uns16 pitch = 400;  // of the regions, in a grid of 5 by 3
constexpr uns16 sensor_side = 2048;

std::vector<rgn_type> regions() {
    std::vector<rgn_type> grid;
    for (uns16 i = 0; i < region_count; ++i) {
        const auto s = static_cast<uns16>(i % 5 * pitch), p = static_cast<uns16>(i / 5 * pitch);
        grid.push_back({s, static_cast<uns16>(s + region_side - 1), 1, p,
                        static_cast<uns16>(p + region_side - 1), 1});
    }
    return grid;
}

// One frame as the camera delivers it.
std::vector<uns8> take_frame(const Camera& camera) {
    camera.set<PARAM_METADATA_ENABLED>(true);
    camera.console("stamp off");
    const std::vector<rgn_type> wanted = regions();
    uns32 bytes = 0;
    require(ox_exp_setup_seq(camera.handle(), 1, region_count, wanted.data(), EXT_TRIG_INTERNAL, 1,
                             &bytes),
            "set-up");
    std::vector<uns8> frame(bytes);
    require(ox_exp_start_seq(camera.handle(), frame.data()), "start");
    const Clock::time_point start = Clock::now();
    for (int16 status = 0; status != READOUT_COMPLETE;) {
        require(ox_exp_check_status(camera.handle(), &status, &bytes), "status");
        if (seconds_since(start) > 10) throw std::runtime_error("no frame");
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    require(ox_exp_finish_seq(camera.handle(), frame.data(), 0), "finish");
    return frame;
}

}  // namespace

void measure_metadata(Table& table, const Peer&) {
    std::vector<uns8> frame;
    {
        const Library library;
        const Camera camera(library);
        frame = take_frame(camera);
    }
    md_frame* created = nullptr;
    require(ox_md_create_frame_struct_cont(&created, region_count), "frame record");
    const std::unique_ptr<md_frame, boolean16 (*)(md_frame*)> decoded(created,
                                                                      ox_md_release_frame_struct);
    const auto frame_bytes = static_cast<uns32>(frame.size());
    const double decode = seconds_per_call(2000, 51, [&] {
        require(ox_md_frame_decode(decoded.get(), frame.data(), frame_bytes), "decode");
    });
    if (decoded->roiCount != region_count) throw std::runtime_error("regions are missing");

    std::vector<uns8> image(size_t{sensor_side} * sensor_side * 2, 1);
    const auto recompose = [&] {
        require(ox_md_frame_recompose(image.data(), 0, 0, sensor_side, sensor_side, decoded.get()),
                "recompose");
    };
    // The same pixels, each region in one piece.
    const auto copy = [&] {
        size_t at = 0;
        for (uns16 i = 0; i < region_count; ++i) {
            const md_frame_roi& roi = decoded->roiArray[i];
            std::memcpy(&image[at], roi.data, roi.dataSize);
            at += roi.dataSize;
        }
    };
    // The same pixels to the same places.
    const std::vector<rgn_type> places = regions();
    const auto copy_rows = [&] {
        constexpr size_t row_bytes = size_t{region_side} * 2;
        for (uns16 i = 0; i < region_count; ++i) {
            const auto* pixels = static_cast<const uns8*>(decoded->roiArray[i].data);
            for (size_t row = 0; row < region_side; ++row) {
                const size_t at = (places[i].p1 + row) * sensor_side + places[i].s1;
                std::memcpy(&image[at * 2], pixels + row * row_bytes, row_bytes);
            }
        }
    };
    std::vector<double> times, pieces, rows;
    for (int round = 0; round < 5; ++round) {
        times.push_back(seconds_per_call(20, 11, recompose));
        pieces.push_back(seconds_per_call(20, 11, copy) / times.back());
        rows.push_back(seconds_per_call(20, 11, copy_rows) / times.back());
    }
    table.section("Metadata, 15 regions of 256 x 256");
    table.row({"decode, a region", 1e9 * decode / region_count, "ns", at_most(100)});
    table.row({"recompose", 1e6 * median(times), "us"});
    table.row({"  against memcpy of the regions", median(pieces), "", at_least(0.8)});
    table.row({"  against memcpy row by row", median(rows), "", at_least(0.8)});
}

}  // namespace bench
