#include "orvex/view/camera_facts.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "orvex/output_file.h"
#include "orvex/side_file.h"

namespace orvex::view {

namespace {

using Json = nlohmann::json;

Json texts_of(const Parameter& parameter) {
    Json out = Json::array();
    if (!parameter.available()) return out;
    for (const EnumEntry& entry : parameter.entries()) out.push_back(entry.text);
    return out;
}

// The pairs with the same place in both lists.
Json binnings(const Camera& camera) {
    Json out = Json::array();
    if (!camera.available(PARAM_BINNING_SER) || !camera.available(PARAM_BINNING_PAR)) return out;
    const std::vector<EnumEntry> columns = camera.parameter("BINNING_SER").entries();
    const std::vector<EnumEntry> rows = camera.parameter("BINNING_PAR").entries();
    for (size_t i = 0; i < std::min(columns.size(), rows.size()); ++i) {
        out.push_back({columns[i].value, rows[i].value});
    }
    return out;
}

Json format_list(bool recordings) {
    Json out = Json::array();
    for (const Format& format : formats()) {
        if (!recordings || format.faithful) out.push_back(format.name);
    }
    return out;
}

}  // namespace

Json camera_facts(const Camera& camera) {
    return {{"name", camera.name()},
            {"vendor", camera.get_or<PARAM_VENDOR_NAME>({})},
            {"product", camera.get_or<PARAM_PRODUCT_NAME>({})},
            {"sensor", camera.get_or<PARAM_CHIP_NAME>({})},
            {"serial", camera.get_or<PARAM_HEAD_SER_NUM_ALPHA>({})},
            {"columns", camera.get<PARAM_SER_SIZE>()},
            {"rows", camera.get<PARAM_PAR_SIZE>()},
            {"modes", texts_of(camera.parameter("EXPOSURE_MODE"))},
            {"binnings", binnings(camera)},
            {"most_regions", camera.get_or<PARAM_ROI_COUNT>(1, ATTR_MAX)},
            {"snap_formats", format_list(false)},
            {"recording_formats", format_list(true)}};
}

std::vector<std::string> write_snap(const Format& format, const std::string& path,
                                    const Facts& facts, std::span<const uint16_t> pixels,
                                    uint32_t number) {
    const std::vector<FrameStamp> stamps = {{number, std::nullopt}};
    OutputFile frame(path, false);
    std::optional<OutputFile> side;
    if (format.bare) {
        side.emplace(side_file_path(path), false);
        write_json(side->part(), recording_json(facts, stamps));
    }
    const std::unique_ptr<FrameFile> file = format.create(frame.part(), facts);
    file->add({reinterpret_cast<const uint8_t*>(pixels.data()), pixels.size_bytes()});
    file->finish(stamps);
    frame.commit();
    std::vector<std::string> paths = {frame.path()};
    if (side) {
        side->commit();
        paths.push_back(side->path());
    }
    return paths;
}

}  // namespace orvex::view
