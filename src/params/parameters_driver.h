#pragma once

#include "camera/extended_capabilities.h"
#include "device/command_io.h"
#include "params/accessors.h"
#include "params/camera_answers.h"
#include "params/exposure_answers.h"
#include "params/upcalls.h"

// Driver, interface and frame interrupts.
namespace bv {

inline constexpr EnumText interrupt_texts[] = {
    {NO_FRAME_IRQS, "No Bof or Eof"},
    {BEGIN_FRAME_IRQS, "Bof Only"},
    {END_FRAME_IRQS, "Eof Only"},
    {BEGIN_END_FRAME_IRQS, "Bof and Eof"},
};
inline constexpr EnumText interface_mode_texts[] = {
    {OX_CAM_IFC_MODE_UNSUPPORTED, "Unsupported"},
    {OX_CAM_IFC_MODE_CONTROL_ONLY, "Control only"},
    {OX_CAM_IFC_MODE_IMAGING, "Imaging"},
};
inline constexpr EnumText interface_type_texts[] = {
    {OX_CAM_IFC_TYPE_1394, "1394"},       {OX_CAM_IFC_TYPE_1394_A, "1394A"},
    {OX_CAM_IFC_TYPE_1394_B, "1394B"},    {OX_CAM_IFC_TYPE_USB, "USB"},
    {OX_CAM_IFC_TYPE_USB_1_1, "USB 1.1"}, {OX_CAM_IFC_TYPE_USB_2_0, "USB 2.0"},
    {OX_CAM_IFC_TYPE_USB_3_0, "USB 3.0"}, {OX_CAM_IFC_TYPE_USB_3_1, "USB 3.1"},
    {OX_CAM_IFC_TYPE_PCI, "PCI"},         {OX_CAM_IFC_TYPE_PCI_LVDS, "PCI LVDS"},
    {OX_CAM_IFC_TYPE_PCIE, "PCIe"},       {OX_CAM_IFC_TYPE_PCIE_LVDS, "PCIe LVDS"},
    {OX_CAM_IFC_TYPE_PCIE_X1, "PCIe X1"}, {OX_CAM_IFC_TYPE_PCIE_X4, "PCIE X4"},
    {OX_CAM_IFC_TYPE_VIRTUAL, "Virtual"}, {OX_CAM_IFC_TYPE_ETHERNET, "Ethernet"},
};

inline constexpr Parameter driver_parameters[] = {
    {.id = PARAM_DD_INFO_LENGTH,
     .getter = "bv_get_dd_info_length",
     .current = asked<dv_driver_get_info_length>},
    {.id = PARAM_DD_INFO, .getter = "bv_get_dd_info", .shape = Shape::text, .text = DriverInfo},
    {.id = PARAM_DD_VERSION, .getter = "bv_get_dd_version", .current = asked<dv_driver_get_ver>},
    // Drivers keep defaults of their own for these two and don't tell them.
    {.id = PARAM_DD_RETRIES,
     .getter = "bv_get_dd_retries",
     .access = ACC_READ_WRITE,
     .shape = Shape::range,
     .current = asked<dv_driver_get_retries>,
     .set = by<dv_driver_set_retries>},
    {.id = PARAM_DD_TIMEOUT,
     .getter = "bv_get_dd_timeout",
     .access = ACC_READ_WRITE,
     .shape = Shape::range,
     .current = asked<dv_driver_get_timeout>,
     .set = by<dv_driver_set_timeout>},
    {.id = PARAM_PCI_FW_VERSION,
     .getter = "bv_get_pci_fw_version",
     .current = asked<dv_driver_get_pci_fw>},
    // The low 16 bits of the driver's clock.
    {.id = PARAM_CURRENT_OZTIME,
     .getter = "bv_get_current_oztime",
     .shape = Shape::range,
     .current = asked<dv_exp_get_current_oz_time>},
    {.id = PARAM_CAM_INTERFACE_TYPE,
     .getter = "bv_get_cam_interface_type",
     .available = bit<&cam_reads_type::ifc_caps, 1>,
     .shape = Shape::items,
     .current = asked<bv_cam_get_interface_type_current>,
     .entries = {.values = &cam_reads_type::ifc_types,
                 .texts = interface_type_texts,
                 .other = "Unknown"}},
    {.id = PARAM_CAM_INTERFACE_MODE,
     .getter = "bv_get_cam_interface_mode",
     .available = bit<&cam_reads_type::ifc_caps, 2>,
     .shape = Shape::items,
     .current = InterfaceMode,
     .entries = {.values = &cam_reads_type::ifc_modes,
                 .texts = interface_mode_texts,
                 .other = "Unknown"}},
    {.id = PARAM_BOF_EOF_ENABLE,
     .getter = "bv_get_bof_eof_enable",
     .access = ACC_READ_WRITE,
     .available = CountsInterrupts,
     .shape = Shape::items,
     .current = field<&cam_info_type::irq_mask>,
     .entries = {.texts = interrupt_texts},
     .set = by<SetCountedInterrupts>},
    {.id = PARAM_BOF_EOF_COUNT,
     .getter = "bv_get_bof_eof_count",
     .current = asked<dv_exp_get_ints>},
    {.id = PARAM_BOF_EOF_CLR,
     .getter = "bv_get_bof_eof_clr",
     .access = ACC_WRITE_ONLY,
     .current = 0,
     .act = dv_exp_clear_ints},
};

}  // namespace bv
