#include "support/windows/relay_end.h"

#include <array>
#include <stdexcept>

#include "support/windows/relay.h"

namespace support {

namespace {

std::string RelayFile() {
    std::array<char, MAX_PATH> program{};
    GetModuleFileNameA(nullptr, program.data(), static_cast<DWORD>(program.size()));
    const std::string path = program.data();
    return path.substr(0, path.rfind('\\')) + "\\orvexrelay.sys";
}

// A service that an earlier run left has the path of that run.
void StartRelay() {
    const std::string file = RelayFile();
    SC_HANDLE const services = OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    SC_HANDLE service = OpenServiceA(services, RELAY_SERVICE, SERVICE_ALL_ACCESS);
    if (service)
        ChangeServiceConfigA(service, SERVICE_KERNEL_DRIVER, SERVICE_DEMAND_START,
                             SERVICE_ERROR_NORMAL, file.c_str(), nullptr, nullptr, nullptr, nullptr,
                             nullptr, nullptr);
    else
        service = CreateServiceA(services, RELAY_SERVICE, nullptr, SERVICE_ALL_ACCESS,
                                 SERVICE_KERNEL_DRIVER, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL,
                                 file.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr);
    StartServiceA(service, 0, nullptr);
    CloseServiceHandle(service);
    CloseServiceHandle(services);
}

HANDLE OpenRelay() {
    return CreateFileA(RELAY_DRIVER, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0,
                       nullptr);
}

}  // namespace

RelayEnd::RelayEnd() {
    relay_ = OpenRelay();
    if (relay_ == INVALID_HANDLE_VALUE) {
        StartRelay();
        relay_ = OpenRelay();
    }
    if (relay_ == INVALID_HANDLE_VALUE) throw std::runtime_error("no driver " + RelayFile());
}

std::string RelayEnd::path() const {
    return RELAY_CAMERA;
}

bool RelayEnd::Control(DWORD code, void* in, DWORD in_size, void* out, DWORD out_size) {
    DWORD size = 0;
    return DeviceIoControl(relay_, code, in, in_size, out, out_size, &size, nullptr) != 0;
}

bool RelayEnd::receive(dv_file_request& request) {
    const bool received = Control(RELAY_RECEIVE, nullptr, 0, &request, sizeof request);
    connected_ = !received || request.operation != 0;
    return received && connected_;
}

void RelayEnd::send(const dv_file_completion& completion) {
    dv_file_completion message = completion;
    Control(RELAY_COMPLETE, &message, sizeof message, nullptr, 0);
}

void RelayEnd::die() {
    if (relay_ != INVALID_HANDLE_VALUE) CloseHandle(relay_);
    relay_ = INVALID_HANDLE_VALUE;
}

void RelayEnd::answer(DWORD relay_code) {
    uint32_t on = 1;
    Control(relay_code, &on, sizeof on, nullptr, 0);
}

std::unique_ptr<DeviceFileEnd> DeviceFileEnd::make(const std::filesystem::path&) {
    return std::make_unique<RelayEnd>();
}

}  // namespace support
