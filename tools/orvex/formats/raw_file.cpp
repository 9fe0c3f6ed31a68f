#include <cerrno>
#include <cstdio>
#include <cstring>

#include "orvex/frame_file.h"

// Frame after frame as the camera delivers them.
namespace orvex {

Format raw_format();

namespace {

class RawFile : public FrameFile {
  public:
    explicit RawFile(std::string path)
        : path_(std::move(path)), file_(std::fopen(path_.c_str(), "wb")) {
        if (!file_) fail_to_write(path_, std::strerror(errno));
    }

    void add(std::span<const uint8_t> frame) override {
        if (std::fwrite(frame.data(), 1, frame.size(), file_.get()) != frame.size()) {
            fail_to_write(path_, std::strerror(errno));
        }
    }

    void finish(std::span<const FrameStamp> /*frames*/) override {
        if (std::fclose(file_.release()) != 0) fail_to_write(path_, std::strerror(errno));
    }

  private:
    struct Close {
        void operator()(FILE* file) const { std::fclose(file); }
    };

    std::string path_;
    std::unique_ptr<FILE, Close> file_;
};

}  // namespace

Format raw_format() {
    return {.name = "raw",
            .endings = {".raw"},
            .faithful = true,
            .bare = true,
            .create = [](const std::string& path, const Facts& /*facts*/)
                -> std::unique_ptr<FrameFile> { return std::make_unique<RawFile>(path); }};
}

}  // namespace orvex
