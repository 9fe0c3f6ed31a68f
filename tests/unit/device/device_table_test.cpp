#include "device/device_table.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <string>
#include <unistd.h>

#include "device/ddi.h"
#include "support/core/installed_driver.h"
#include "support/core/trace_capture.h"
#include "support/scripted_driver.h"

namespace {

using support::InstalledDriver;
using support::ScriptedCamera;
using support::ScriptedDriver;
using support::TraceCapture;
using testing::Contains;
using testing::ElementsAre;

class DeviceTable : public testing::Test {
  protected:
    DeviceTable() {
        driver_.add_camera("First");
        driver_.add_camera(name_).transport(DRIVER_TYPE_PCIE);
        installed_ = std::make_unique<InstalledDriver>(driver_);
    }
    ScriptedCamera& camera() { return driver_.camera(1); }
    orvex_device* device() { return camera().device(); }
    boolean16 open() { return dv_cam_open(name_.c_str(), &hcam_); }

    // Events are found by name in the whole system, so a test beside this one has other names.
    const std::string name_ = "Cam" + std::to_string(getpid());
    const std::string events_ = "1_" + name_ + "_";

    TraceCapture trace_;
    ScriptedDriver driver_;
    std::unique_ptr<InstalledDriver> installed_;
    int16 hcam_ = -7;
};

TEST_F(DeviceTable, HandsFiveEventsToTheDriverAndNamesSix) {
    ASSERT_EQ(open(), 1);
    const auto record = camera().open_record();
    ASSERT_TRUE(record);
    EXPECT_EQ(record->hcam, 1);
    EXPECT_EQ(camera().ioctls().front().in.size(), 48u);
    EXPECT_EQ(camera().ioctls().front().out_size, 2u);

    struct EventCase {
        std::string name;
        dv_event* event;
        int64_t handle;
        bool automatic;
    };
    const EventCase cases[] = {
        {events_ + "WriteAck", device()->write_ack, record->write_ack, false},
        {events_ + "ReadAck", device()->read_ack, record->read_ack, false},
        {events_ + "BOF", device()->bof, record->bof, true},
        {events_ + "EOF", device()->eof, record->eof, true},
        {events_ + "AbortAck", device()->abort_ack, record->abort_ack, true},
        {events_ + "FlushAck", device()->flush_ack, device()->flush_ack->handle, true},
    };
    for (const EventCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.event->name, c.name);
        EXPECT_EQ(c.event->handle, c.handle);
        dv_event_reset(c.event);
        EXPECT_EQ(dv_event_wait(c.event, 0), 0);
        orvex_event by_name{};
        ASSERT_EQ(orvex_event_open_name(&by_name, c.name.c_str()), 1);
        orvex_event_set(&by_name);
        EXPECT_EQ(dv_event_wait(c.event, 0), 1);
        EXPECT_EQ(dv_event_wait(c.event, 0), c.automatic ? 0 : 1);
        orvex_event_close(&by_name);
    }
}

TEST_F(DeviceTable, RefusesWhatItCannotOpen) {
    EXPECT_TRUE(trace_.refused(dv_cam_open(name_.c_str(), nullptr), C0_NULL_POINTER,
                               "Output argument for camera handle is null"));

    EXPECT_EQ(dv_cam_open("Unknown", &hcam_), 0);
    EXPECT_EQ(hcam_, -1);
    EXPECT_TRUE(trace_.failed_with(C0_CAM_NAME_NOT_FOUND, "Camera name not found"));

    ASSERT_EQ(open(), 1);
    for (uint32_t state : {DEVICE_OPEN, DEVICE_REMOVED, DEVICE_RESUMED}) {
        SCOPED_TRACE(state);
        camera().set_state(state);
        hcam_ = -1;
        EXPECT_EQ(open(), 0);
        EXPECT_EQ(hcam_, 1) << "the handle is known all the same";
        EXPECT_TRUE(trace_.failed_with(C0_CAM_ALREADY_OPEN, "Camera already open"));
    }
    EXPECT_EQ(camera().state(), uint32_t{DEVICE_OPEN}) << "a resumed camera has settled";
    EXPECT_EQ(camera().opens(), 1u);
}

TEST_F(DeviceTable, NeedsThreeAttemptsAfterAFailedOpen) {
    camera().fail_open();
    EXPECT_TRUE(trace_.refused(open(), C7_DRIVER_COM_ERROR, "Failed to open camera device"));
    EXPECT_NE(device()->write_ack, nullptr);

    camera().fail_open(false);
    EXPECT_TRUE(trace_.refused(open(), C0_RESOURCE_ALLOCATION_FAILED,
                               "Failed to create event " + events_ + "WriteAck"));
    EXPECT_EQ(device()->write_ack, nullptr);
    EXPECT_EQ(camera().closes(), 1u) << "closed although it was not open";

    EXPECT_EQ(open(), 1);
}

TEST_F(DeviceTable, RefusesAModuleThatLeftAnOperationOut) {
    const orvex_device whole = *device();
    for (auto leave_out : std::initializer_list<void (*)(orvex_device&)>{
             [](orvex_device& d) { d.open = nullptr; }, [](orvex_device& d) { d.close = nullptr; },
             [](orvex_device& d) { d.read = nullptr; }, [](orvex_device& d) { d.write = nullptr; },
             [](orvex_device& d) { d.ioctl = nullptr; }}) {
        leave_out(*device());
        EXPECT_TRUE(trace_.refused(open(), C7_DRIVER_COM_ERROR, "Failed to open camera device"));
        EXPECT_EQ(device()->write_ack, nullptr);
        *device() = whole;
    }
    EXPECT_EQ(open(), 1);
}

TEST_F(DeviceTable, ReportsADriverThatRefusesToOpen) {
    camera().open_status(5);
    EXPECT_TRUE(
        trace_.refused(open(), C7_DRIVER_COM_ERROR, "An error status 5 reported by driver"));
    EXPECT_EQ(camera().state(), uint32_t{DEVICE_CLOSED});
}

TEST_F(DeviceTable, ClosesARemovedCameraWithoutAskingTheDriver) {
    ASSERT_EQ(open(), 1);
    camera().forget();
    camera().set_state(DEVICE_REMOVED);
    EXPECT_EQ(dv_cam_close(hcam_), 1);
    EXPECT_THAT(camera().ioctl_codes(), ElementsAre());
    EXPECT_EQ(camera().closes(), 1u);
    EXPECT_EQ(camera().state(), uint32_t{DEVICE_CLOSED});
    EXPECT_EQ(device()->hcam, -1);
    EXPECT_EQ(open(), 1);
}

// A name that can't be had takes nothing from the driver, which gets handles.
TEST_F(DeviceTable, DoesWithoutTheNameThatAnotherUserHas) {
    // Like an object of another user, a folder can't be opened, replaced or removed.
    const std::string name = events_ + "BOF";
    const std::filesystem::path taken = "/dev/shm/orvex." + name;
    ASSERT_TRUE(std::filesystem::create_directory(taken));
    EXPECT_EQ(open(), 1);
    EXPECT_THAT(trace_.messages(bv::log_warning),
                Contains("create_camera_events: The name of event " + name +
                         " is another user's, only the driver can reach it"));
    EXPECT_TRUE(camera().signal(ScriptedCamera::Ack::bof));
    EXPECT_EQ(dv_event_wait(device()->bof, 0), 1);
    EXPECT_EQ(dv_cam_close(hcam_), 1);
    EXPECT_TRUE(std::filesystem::remove(taken));
}

TEST_F(DeviceTable, GivesASuspendedCameraUpAfterFiveSeconds) {
    camera().set_state(DEVICE_SUSPENDED);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(CamIsOpen(1), 1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(camera().state(), uint32_t{DEVICE_REMOVED});
    camera().set_state(DEVICE_CLOSED);
}

}  // namespace
