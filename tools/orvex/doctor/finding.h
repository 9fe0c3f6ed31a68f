#pragma once

#include <string>
#include <vector>

namespace orvex::doctor {

enum class Grade { ok, warning, wrong };

// What one check has found, and what helps.
struct Finding {
    Grade grade = Grade::ok;
    std::string topic;
    std::string text;
    std::string remedy{};
};

using Findings = std::vector<Finding>;

}  // namespace orvex::doctor
