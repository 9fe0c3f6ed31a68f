#include "camera/subsystems.h"

#include "orvex/orvex_protocol.h"

#include "messages/host_command_message.h"
#include "state/bytes.h"
#include "state/call.h"

namespace {

// All of them ask one board for one thing.
boolean16 AskSubsystem(bv::HostCommandMessage& message, orvex_host_command id,
                       uns8 subsys_address) {
    message.BeginReply();
    message.AddWriteRead(id, subsys_address);
    message.RequestReply();
    return message.Execute();
}

}  // namespace

boolean16 bv_subsys_get_id(int16 hcam, uns8 subsys_address, uns16* subsys_id,
                           uns8* subsys_minor_version) {
    bv::Call call("bv_subsys_get_id", bv::arg("hcam", hcam),
                  bv::arg("subsys_address", subsys_address), bv::arg("subsys_id", subsys_id),
                  bv::arg("subsys_minor_version", subsys_minor_version));
    bv::HostCommandMessage message(hcam);
    if (!AskSubsystem(message, SUBSYS_ID, subsys_address)) return call.failed();
    bv::BigEndianReader reply(message.ReplyBytes(SUBSYS_ID));
    *subsys_id = reply.take<uns16>();
    *subsys_minor_version = reply.take<uns8>();
    return call.ok(bv::arg("*subsys_id", *subsys_id),
                   bv::arg("*subsys_minor_version", *subsys_minor_version));
}

boolean16 bv_subsys_get_name(int16 hcam, uns8 subsys_address, char* subsys_name) {
    bv::Call call("bv_subsys_get_name", bv::arg("hcam", hcam),
                  bv::arg("subsys_address", subsys_address),
                  bv::arg("subsys_name", static_cast<const void*>(subsys_name)));
    bv::HostCommandMessage message(hcam);
    if (!AskSubsystem(message, SUBSYS_NAME, subsys_address)) return call.failed();
    message.GetReply(SUBSYS_NAME, subsys_name);
    return call.ok(bv::quoted("*subsys_name", subsys_name));
}

boolean16 bv_subsys_do_diag(int16 hcam, uns8 subsys_address, uns16* err_code) {
    bv::Call call("bv_subsys_do_diag", bv::arg("hcam", hcam),
                  bv::arg("subsys_address", subsys_address), bv::arg("err_code", err_code));
    bv::HostCommandMessage message(hcam);
    if (!AskSubsystem(message, SUBSYS_DIAG, subsys_address)) return call.failed();
    *err_code = message.Reply<uns16>(SUBSYS_DIAG);
    return call.ok(bv::arg("*err_code", *err_code));
}
