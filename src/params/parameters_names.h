#pragma once

#include "params/camera_answers.h"

// Texts and numbers that identify a camera.
namespace bv {

inline constexpr Parameter name_parameters[] = {
    {.id = PARAM_CHIP_NAME,
     .getter = "bv_get_chip_name",
     .shape = Shape::text,
     .text = kept<&cam_reads_type::chip_name>},
    {.id = PARAM_SYSTEM_NAME,
     .getter = "bv_get_system_name",
     .available = field<&cam_reads_type::cap_system_name>,
     .shape = Shape::text,
     .text = kept<&cam_reads_type::system_name>},
    {.id = PARAM_VENDOR_NAME,
     .getter = "bv_get_vendor_name",
     .available = field<&cam_reads_type::cap_vendor_name>,
     .shape = Shape::text,
     .text = kept<&cam_reads_type::vendor_name>},
    {.id = PARAM_PRODUCT_NAME,
     .getter = "bv_get_product_name",
     .available = field<&cam_reads_type::cap_product_name>,
     .shape = Shape::text,
     .text = kept<&cam_reads_type::product_name>},
    {.id = PARAM_CAMERA_PART_NUMBER,
     .getter = "bv_get_camera_part_number",
     .available = field<&cam_reads_type::cap_part_number>,
     .shape = Shape::text,
     .text = kept<&cam_reads_type::camera_part_number>},
    {.id = PARAM_HEAD_SER_NUM_ALPHA,
     .getter = "bv_get_head_ser_num_alpha",
     .available = field<&cam_reads_type::cap_head_ser_num>,
     .shape = Shape::text,
     .text = kept<&cam_reads_type::head_ser_num_alpha>},
    {.id = PARAM_CAM_FW_FULL_VERSION,
     .getter = "bv_get_cam_fw_full_version",
     .available = field<&cam_reads_type::cap_fw_full_version>,
     .shape = Shape::text,
     .text = kept<&cam_reads_type::cam_fw_full_version_alpha>},
    {.id = PARAM_CAM_SYSTEMS_INFO,
     .getter = "bv_get_cam_systems_info",
     .shape = Shape::text,
     .text = SystemsInfo},
    {.id = PARAM_GAIN_NAME,
     .getter = "bv_get_gain_name",
     .available = field<&cam_reads_type::cap_gain_name>,
     .shape = Shape::text,
     .text = GainName},
    {.id = PARAM_SERIAL_NUM,
     .getter = "bv_get_serial_num",
     .current = field<&cam_reads_type::serial_num>},
    {.id = PARAM_CAM_FW_VERSION, .getter = "bv_get_cam_fw_version", .current = FirmwareVersion},
};

}  // namespace bv
