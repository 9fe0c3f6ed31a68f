// The cameras of this module: those on USB, and on the network those that the environment names or,
// if it says so, all that answer a broadcast. To look at a network takes a second, and a camera
// that is looked at is controlled for a moment.
#include <cstdio>
#include <sstream>

#include "engine/module.h"
#include "engine/platform.h"

#include "firmware/camera.h"
#include "genicam/head.h"

namespace genicam {
namespace {

constexpr const char* network_interface = "GigEVision";

std::string Text(const char* text) {
    return text != nullptr ? text : "";
}

void AddListed(std::vector<Identity>& found) {
    arv_update_device_list();
    for (unsigned i = 0; i < arv_get_n_devices(); ++i)
        found.push_back({.address = Text(arv_get_device_id(i)),
                         .network = Text(arv_get_device_protocol(i)) == network_interface,
                         .vendor = Text(arv_get_device_vendor(i)),
                         .model = Text(arv_get_device_model(i)),
                         .serial = Text(arv_get_device_serial_nbr(i))});
}

// What is wrong; empty when there is a camera.
std::string AddNamed(const std::string& address, std::vector<Identity>& found) {
    // A name of any other form would be looked for by a broadcast.
    if (g_hostname_is_ip_address(address.c_str()) == FALSE) return "is no network address";
    const CameraPointer camera(Ask(arv_camera_new, address.c_str()).value_or(nullptr));
    if (!camera) return "does not answer";
    found.push_back({.address = address,
                     .network = true,
                     .vendor = ReadText(arv_camera_get_vendor_name, camera.get()),
                     .model = ReadText(arv_camera_get_model_name, camera.get()),
                     .serial = ReadText(arv_camera_get_device_serial_number, camera.get())});
    return {};
}

std::vector<Identity> FindCameras(const std::string& wanted) {
    std::vector<Identity> found;
    if (wanted == "off") return found;
    (wanted == "all" ? arv_enable_interface : arv_disable_interface)(network_interface);
    AddListed(found);
    if (wanted.empty() || wanted == "all") return found;
    arv_enable_interface(network_interface);
    std::istringstream addresses(wanted);
    for (std::string address; std::getline(addresses, address, ',');) {
        const std::string wrong = AddNamed(address, found);
        if (!wrong.empty())
            std::fprintf(stderr, "orvexDDI: the camera '%s' of ORVEX_GENICAM %s\n", address.c_str(),
                         wrong.c_str());
    }
    return found;
}

}  // namespace
}  // namespace genicam

namespace engine {

bool FindSensors(std::vector<std::unique_ptr<Sensor>>& sensors, std::string& /*message*/) {
    const auto aravis = std::make_shared<genicam::Aravis>();
    for (genicam::Identity& identity : genicam::FindCameras(EnvironmentVariable("ORVEX_GENICAM")))
        sensors.push_back(std::make_unique<firmware::Camera>(
            std::make_unique<genicam::Head>(std::move(identity), aravis)));
    return true;
}

}  // namespace engine
