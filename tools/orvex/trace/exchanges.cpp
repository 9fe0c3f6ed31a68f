#include "orvex/trace/exchanges.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <optional>

#include "orvex/orvex_protocol.h"

namespace orvex::trace {

namespace {

constexpr std::string_view message_call = "bv::HostCommandMessage::Execute";
constexpr std::string_view bridge_call = "oz_bridge_command_unlocked";
constexpr std::string_view full_load = "bv_script_load_op";
constexpr std::string_view simplified_load = "bv_sCCL_script_load_op";

struct Shape {
    const char* name = nullptr;
    orvex_hc_encoding sent = HC_NONE;
    orvex_hc_encoding reply = HC_NONE;
};

constexpr std::array<Shape, 256> make_shapes() {
    std::array<Shape, 256> shapes{};
#define ORVEX_SHAPE(name, id, write_bytes, write_encoding, reply_bytes, reply_encoding) \
    shapes[id] = {#name, write_encoding, reply_encoding};
    ORVEX_HOST_COMMANDS(ORVEX_SHAPE)
#undef ORVEX_SHAPE
    return shapes;
}
constexpr std::array<Shape, 256> host_commands = make_shapes();

struct NumberName {
    int64_t number;
    const char* name;
};
#define ORVEX_NUMBER_NAME(name, number) {number, #name},
constexpr NumberName full_operations[] = {ORVEX_CCL_OPERATIONS(ORVEX_NUMBER_NAME)};
constexpr NumberName simplified_operations[] = {ORVEX_SCCL_OPERATIONS(ORVEX_NUMBER_NAME)};
constexpr NumberName bridge_commands[] = {ORVEX_BRIDGE_COMMANDS(ORVEX_NUMBER_NAME)};
#undef ORVEX_NUMBER_NAME

std::string name_in(std::span<const NumberName> rows, int64_t number) {
    for (const NumberName& row : rows)
        if (row.number == number) return row.name;
    return "unknown " + std::to_string(number);
}

// "[0xAB,0xCD]" off the front of a record; empty when there is none.
std::optional<std::vector<uint8_t>> take_bytes(std::string_view& record) {
    if (!record.starts_with('[')) return {};
    const size_t close = record.find(']');
    if (close == std::string_view::npos) return {};
    std::string_view list = record.substr(1, close - 1);
    record.remove_prefix(close + 1);
    std::vector<uint8_t> bytes;
    while (!list.empty()) {
        const size_t end = std::min(list.find(','), list.size());
        const std::string_view text = list.substr(0, end);
        list.remove_prefix(std::min(end + 1, list.size()));
        uint8_t byte = 0;
        if (!text.starts_with("0x") ||
            std::from_chars(text.data() + 2, text.data() + text.size(), byte, 16).ptr !=
                text.data() + text.size())
            return {};
        bytes.push_back(byte);
    }
    return bytes;
}

// "(NAME,W:1B-BigEndian)" off the front; what is between the parentheses.
std::optional<std::string_view> take_label(std::string_view& record) {
    if (!record.starts_with('(')) return {};
    const size_t close = record.find(')');
    if (close == std::string_view::npos) return {};
    const std::string_view label = record.substr(1, close - 1);
    record.remove_prefix(close + 1);
    return label;
}

// Of ",W:2B-BigEndian" in a label; 0 without it.
size_t label_size(std::string_view label, std::string_view key) {
    const size_t at = label.find(key);
    if (at == std::string_view::npos) return 0;
    size_t size = 0;
    const std::string_view digits = label.substr(at + key.size());
    std::from_chars(digits.data(), digits.data() + digits.size(), size);
    return size;
}

void drop_comma(std::string_view& record) {
    if (record.starts_with(',')) record.remove_prefix(1);
}

std::string hex_text(std::span<const uint8_t> bytes) {
    constexpr size_t most = 32;
    std::string text;
    std::array<char, 8> byte_text{};
    for (const uint8_t byte : bytes.first(std::min(bytes.size(), most))) {
        std::snprintf(byte_text.data(), byte_text.size(), "%02X", byte);
        text.append(text.empty() ? "" : " ").append(byte_text.data());
    }
    if (bytes.size() > most) text += " ...";
    return text;
}

std::string value_text(std::span<const uint8_t> bytes, orvex_hc_encoding encoding) {
    if (bytes.empty()) return {};
    if (encoding == HC_STRING) {
        std::string text = "'";
        for (const uint8_t byte : bytes) {
            if (byte == 0) break;
            text += byte >= ' ' && byte < 127 ? static_cast<char>(byte) : '?';
        }
        return text + '\'';
    }
    if (encoding == HC_BIG_ENDIAN && bytes.size() <= 8) {
        uint64_t number = 0;
        for (const uint8_t byte : bytes) number = number << 8 | byte;
        return std::to_string(number);
    }
    return hex_text(bytes);
}

std::string host_command_name(uint8_t id) {
    return host_commands[id].name ? host_commands[id].name : "unknown " + std::to_string(id);
}

}  // namespace

bool loads_operation(std::string_view function) {
    return function == full_load || function == simplified_load;
}

Operation read_operation(std::string_view function, std::string_view arguments) {
    const int64_t code = argument_number(argument(arguments, "op"));
    const int64_t value = argument_number(argument(arguments, "arg"));
    const std::span<const NumberName> names =
        function == simplified_load ? std::span<const NumberName>(simplified_operations)
                                    : std::span<const NumberName>(full_operations);
    return {name_in(names, code), static_cast<unsigned>(code), static_cast<uint64_t>(value)};
}

std::vector<Command> read_sent(std::string_view record) {
    std::vector<Command> commands;
    while (!record.empty()) {
        const auto bytes = take_bytes(record);
        if (!bytes) break;
        const auto label = take_label(record);
        drop_comma(record);
        if (label && bytes->size() == 1) {
            const uint8_t id = bytes->front();
            Command command;
            command.id = id;
            command.name = host_command_name(id);
            command.sent_bytes = label_size(*label, ",W:");
            command.reply_bytes = label_size(*label, ",R:");
            commands.push_back(std::move(command));
        } else if (!commands.empty()) {
            Command& command = commands.back();
            command.sent_bytes = bytes->size();
            command.sent = value_text(*bytes, host_commands[command.id & 0xFF].sent);
        }
    }
    std::erase_if(commands, [](const Command& command) {
        return command.id == CLEAR_STAT_BUF || command.id == SEND_STAT_BUF;
    });
    return commands;
}

void read_reply(std::string_view record, std::vector<Command>& commands) {
    size_t next = 0;
    while (!record.empty()) {
        const auto bytes = take_bytes(record);
        const auto label = take_label(record);
        if (!label) break;
        drop_comma(record);
        const std::string_view name = label->substr(0, label->find(','));
        size_t at = next;
        while (at < commands.size() && commands[at].name != name) ++at;
        if (at == commands.size()) continue;
        next = at + 1;
        Command& command = commands[at];
        if (bytes) {
            command.reply_bytes = bytes->size();
            command.reply = value_text(*bytes, host_commands[command.id & 0xFF].reply);
        }
        constexpr std::string_view status_key = ",ERR:";
        const size_t status = label->find(status_key);
        if (status != std::string_view::npos)
            command.status = label->substr(status + status_key.size());
    }
}

void Exchanges::begin(const Thread& thread, const Call& call) {
    const std::string& function = names_[call.name];
    if (loads_operation(function)) {
        Program& program = pending_[&thread].program;
        if (program.operations.empty()) {
            program.at_us = call.begin_us;
            program.line = call.line;
        }
        program.operations.push_back(read_operation(function, call.arguments));
    }
    const bool bridge = function == bridge_call;
    if (!bridge && function != message_call) return;
    Pending& pending = pending_[&thread];
    pending.level = thread.open;
    pending.exchange = {};
    Exchange& exchange = pending.exchange;
    exchange.begin_us = call.begin_us;
    exchange.line = call.line;
    exchange.process = thread.process;
    exchange.thread = thread.number;
    exchange.camera = argument(call.arguments, "hcam");
    exchange.kind = bridge ? "bridge" : "host";
    if (!bridge) return;
    const int64_t id = argument_number(argument(call.arguments, "bridge_command"));
    const auto size = [&](std::string_view name) {
        return static_cast<size_t>(
            std::max<int64_t>(0, argument_number(argument(call.arguments, name))));
    };
    Command command;
    command.id = static_cast<int>(id);
    command.name = name_in(bridge_commands, id);
    command.sent_bytes = size("send_data_length");
    command.reply_bytes = size("recv_data_length");
    exchange.commands.push_back(std::move(command));
}

void Exchanges::remark(const Thread& thread, const Record& record, Moment /*moment*/) {
    constexpr std::string_view sent = "SEND_BUF    : ", reply = "RECV_BUF    : ";
    const bool is_sent = record.text.starts_with(sent);
    if (!is_sent && !record.text.starts_with(reply)) return;
    const auto found = pending_.find(&thread);
    if (found == pending_.end() || found->second.level != thread.open) return;
    std::vector<Command>& commands = found->second.exchange.commands;
    const std::string_view text = record.text.substr(sent.size());
    if (is_sent) {
        commands = read_sent(text);
    } else {
        read_reply(text, commands);
    }
}

void Exchanges::end(const Thread& thread, const Call& call, const Ending& ending) {
    const auto found = pending_.find(&thread);
    if (found == pending_.end()) return;
    Pending& pending = found->second;
    if (pending.level != 0 && pending.level == thread.open) {
        pending.level = 0;
        Exchange& exchange = pending.exchange;
        exchange.duration_us = ending.duration_us;
        exchange.failed = ending.failed();
        for (const Command& command : exchange.commands) {
            exchange.sent_bytes += command.sent_bytes;
            exchange.reply_bytes += command.reply_bytes;
            ++command_counts_[command.name];
        }
        ++sum_.count;
        sum_.failed += exchange.failed ? 1 : 0;
        sum_.sent_bytes += exchange.sent_bytes;
        sum_.reply_bytes += exchange.reply_bytes;
        sum_.total_us += exchange.duration_us;
        if (exchange.duration_us > sum_.longest_us) {
            sum_.longest_us = exchange.duration_us;
            sum_.longest_at_us = exchange.begin_us;
            sum_.longest_line = exchange.line;
        }
        if (on_exchange) on_exchange(exchange);
    }
    if (thread.open > 1 || pending.program.operations.empty()) return;
    ++programs_;
    pending.program.set_up =
        std::string(plain_function(names_[call.name])) + " (" + call.arguments + ')';
    if (on_program) on_program(pending.program);
    pending.program = {};
}

}  // namespace orvex::trace
