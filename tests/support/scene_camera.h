#pragma once

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

#include "orvex/orvex.h"

#include "support/environment.h"
#include "support/eventually.h"
#include "support/scene_image.h"
#include "support/temp_dir.h"

namespace support {

// A software camera without noise that looks at a known picture, reached through the exported
// functions alone.
class SceneCamera {
  public:
    struct Setup {
        std::string model = "cmos";  // of the configuration of the software camera
        uns32 size = 2048;           // of the sensor, in both directions
        std::string time_scale = "0";
        bool stamp = false;  // frames begin with their numbers
        std::string modules = ORVEX_LIBRARY_DIR "/orvex";
    };

    explicit SceneCamera(const Setup& setup)
        : scene_(setup.size, setup.size, 20261121),
          configuration_("ORVEX_SOFTCAM", WriteConfiguration(setup)),
          modules_("ORVEX_MODULE_PATH", setup.modules) {
        Require(ox_orvex_init(), "init");
        std::array<char, CAM_NAME_LEN> name{"Subject"};
        Require(ox_cam_open(name.data(), &handle_, EXT_OPEN_EXCLUSIVE), "open");
    }
    ~SceneCamera() { ox_orvex_uninit(); }

    int16 handle() const { return handle_; }
    const SceneImage& scene() const { return scene_; }

    // Throws with the library's own text when a call was refused.
    void Require(boolean16 result, const char* what) const {
        if (result) return;
        std::array<char, ERROR_MSG_LEN> message{};
        ox_error_message(ox_error_code(), message.data());
        throw std::runtime_error(std::string(what) + ": " + message.data());
    }
    template <class T>
    T Get(uns32 id, int16 attribute = ATTR_CURRENT) const {
        T value{};
        Require(ox_get_param(handle_, id, attribute, &value), "get");
        return value;
    }
    template <class T>
    void Set(uns32 id, T value) const {
        Require(ox_set_param(handle_, id, &value), "set");
    }

    // Sets a sequence up and starts it; the pixels are `untouched` until the camera writes them.
    std::vector<uns16> Start(uns16 frames, const std::vector<rgn_type>& regions, int16 mode,
                             uns32 exposure) const {
        uns32 bytes = 0;
        Require(ox_exp_setup_seq(handle_, frames, static_cast<uns16>(regions.size()),
                                 regions.data(), mode, exposure, &bytes),
                "setup");
        std::vector<uns16> pixels(bytes / 2, untouched);
        Require(ox_exp_start_seq(handle_, pixels.data()), "start");
        return pixels;
    }
    // Polls until all frames are there.
    void Await() const {
        if (Eventually([this] {
                int16 status = 0;
                uns32 arrived = 0;
                Require(ox_exp_check_status(handle_, &status, &arrived), "status");
                return status == READOUT_COMPLETE;
            }))
            return;
        throw std::runtime_error("the run never ended");
    }
    // One whole sequence; the frames one after the other.
    std::vector<uns16> Run(uns16 frames, const std::vector<rgn_type>& regions, int16 mode,
                           uns32 exposure) const {
        std::vector<uns16> pixels = Start(frames, regions, mode, exposure);
        Await();
        Require(ox_exp_finish_seq(handle_, pixels.data(), 0), "finish");
        return pixels;
    }

    static constexpr uns16 untouched = 0xABCD;  // above all values of a scene

  private:
    std::string WriteConfiguration(const Setup& setup) const {
        const std::string picture = folder_ / "scene.tif";
        scene_.WriteTiff(picture);
        return folder_.write("cameras.json", R"({"noise": false, "time_scale": )" +
                                                 setup.time_scale + R"(, "stamp": )" +
                                                 (setup.stamp ? "true" : "false") +
                                                 R"(, "scene": {"kind": "file", "path": ")" +
                                                 picture + R"("}, "cameras": [{"model": ")" +
                                                 setup.model + R"(", "name": "Subject"}]})");
    }

    TempDir folder_;
    SceneImage scene_;
    Environment configuration_;
    Environment modules_;
    // A plug-in of the machine is none of the tests' business.
    Environment machine_{"SystemDrive", folder_.path().string()};
    int16 handle_ = -1;
};

}  // namespace support
