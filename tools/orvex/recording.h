#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

#include "orvex/facts.h"
#include "orvex/frame_file.h"
#include "orvex/output_file.h"

namespace orvex {

// The places of a recording, taken before the camera does anything.
struct RecordingFiles {
    RecordingFiles(const std::string& path, bool replace);

    const Format* format;
    OutputFile frames;
    OutputFile side;
};

// The file of a continuous run, with its side file.
class Recording {
  public:
    Recording(RecordingFiles files, const Camera& camera, const Facts& facts,
              const std::vector<rgn_type>& regions);

    FrameFile* file() { return file_.get(); }
    // Without a frame there will be no file. What can't be finished stays as it is.
    void finish(const std::vector<FrameStamp>& frames, const std::vector<Gap>& gaps);

  private:
    void put_in_place(const std::vector<FrameStamp>& frames, const std::vector<Gap>& gaps);

    RecordingFiles files_;
    nlohmann::ordered_json side_;
    std::unique_ptr<FrameFile> file_;
};

}  // namespace orvex
