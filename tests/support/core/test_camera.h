#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "device/device_table.h"
#include "state/api_global.h"
#include "state/camera_tables.h"
#include "support/core/installed_driver.h"
#include "support/scripted_driver.h"

namespace support {

// Open cameras over a scripted driver with filled tables, for what works above an open camera: no
// open sequence runs, the rows are set here as an open would have left them, and the firmware
// knows the same values. The writes and control operations of the set-up are forgotten.
class TestCamera {
  public:
    static constexpr int16 hcam = 0;
    static constexpr uns16 ser_size = 512;
    static constexpr uns16 par_size = 256;

    explicit TestCamera(int16 count = 1, bool kernel_mode = false,
                        uint32_t transport = DRIVER_TYPE_USB) {
        for (int16 i = 0; i < count; ++i) {
            ScriptedCamera& added = driver_.add_camera("Camera " + std::to_string(i));
            added.transport(transport);
            if (kernel_mode) added.kernel_mode();
            teach(added.firmware());
        }
        installed_ = std::make_unique<InstalledDriver>(driver_);
        make_tables(count);
        for (int16 i = 0; i < count; ++i) {
            int16 handle = -1;
            EXPECT_EQ(dv_cam_open(cam_info(i).name, &handle), 1);
            EXPECT_EQ(handle, i);
            camera(i).forget();
        }
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    }

    ~TestCamera() {
        installed_.reset();
        orvex_initialized = 0;
        total_cams = 0;
        pg_cam_reads.reset();
        pg_cam_cfg.reset();
        pg_decode_info.reset();
        pg_cam_info.reset();
        acq_cache.fill({});
    }
    TestCamera(const TestCamera&) = delete;
    TestCamera& operator=(const TestCamera&) = delete;

    ScriptedDriver& driver() { return driver_; }
    ScriptedCamera& camera(int16 handle = hcam) {
        return driver_.camera(static_cast<size_t>(handle));
    }
    ScriptedFirmware& firmware(int16 handle = hcam) { return camera(handle).firmware(); }
    orvex_device* device(int16 handle = hcam) { return camera(handle).device(); }
    std::vector<Bytes> writes(int16 handle = hcam) { return camera(handle).writes(); }

    cam_info_type& cam_info(int16 handle = hcam) { return pg_cam_info[row(handle)]; }
    decode_info_type& decode_info(int16 handle = hcam) { return pg_decode_info[row(handle)]; }
    cam_cfg_type& cfg(int16 handle = hcam) { return pg_cam_cfg[row(handle)]; }
    cam_reads_type& reads(int16 handle = hcam) { return pg_cam_reads[row(handle)]; }
    acq_cache_type& cache(int16 handle = hcam) { return acq_cache[row(handle)]; }

    // From now on the camera's replies begin with a status byte.
    void use_reply_status(int16 handle = hcam) {
        camera(handle).bridge_caps({ORVEX_BRIDGE_CAPS_SIGNATURE, BRIDGE_CAPS_REPLY_STATUS});
        firmware(handle).status_byte(true);
        EXPECT_EQ(cam_info(handle).bridge_caps->Read(handle), 1);
        camera(handle).forget();
    }

  private:
    static size_t row(int16 handle) { return static_cast<size_t>(handle); }

    static void teach(ScriptedFirmware& firmware) {
        firmware.reply(CHIP_NAME, "KX-512")
            .reply(PAR_SIZE, 2, par_size)
            .reply(SER_SIZE, 2, ser_size)
            .reply(PAR_PIX_SIZE, 2, 6500)
            .reply(PAR_PIX_SPACE, 2, 6500)
            .reply(SER_PIX_SIZE, 2, 6500)
            .reply(SER_PIX_SPACE, 2, 6500)
            .reply(SPD_BIT_DEPTH, 1, 16)
            .reply(SPD_MAX_GAIN, 1, 3)
            .reply(SPD_USER_GAIN, 1, 1)
            .reply(SPD_SPEED, 2, 100)
            .reply(TOTAL_SPD, 1, 2)
            .reply(TOTAL_PORTS, 1, 1)
            .reply(FULL_WELL_CAP, 2, 30)
            .reply(FIRMWARE_VER, 1, 6)
            .reply(FIRMWARE_MINOR_VER, 1, 1)
            .reply(CAM_SER_NUM, 2, 1234)
            .reply(MPP_CAP, 1, MPP_ALWAYS_OFF)
            .reply(CUR_CCD_TEMP, 2, 2500)
            .reply(GET_CCL_SCRIPT_WORDS, 2, 8192)
            .reply(STAT_TABLE_SIZE, 1, 10);
    }

    void make_tables(int16 count) {
        const size_t rows = row(count);
        total_cams = count;
        orvex_initialized = 1;
        pg_cam_info = std::make_unique<cam_info_type[]>(rows);
        pg_decode_info = std::make_unique<decode_info_type[]>(rows);
        pg_cam_cfg = std::make_unique<cam_cfg_type[]>(rows);
        pg_cam_reads = std::make_unique<cam_reads_type[]>(rows);
        for (int16 i = 0; i < count; ++i) {
            dv_ddi_get_cam_name(i, &cam_info(i).name);
            cam_info(i).open = cam_info(i).reads_done = cam_info(i).rws_done = 1;
            cam_info(i).bridge_caps = std::make_unique<bv::BridgeCaps>();
            cfg(i).par_size = par_size;
            cfg(i).ser_size = ser_size;
            cfg(i).spdtab_time = 100;
            cfg(i).io_script_info = std::make_unique<io_script_lists>();
            fill_reads(reads(i));
        }
    }

    static void fill_reads(cam_reads_type& reads) {
        std::string("KX-512").copy(reads.chip_name, sizeof reads.chip_name - 1);
        reads.fwell_capacity = 30000;
        reads.mpp_capable = MPP_ALWAYS_OFF;
        reads.pix_par_dist = reads.pix_par_size = 6500;
        reads.pix_ser_dist = reads.pix_ser_size = 6500;
        reads.serial_num = 1234;
        reads.temp_min = -4000;
        reads.temp_max = 2500;
        reads.spdtab_total = 2;
        reads.port_total = 1;
        reads.fw_major = 6;
        reads.fw_minor = 1;
        reads.exp_res_total = 1;
        reads.blob_piav_map = std::make_unique<std::map<uns32, std::map<uns16, uns64>>>();
        reads.exp_range_map = std::make_unique<std::map<int32, exp_range_type>>();
        for (int32 resolution : {EXP_RES_ONE_MICROSEC, EXP_RES_ONE_MILLISEC, EXP_RES_ONE_SEC})
            (*reads.exp_range_map)[resolution] = {static_cast<uns32>(resolution), 0, 0xFFFFFFFF};
    }

    ScriptedDriver driver_;
    std::unique_ptr<InstalledDriver> installed_;
};

}  // namespace support
