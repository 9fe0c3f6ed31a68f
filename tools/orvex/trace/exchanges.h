#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "orvex/trace/calls.h"

// The messages between the library and the cameras.
namespace orvex::trace {

// One command of a message, with what it brought and what came back.
struct Command {
    int id = -1;
    std::string name;
    size_t sent_bytes = 0;
    size_t reply_bytes = 0;
    std::string sent;  // values as people read them
    std::string reply;
    std::string status;  // of a camera whose replies have one
};

struct Exchange {
    int64_t begin_us = 0;
    int64_t duration_us = 0;
    uint64_t line = 0;
    uint32_t process = 0;
    uint32_t thread = 0;
    std::string camera;  // the handle
    std::string kind;    // "host" or "bridge"
    std::vector<Command> commands;
    size_t sent_bytes = 0;
    size_t reply_bytes = 0;
    bool failed = false;
};

// One operation of a camera's program.
struct Operation {
    std::string name;
    unsigned code = 0;
    uint64_t argument = 0;
};

struct Program {
    int64_t at_us = 0;
    uint64_t line = 0;
    std::string set_up;  // the exported function, with its arguments
    std::vector<Operation> operations;
};

// The operation of a "...script_load_op" call, by its arguments; its name is that of the protocol.
Operation read_operation(std::string_view function, std::string_view arguments);
bool loads_operation(std::string_view function);

// The commands of a "SEND_BUF" record, without those that only fetch the reply.
std::vector<Command> read_sent(std::string_view record);
// Puts the values of a "RECV_BUF" record to the commands that they answer.
void read_reply(std::string_view record, std::vector<Command>& commands);

class Exchanges : public Listener {
  public:
    explicit Exchanges(Names& names) : names_(names) {}

    // Called as soon as they are over; they are not kept.
    std::function<void(const Exchange&)> on_exchange;
    std::function<void(const Program&)> on_program;

    void begin(const Thread& thread, const Call& call) override;
    void end(const Thread& thread, const Call& call, const Ending& ending) override;
    void remark(const Thread& thread, const Record& record, Moment moment) override;

    struct Sum {
        uint64_t count = 0;
        uint64_t failed = 0;
        uint64_t sent_bytes = 0;
        uint64_t reply_bytes = 0;
        int64_t total_us = 0;
        int64_t longest_us = 0;
        int64_t longest_at_us = 0;
        uint64_t longest_line = 0;
    };
    const Sum& sum() const { return sum_; }
    // By name.
    const std::map<std::string, uint64_t>& command_counts() const { return command_counts_; }
    uint64_t programs() const { return programs_; }

  private:
    struct Pending {
        Exchange exchange;
        size_t level = 0;  // 0 for none
        Program program;
    };

    Names& names_;
    std::map<const Thread*, Pending> pending_;
    Sum sum_;
    std::map<std::string, uint64_t> command_counts_;
    uint64_t programs_ = 0;
};

}  // namespace orvex::trace
