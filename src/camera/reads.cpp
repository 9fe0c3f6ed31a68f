#include "camera/reads.h"

#include <algorithm>
#include <array>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_protocol.h"

#include "camera/capabilities.h"
#include "camera/upcalls.h"
#include "messages/host_command_message.h"
#include "state/bytes.h"
#include "state/call.h"
#include "state/camera_rows.h"

namespace {

constexpr uns32 electrons_per_unit = 1000;

struct conditional_read {
    orvex_host_command id;
    uns16 cam_reads_type::* condition = nullptr;  // the flag that the camera must have
};

// All values that never change travel in one exchange, so that opening a camera stays quick over a
// slow link.
constexpr conditional_read fixed_reads[] = {
    {COOLING},
    {FULL_WELL_CAP},
    {MPP_CAP},
    {PREAMP_DELAY},
    {PRE_FLASH},
    {CAM_SER_NUM},
    {TEMP_RANGE},
    {PAR_PIX_SPACE},
    {PAR_PIX_SIZE},
    {SER_PIX_SPACE},
    {SER_PIX_SIZE},
    {TOTAL_SPD},
    {FIRMWARE_VER},
    {FIRMWARE_MINOR_VER},
    {CHIP_NAME},
    {GET_SYSTEM_NAME, &cam_reads_type::cap_system_name},
    {GET_VENDOR_NAME, &cam_reads_type::cap_vendor_name},
    {GET_PRODUCT_NAME, &cam_reads_type::cap_product_name},
    {GET_CAM_PART_NUM, &cam_reads_type::cap_part_number},
    {PAR_PORT_NUM, &cam_reads_type::cap_multiport},
    {SER_PORT_NUM, &cam_reads_type::cap_multiport},
};

bool IsWanted(const conditional_read& read, const cam_reads_type& reads) {
    return !read.condition || reads.*read.condition;
}

void StoreNames(const bv::HostCommandMessage& message, cam_reads_type& reads) {
    struct name_read {
        orvex_host_command id;
        uns16 cam_reads_type::* condition;
        char (cam_reads_type::*name)[32];
    };
    constexpr name_read names[] = {
        {GET_SYSTEM_NAME, &cam_reads_type::cap_system_name, &cam_reads_type::system_name},
        {GET_VENDOR_NAME, &cam_reads_type::cap_vendor_name, &cam_reads_type::vendor_name},
        {GET_PRODUCT_NAME, &cam_reads_type::cap_product_name, &cam_reads_type::product_name},
        {GET_CAM_PART_NUM, &cam_reads_type::cap_part_number, &cam_reads_type::camera_part_number},
    };
    for (const name_read& read : names) {
        if (reads.*read.condition) message.GetReply(static_cast<uns8>(read.id), reads.*read.name);
    }
    message.GetReply(CHIP_NAME, reads.chip_name);
    reads.chip_name[sizeof(reads.chip_name) - 1] = 0;
}

void StoreFixedReads(const bv::HostCommandMessage& message, cam_reads_type& reads) {
    reads.cooling_mode = message.Reply<uns16>(COOLING);
    reads.fwell_capacity = message.Reply<uns32>(FULL_WELL_CAP) * electrons_per_unit;
    reads.mpp_capable = message.Reply<uns16>(MPP_CAP);
    reads.preamp_delay = message.Reply<uns16>(PREAMP_DELAY);
    reads.preflash = message.Reply<uns16>(PRE_FLASH);
    reads.serial_num = message.Reply<uns16>(CAM_SER_NUM);
    bv::BigEndianReader range(message.ReplyBytes(TEMP_RANGE));
    reads.temp_max = range.take<int16>();
    reads.temp_min = range.take<int16>();
    reads.pix_par_dist = message.Reply<uns16>(PAR_PIX_SPACE);
    reads.pix_par_size = message.Reply<uns16>(PAR_PIX_SIZE);
    reads.pix_ser_dist = message.Reply<uns16>(SER_PIX_SPACE);
    reads.pix_ser_size = message.Reply<uns16>(SER_PIX_SIZE);
    reads.spdtab_total = message.Reply<int16>(TOTAL_SPD);
    reads.fw_major = message.Reply<uns16>(FIRMWARE_VER);
    reads.fw_minor = message.Reply<uns16>(FIRMWARE_MINOR_VER);
    StoreNames(message, reads);
    reads.par_ports = reads.cap_multiport ? message.Reply<uns16>(PAR_PORT_NUM) : uns16{1};
    reads.ser_ports = reads.cap_multiport ? message.Reply<uns16>(SER_PORT_NUM) : uns16{1};
}

bool IsPortCount(uns16 ports) {
    return ports == 1 || ports == 2;
}

boolean16 ReadOptional(int16 hcam, cam_reads_type& reads) {
    if (reads.cap_io && !bv_cam_get_io_reads(hcam)) return 0;
    if (reads.cap_exp_res && !bv_cam_get_fast_exp_reads(hcam)) return 0;
    if (reads.cap_head_ser_num && !bv_ccd_get_head_ser_num_alpha(hcam, reads.head_ser_num_alpha)) {
        return 0;
    }
    return !reads.cap_fw_full_version ||
           bv_cam_get_firmware_full_version_alpha(hcam, reads.cam_fw_full_version_alpha);
}

}  // namespace

boolean16 bv_cam_do_reads(int16 hcam) {
    bv::Call call("bv_cam_do_reads", bv::arg("hcam", hcam));
    uns16& reads_done = bv::InfoOf(hcam).reads_done;
    if (reads_done) return call.ok();
    if (!bv_cam_get_capabilities(hcam)) return call.failed();

    cam_reads_type& reads = bv::ReadsOf(hcam);
    bv::HostCommandMessage message(hcam);
    message.BeginReply();
    for (const conditional_read& read : fixed_reads) {
        if (IsWanted(read, reads)) message.AddRead(read.id);
    }
    message.RequestReply();
    if (!message.Execute()) return call.failed();
    StoreFixedReads(message, reads);
    if (!IsPortCount(reads.par_ports) || !IsPortCount(reads.ser_ports)) {
        return call.fail(C3_INVALID_CAPABILITIES, "Invalid multiport configuration");
    }
    if (!ReadOptional(hcam, reads)) return call.failed();
    reads_done = 1;
    return call.ok();
}

boolean16 bv_cam_get_io_reads(int16 hcam) {
    bv::Call call("bv_cam_get_io_reads", bv::arg("hcam", hcam));
    bv::SingleReadHostCommandMessage message(hcam, SEND_AVA_PORTS);
    if (!message.Execute()) return call.failed();
    bv::ReadsOf(hcam).io_total = message.Reply<uns16>(SEND_AVA_PORTS);
    return call.ok();
}

boolean16 bv_cam_get_fast_exp_reads(int16 hcam) {
    bv::Call call("bv_cam_get_fast_exp_reads", bv::arg("hcam", hcam));
    bv::HostCommandMessage message(hcam);
    message.BeginReply();
    message.AddRead(AVL_RESOLTNS);
    message.AddRead(MIN_RESOLTN);
    message.RequestReply();
    if (!message.Execute()) return call.failed();
    cam_reads_type& reads = bv::ReadsOf(hcam);
    reads.exp_res_total = message.Reply<uns16>(AVL_RESOLTNS);
    reads.exp_min_time = message.Reply<uns16>(MIN_RESOLTN);
    return call.ok();
}

boolean16 bv_cam_do_rws(int16 hcam) {
    bv::Call call("bv_cam_do_rws", bv::arg("hcam", hcam));
    uns16& rws_done = bv::InfoOf(hcam).rws_done;
    if (rws_done) return call.ok();

    struct size_read {
        orvex_host_command id;
        uns16 cam_cfg_type::* size;
    };
    constexpr size_read size_reads[] = {
        {PRE_MASK, &cam_cfg_type::premask},   {PRESCAN, &cam_cfg_type::prescan},
        {POST_MASK, &cam_cfg_type::postmask}, {POSTSCAN, &cam_cfg_type::postscan},
        {PAR_SIZE, &cam_cfg_type::par_size},  {SER_SIZE, &cam_cfg_type::ser_size},
    };
    bv::HostCommandMessage message(hcam);
    message.BeginReply();
    for (const size_read& read : size_reads) message.AddRead(read.id);
    message.RequestReply();
    if (!message.Execute()) return call.failed();
    cam_cfg_type& cfg = bv::ConfigOf(hcam);
    for (const size_read& read : size_reads) cfg.*read.size = message.Reply<uns16>(read.id);
    rws_done = 1;
    return call.ok();
}

boolean16 bv_cam_get_status_table(int16 hcam, uns8* table, uns8 bytes) {
    bv::Call call("bv_cam_get_status_table", bv::arg("hcam", hcam), bv::arg("table", table),
                  bv::arg("bytes", bytes));
    bv::SingleReadHostCommandMessage size(hcam, STAT_TABLE_SIZE);
    if (!size.Execute()) return call.failed();
    const uns8 available = size.Reply<uns8>(STAT_TABLE_SIZE);
    if (available < bytes) {
        return call.fail(C2_NOT_AVAILABLE, "Status table has only %u bytes",
                         static_cast<unsigned>(available));
    }
    bv::SingleReadHostCommandMessage message(hcam, STAT_TABLE, available);
    if (!message.Execute()) return call.failed();
    std::ranges::copy(message.ReplyBytes(STAT_TABLE).first(bytes), table);
    return call.ok();
}

boolean16 bv_cam_get_ccs_mem(int16 hcam, uns16* size) {
    bv::Call call("bv_cam_get_ccs_mem", bv::arg("hcam", hcam), bv::arg("size", size));
    // Older firmware does not know how much memory it has; all of it has the same.
    constexpr uns8 first_version_that_tells = 6;
    constexpr uns16 usual_size = 8192;

    bv::HostCommandMessage message(hcam);
    message.BeginReply();
    message.AddRead(FIRMWARE_VER);
    message.AddRead(GET_CCL_SCRIPT_WORDS);
    message.RequestReply();
    if (!message.Execute()) return call.failed();
    *size = message.Reply<uns8>(FIRMWARE_VER) < first_version_that_tells
                ? usual_size
                : message.Reply<uns16>(GET_CCL_SCRIPT_WORDS);
    return call.ok(bv::arg("*size", *size));
}
