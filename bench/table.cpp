#include "table.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace bench {

namespace {

// Four digits, no exponents.
std::string short_form(double value) {
    const int before_point = value >= 1 ? static_cast<int>(std::log10(value)) + 1 : 1;
    const bool whole = value == std::floor(value);
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", whole ? 0 : std::max(0, 4 - before_point), value);
    return text;
}

std::string describe(const Wanted& wanted) {
    switch (wanted.kind) {
        case Wanted::Kind::nothing: return "";
        case Wanted::Kind::at_least: return ">= " + short_form(wanted.limit);
        case Wanted::Kind::at_most: return "<= " + short_form(wanted.limit);
        case Wanted::Kind::more_than_peer: return "> peer";
        case Wanted::Kind::less_than_peer: return "< peer";
    }
    return "";
}

// Nothing when nothing is wanted, or no peer was measured.
std::optional<bool> met(const Row& row) {
    switch (row.wanted.kind) {
        case Wanted::Kind::nothing: return std::nullopt;
        case Wanted::Kind::at_least: return row.value >= row.wanted.limit;
        case Wanted::Kind::at_most: return row.value <= row.wanted.limit;
        case Wanted::Kind::more_than_peer:
            return row.peer ? std::optional(row.value > *row.peer) : std::nullopt;
        case Wanted::Kind::less_than_peer:
            return row.peer ? std::optional(row.value < *row.peer) : std::nullopt;
    }
    return std::nullopt;
}

}  // namespace

void Table::section(const std::string& title) {
    section_ = title;
    std::printf("\n%-46s %10s %-10s %10s %4s %10s\n", title.c_str(), "measured", "", "wanted",
                "met", "peer");
}

void Table::row(const Row& row) {
    const std::optional<bool> result = met(row);
    std::printf("  %-44s %10s %-10s %10s %4s %10s\n", row.what.c_str(),
                short_form(row.value).c_str(), row.unit.c_str(), describe(row.wanted).c_str(),
                !result   ? ""
                : *result ? "yes"
                          : "no",
                row.peer ? short_form(*row.peer).c_str() : "");
    std::fflush(stdout);
    nlohmann::ordered_json json{
        {"section", section_}, {"what", row.what}, {"value", row.value}, {"unit", row.unit}};
    if (row.wanted.kind != Wanted::Kind::nothing) json["wanted"] = describe(row.wanted);
    if (result) json["met"] = *result;
    if (row.peer) json["peer"] = *row.peer;
    rows_.push_back(std::move(json));
}

void Table::save(const std::string& path) const {
    std::ofstream file(path);
    file << rows_.dump(2) << '\n';
    if (!file) throw std::runtime_error("cannot write " + path);
}

}  // namespace bench
