#include "orvex/recording.h"

#include <stdexcept>

#include "orvex/side_file.h"

namespace orvex {

namespace {

bool carry_metadata(const Camera& camera) {
    return camera.get_or<PARAM_METADATA_ENABLED>(false);
}

}  // namespace

RecordingFiles::RecordingFiles(const std::string& path, bool replace)
    : format(&recording_format(path)), frames(path, replace), side(side_file_path(path), replace) {}

Recording::Recording(RecordingFiles files, const Camera& camera, const Facts& facts,
                     const std::vector<rgn_type>& regions)
    : files_(std::move(files)) {
    const bool metadata = carry_metadata(camera);
    const bool plain = !metadata && regions.size() == 1;
    if (!files_.format->bare && !plain) {
        throw std::invalid_argument(
            "frames with metadata or several regions are no plain images; record them as .raw");
    }
    if (plain && facts.width * facts.height * 2 != facts.frame_bytes) {
        throw std::runtime_error("the frame has " + std::to_string(facts.frame_bytes) +
                                 " bytes, which is not a plain image");
    }
    side_ = recording_json(facts, {});
    side_["format"] = files_.format->name;
    side_["metadata"] = metadata;
    side_["regions"] = nlohmann::ordered_json::array();
    for (const rgn_type& r : regions) {
        side_["regions"].push_back({r.s1, r.p1, r.s2 - r.s1 + 1, r.p2 - r.p1 + 1});
    }
    if (!plain) {
        side_.erase("width");
        side_.erase("height");
    }
    side_["complete"] = false;
    // So that even a recording that is cut off tells what it is.
    write_json(files_.side.part(), side_);
    file_ = files_.format->create(files_.frames.part(), facts);
}

void Recording::finish(const std::vector<FrameStamp>& frames, const std::vector<Gap>& gaps) {
    if (frames.empty()) return file_.reset();
    try {
        file_->finish(frames);
        file_.reset();
        put_in_place(frames, gaps);
    } catch (...) {
        files_.frames.keep_part();
        files_.side.keep_part();
        throw;
    }
}

void Recording::put_in_place(const std::vector<FrameStamp>& frames, const std::vector<Gap>& gaps) {
    side_["complete"] = true;
    side_["frames"] = frames.size();
    side_["first_frame"] = frames.front().number;
    side_["gaps"] = nlohmann::ordered_json::array();
    for (const Gap& gap : gaps) side_["gaps"].push_back({gap.first, gap.count});
    // The other formats hold the times themselves.
    if (files_.format->bare) side_["begin_s"] = begins_json(frames);
    write_json(files_.side.part(), side_);
    files_.frames.commit();
    files_.side.commit();
}

}  // namespace orvex
