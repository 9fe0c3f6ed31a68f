#include "orvex/view/camera_facts.h"

#include "orvex/output_file.h"
#include "orvex/parameters.h"
#include "orvex/side_file.h"

namespace orvex::view {

namespace {

using Json = nlohmann::json;

Json texts_of(const Camera& camera, ParameterId parameter) {
    Json out = Json::array();
    if (!camera.available(parameter.id)) return out;
    for (const EnumItem& item : enum_items(camera, parameter)) out.push_back(item.text);
    return out;
}

// The pairs with the same place in both lists.
Json binnings(const Camera& camera) {
    Json out = Json::array();
    if (!camera.available(PARAM_BINNING_SER) || !camera.available(PARAM_BINNING_PAR)) return out;
    const auto columns = enum_items(camera, {"PARAM_BINNING_SER", PARAM_BINNING_SER});
    const auto rows = enum_items(camera, {"PARAM_BINNING_PAR", PARAM_BINNING_PAR});
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
            {"vendor", camera.text(PARAM_VENDOR_NAME)},
            {"product", camera.text(PARAM_PRODUCT_NAME)},
            {"sensor", camera.text(PARAM_CHIP_NAME)},
            {"serial", camera.text(PARAM_HEAD_SER_NUM_ALPHA)},
            {"columns", camera.get<uns16>(PARAM_SER_SIZE)},
            {"rows", camera.get<uns16>(PARAM_PAR_SIZE)},
            {"modes", texts_of(camera, {"PARAM_EXPOSURE_MODE", PARAM_EXPOSURE_MODE})},
            {"binnings", binnings(camera)},
            {"most_regions", camera.get_or<uns16>(PARAM_ROI_COUNT, 1, ATTR_MAX)},
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
