#include "orvex/side_file.h"

#include <fstream>
#include <stdexcept>

namespace orvex {

std::string side_file_path(const std::string& recording) {
    return recording + ".json";
}

nlohmann::ordered_json recording_json(const Facts& facts, std::span<const FrameStamp> frames) {
    const rgn_type& r = facts.region;
    nlohmann::ordered_json out = facts_json(facts);
    out.erase("region");
    out["metadata"] = false;
    out["frame_bytes"] = facts.frame_bytes;
    out["regions"] = nlohmann::ordered_json::array();
    out["regions"].push_back({r.s1, r.p1, r.s2 - r.s1 + 1, r.p2 - r.p1 + 1});
    out["complete"] = true;
    out["frames"] = frames.size();
    out["begin_s"] = begins_json(frames);
    return out;
}

nlohmann::ordered_json begins_json(std::span<const FrameStamp> frames) {
    nlohmann::ordered_json out = nlohmann::ordered_json::array();
    for (const FrameStamp& frame : frames) {
        out.push_back(frame.begin_s ? nlohmann::ordered_json(*frame.begin_s)
                                    : nlohmann::ordered_json());
    }
    return out;
}

void write_json(const std::string& path, const nlohmann::ordered_json& facts) {
    std::ofstream file(path);
    file << facts.dump(2) << '\n';
    file.close();
    if (!file) throw std::runtime_error("cannot write '" + path + "'");
}

nlohmann::ordered_json read_side_file(const std::string& recording) {
    const std::string path = side_file_path(recording);
    std::ifstream file(path);
    if (!file) {
        throw std::runtime_error("cannot read '" + path +
                                 "', which tells the size of the frames of the recording");
    }
    try {
        return nlohmann::ordered_json::parse(file);
    } catch (const nlohmann::json::exception&) {
        throw std::runtime_error("'" + path + "' is not JSON");
    }
}

}  // namespace orvex
