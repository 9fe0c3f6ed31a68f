#include "orvex/ome_xml.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "orvex/units.h"

namespace orvex {

namespace {

std::string escaped(const std::string& text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"': out += "&quot;"; break;
            default:
                // XML has no place for the others, and the texts of a camera are ASCII.
                if (c >= ' ' && c <= '~') out += c;
        }
    }
    return out;
}

struct Attribute {
    const char* name;
    std::string value;  // left out when empty
};

// <name a="b">, or <name a="b"/> when nothing is inside.
std::string open_tag(const char* name, const std::vector<Attribute>& attributes, bool empty) {
    std::string out = std::string("<") + name;
    for (const Attribute& attribute : attributes) {
        if (attribute.value.empty()) continue;
        out += std::string(" ") + attribute.name + "=\"" + escaped(attribute.value) + '"';
    }
    return out + (empty ? "/>" : ">");
}

std::string element(const char* name, const std::vector<Attribute>& attributes,
                    const std::string& inside = {}) {
    std::string out = open_tag(name, attributes, inside.empty());
    if (!inside.empty()) out += inside + "</" + name + '>';
    return out;
}

std::string number(const std::optional<double>& value) {
    return value ? number_text(*value) : std::string();
}

// The schema names those binnings alone.
std::string binning(const Facts& facts) {
    const std::string text =
        std::to_string(facts.region.sbin) + 'x' + std::to_string(facts.region.pbin);
    constexpr std::array named{"1x1", "2x2", "4x4", "8x8"};
    return std::find(named.begin(), named.end(), text) != named.end() ? text : "Other";
}

std::string detector(const Facts& facts) {
    std::optional<double> multiplication;
    if (facts.multiplication_gain) multiplication = *facts.multiplication_gain;
    return element(
        "Instrument", {{"ID", "Instrument:0"}},
        element("Detector", {{"ID", "Detector:0"},
                             {"Manufacturer", facts.vendor},
                             {"Model", facts.product.empty() ? facts.chip : facts.product},
                             {"SerialNumber", facts.serial},
                             {"AmplificationGain", number(multiplication)}}));
}

std::string channel(const Facts& facts) {
    std::optional<double> megahertz, offset;
    if (facts.pixel_time_ns > 0) megahertz = 1000 / facts.pixel_time_ns;
    if (facts.adc_offset) offset = *facts.adc_offset;
    const std::string settings = element("DetectorSettings", {{"ID", "Detector:0"},
                                                              {"Offset", number(offset)},
                                                              {"Gain", number(facts.gain_index)},
                                                              {"ReadOutRate", number(megahertz)},
                                                              {"Binning", binning(facts)}});
    return element("Channel", {{"ID", "Channel:0:0"}, {"SamplesPerPixel", "1"}}, settings);
}

std::string planes(const Facts& facts, std::span<const FrameStamp> frames) {
    std::string out;
    for (size_t i = 0; i < frames.size(); ++i) {
        out += element("Plane", {{"TheZ", "0"},
                                 {"TheC", "0"},
                                 {"TheT", std::to_string(i)},
                                 {"DeltaT", number(frames[i].begin_s)},
                                 {"ExposureTime", number_text(facts.exposure_ms / 1000)}});
    }
    return out;
}

std::string pixels(const Facts& facts, std::span<const FrameStamp> frames) {
    const auto binned = [](const std::optional<double>& size, unsigned bins) {
        return size && *size > 0 ? number_text(*size * bins) : std::string();
    };
    const std::string count = std::to_string(frames.size());
    return element("Pixels",
                   {{"ID", "Pixels:0"},
                    {"DimensionOrder", "XYZCT"},
                    {"Type", "uint16"},
                    {"SignificantBits", std::to_string(std::min(facts.bit_depth, 16))},
                    {"BigEndian", "false"},
                    {"SizeX", std::to_string(facts.width)},
                    {"SizeY", std::to_string(facts.height)},
                    {"SizeZ", "1"},
                    {"SizeC", "1"},
                    {"SizeT", count},
                    {"PhysicalSizeX", binned(facts.pixel_width_um, facts.region.sbin)},
                    {"PhysicalSizeY", binned(facts.pixel_height_um, facts.region.pbin)}},
                   channel(facts) + element("TiffData", {{"IFD", "0"}, {"PlaneCount", count}}) +
                       planes(facts, frames));
}

std::string annotation(const Facts& facts) {
    std::string pairs;
    const nlohmann::ordered_json all = facts_json(facts);
    for (const auto& [key, value] : all.items()) {
        const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
        pairs += element("M", {{"K", key}}, escaped(text));
    }
    return element("StructuredAnnotations", {},
                   element("MapAnnotation", {{"ID", "Annotation:0"}, {"Namespace", "orvex"}},
                           element("Value", {}, pairs)));
}

}  // namespace

std::string ome_xml(const Facts& facts, std::span<const FrameStamp> frames) {
    const std::string image =
        element("Image", {{"ID", "Image:0"}, {"Name", facts.camera}},
                element("AcquisitionDate", {}, escaped(facts.start_utc)) +
                    element("InstrumentRef", {{"ID", "Instrument:0"}}) + pixels(facts, frames) +
                    element("AnnotationRef", {{"ID", "Annotation:0"}}));
    constexpr const char* space = "http://www.openmicroscopy.org/Schemas/OME/2016-06";
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>" +
           element("OME",
                   {{"xmlns", space},
                    {"xmlns:xsi", "http://www.w3.org/2001/XMLSchema-instance"},
                    {"xsi:schemaLocation", std::string(space) + ' ' + space + "/ome.xsd"},
                    {"Creator", "orvex " ORVEX_PROGRAM_VERSION}},
                   detector(facts) + image + annotation(facts));
}

}  // namespace orvex
