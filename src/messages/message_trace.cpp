#include <string>

#include "messages/host_command_message.h"
#include "messages/texts.h"

// The lines in which the trace shows the exchange of a message.
namespace bv {
namespace {

struct HexText {
    char text[5];
};

constexpr std::array<HexText, 256> MakeHexTexts() {
    constexpr const char* digits = "0123456789ABCDEF";
    std::array<HexText, 256> texts{};
    for (size_t i = 0; i < texts.size(); ++i) {
        texts[i] = {{'0', 'x', digits[i >> 4], digits[i & 15], 0}};
    }
    return texts;
}

constexpr std::array<HexText, 256> hex_texts = MakeHexTexts();

// "[0xAB,0xCD]"
void AppendBytes(std::string& out, std::span<const uns8> bytes) {
    out += '[';
    bool first = true;
    for (const uns8 byte : bytes) {
        if (!first) out += ',';
        first = false;
        out += hex_texts[byte].text;
    }
    out += ']';
}

void AppendSize(std::string& out, const char* label, uns16 bytes, HostCommandDataType type) {
    if (bytes == 0) return;
    out += label;
    out += std::to_string(bytes);
    out += "B-";
    out += bv_text_data_type(type);
}

}  // namespace

void HostCommandMessage::LogSending(Call& call) const {
    const std::span<const uns8> message = Part(0, writeLength_);
    std::string line;
    line.reserve(36 * commands_.size() + 5 * message.size());
    AppendBytes(line, message);
    call.debug("SEND_BUF_RAW: %s", line.c_str());

    line.clear();
    bool first = true;
    for (const HostCommand& command : commands_) {
        if (!first) line += ',';
        first = false;
        AppendBytes(line, std::span(&command.id, 1));
        line += '(';
        line += bv_text_hcmd(command.id);
        AppendSize(line, ",W:", command.writeBytes, command.writeType);
        AppendSize(line, ",R:", command.readBytes, command.readType);
        line += ')';
        if (command.writeBytes == 0) continue;
        line += ',';
        AppendBytes(line, Part(command.writeOffset + size_t{1}, command.writeBytes));
    }
    if (readLength_ != 0) {
        line += ',';
        AppendBytes(line, message.last(std::min<size_t>(message.size(), 2)));
    }
    call.debug("SEND_BUF    : %s", line.c_str());
}

void HostCommandMessage::LogReply(Call& call) const {
    const std::span<const uns8> reply = Part(0, readLength_);
    std::string line;
    line.reserve(33 * commands_.size() + 7 * reply.size());
    AppendBytes(line, reply);
    call.debug("RECV_BUF_RAW: %s", line.c_str());

    line.clear();
    bool first = true;
    for (const HostCommand& command : commands_) {
        if (command.readBytes == 0 && statusBytes_ == 0) continue;
        if (!first) line += ',';
        first = false;
        if (command.readBytes != 0) AppendBytes(line, Part(command.readOffset, command.readBytes));
        line += '(';
        line += bv_text_hcmd(command.id);
        if (statusBytes_ != 0) {
            // The byte behind the command's own reply, not the status at the start: readers of
            // these lines are used to it.
            const auto behind = Part(size_t{command.readOffset} + command.readBytes, 1);
            line += ",ERR:";
            line += hex_texts[behind.empty() ? 0 : behind.front()].text;
        }
        line += ')';
    }
    call.debug("RECV_BUF    : %s", line.c_str());
}

}  // namespace bv
