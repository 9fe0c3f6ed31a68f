// The pieces of docs/cpp.md, run one after the other.
#include <atomic>
#include <iostream>
#include <orvex/orvex.hpp>

namespace {

void show_parameters(const orvex::Camera& camera) {
    camera.set<PARAM_TEMP_SETPOINT>(-1000);  // an int16, as the id says
    std::cout << camera.get<PARAM_CHIP_NAME>() << " at " << camera.get<PARAM_SER_SIZE>() << " x "
              << camera.get<PARAM_PAR_SIZE>() << '\n';

    const orvex::Parameter setpoint = camera.parameter("TEMP_SETPOINT");
    std::cout << setpoint.amount() << ' ' << setpoint.unit()->name << ", possible are "
              << setpoint.amount(ATTR_MIN) << " to " << setpoint.amount(ATTR_MAX) << '\n';
    for (const orvex::EnumEntry& entry : camera.parameter("FAN_SPEED_SETPOINT").entries()) {
        std::cout << entry.value << ": " << entry.text << '\n';
    }
}

void fail_on_purpose(const orvex::Camera& camera) {
    try {
        camera.set<PARAM_TEMP_SETPOINT>(30000);
    } catch (const orvex::Error& error) {
        std::cout << error.code() << ", " << error.text() << '\n';
    }
}

void take_sequence(const orvex::Camera& camera) {
    const rgn_type region = orvex::make_region(100, 50, 200, 100, 2, 2);
    orvex::Sequence sequence(camera, {orvex::Milliseconds(5), {region}}, 3);
    sequence.run();
    for (uns32 number = 1; number <= sequence.frames(); ++number) {
        std::cout << "frame " << number << " begins with " << sequence.pixels(number)[0] << '\n';
    }
}

void watch(const orvex::Camera& camera) {
    std::atomic<int> told{0};
    orvex::ContinuousRun run(camera, {orvex::Milliseconds(1), {orvex::make_region(0, 0, 64, 64)}},
                             {}, [&told](const FRAME_INFO&) { ++told; });
    uns32 lost = 0;
    for (const orvex::Frame& frame : run) {
        lost += frame.lost();
        if (frame.number() >= 200) break;
    }
    run.stop();
    std::cout << "200 frames, " << lost << " lost" << (told > 0 ? "" : ", none told of") << '\n';
}

void take_two_regions(const orvex::Camera& camera) {
    camera.set<PARAM_METADATA_ENABLED>(true);
    orvex::Sequence sequence(
        camera, {orvex::Milliseconds(5),
                 {orvex::make_region(200, 0, 32, 16), orvex::make_region(0, 100, 64, 8)}});
    sequence.run();
    const orvex::Metadata frame(sequence.bytes(1));
    for (const orvex::MetadataRegion& part : frame.regions()) {
        std::cout << part.pixels().size() << " pixels from column " << part.region().s1 << '\n';
    }
}

void lose_camera(const orvex::Camera& camera) {
    std::string unplug = "unplug";  // an order to the software camera
    oz_cam_send_debug(camera.handle(), unplug.data(), 0, nullptr);
    try {
        for (;;) camera.get<PARAM_TEMP>();
    } catch (const orvex::CameraGone& gone) {
        std::cout << gone.what() << '\n';
    }
}

}  // namespace

int main() try {
    const orvex::Library library;
    for (const std::string& name : library.cameras()) std::cout << name << '\n';
    const orvex::Camera camera(library, 0);
    show_parameters(camera);
    fail_on_purpose(camera);
    take_sequence(camera);
    watch(camera);
    take_two_regions(camera);
    lose_camera(camera);
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
