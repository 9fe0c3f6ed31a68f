#include "messages/texts.h"

#include <array>
#include <cstddef>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_protocol.h"

namespace {

constexpr const char* unknown = "<UNKNOWN>";

// Ids run without gaps from 0.
template <std::size_t Count>
const char* TextAt(const std::array<const char*, Count>& texts, int32 id) {
    return id >= 0 && static_cast<std::size_t>(id) < Count ? texts[static_cast<std::size_t>(id)]
                                                           : unknown;
}

#define TEXT_OF_HOST_COMMAND(name, id, wb, we, rb, re) #name,
#define ID_OF_HOST_COMMAND(name, id, wb, we, rb, re) id,
constexpr std::array host_command_texts{ORVEX_HOST_COMMANDS(TEXT_OF_HOST_COMMAND)};
constexpr std::array host_command_ids{ORVEX_HOST_COMMANDS(ID_OF_HOST_COMMAND)};

#define TEXT_OF_BRIDGE_COMMAND(name, id) #name,
#define ID_OF_BRIDGE_COMMAND(name, id) id,
constexpr std::array bridge_command_texts{ORVEX_BRIDGE_COMMANDS(TEXT_OF_BRIDGE_COMMAND)};
constexpr std::array bridge_command_ids{ORVEX_BRIDGE_COMMANDS(ID_OF_BRIDGE_COMMAND)};

#define TEXT_OF_BRIDGE_STATUS(name, code, text) #name,
#define ID_OF_BRIDGE_STATUS(name, code, text) code,
constexpr std::array bridge_status_texts{"BC_STATUS_SUCCESS",
                                         ORVEX_BRIDGE_STATUSES(TEXT_OF_BRIDGE_STATUS)};
constexpr std::array bridge_status_ids{0, ORVEX_BRIDGE_STATUSES(ID_OF_BRIDGE_STATUS)};

template <std::size_t Count>
constexpr bool RunsFromZero(const std::array<int, Count>& ids) {
    for (std::size_t i = 0; i < Count; ++i) {
        if (ids[i] != static_cast<int>(i)) return false;
    }
    return true;
}
static_assert(RunsFromZero(host_command_ids));
static_assert(RunsFromZero(bridge_command_ids));
static_assert(RunsFromZero(bridge_status_ids));

}  // namespace

const char* bv_text_hcmd(int32 id) {
    return TextAt(host_command_texts, id);
}

const char* bv_text_bridge_command(int32 bridge_command) {
    return TextAt(bridge_command_texts, bridge_command);
}

const char* bv_text_bridge_status(int32 status) {
    return TextAt(bridge_status_texts, status);
}

const char* bv_text_hc_ccs(int32 ccs_optn) {
    switch (ccs_optn) {
#define CASE_OF_HC_CCS(name, value) \
    case name: return #name;
        ORVEX_HC_CCS(CASE_OF_HC_CCS)
        case HC_CCS_CONT_CLEAR | HC_CCS_CLOSE_SHTR: return "HC_CCS_CONT_CLEAR|HC_CCS_CLOSE_SHTR";
        case HC_CCS_CONT_CLEAR | HC_CCS_OPEN_SHTR: return "HC_CCS_CONT_CLEAR|HC_CCS_OPEN_SHTR";
        default: return unknown;
    }
}
