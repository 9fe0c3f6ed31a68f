#pragma once

#include <CLI/CLI.hpp>

namespace orvex {

// Each adds one command to the program: its options, and what runs when it is chosen.
void add_list(CLI::App& program);
void add_info(CLI::App& program);
void add_params(CLI::App& program);
void add_get(CLI::App& program);
void add_set(CLI::App& program);
void add_snap(CLI::App& program);
void add_stream(CLI::App& program);
void add_metadata(CLI::App& program);
void add_program(CLI::App& program);
void add_trace(CLI::App& program);
void add_doctor(CLI::App& program);
void add_describe(CLI::App& program);
// Where the libraries that it needs were there when the program was built.
void add_view(CLI::App& program);

}  // namespace orvex
