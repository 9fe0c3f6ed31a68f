#include "orvex/names.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace orvex {

namespace {

// Insertions, deletions, replacements, and swaps of neighbours.
size_t edit_distance(const std::string& a, const std::string& b) {
    std::vector<size_t> before, row(b.size() + 1), next(b.size() + 1);
    for (size_t j = 0; j < row.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        next[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            next[j] = std::min({row[j] + 1, next[j - 1] + 1, row[j - 1] + (a[i - 1] != b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                next[j] = std::min(next[j], before[j - 2] + 1);
            }
        }
        before = std::exchange(row, next);
    }
    return row.back();
}

// How far a name is from what was meant; SIZE_MAX when it is nothing like it.
size_t distance(const std::string& wanted, const std::string& name) {
    constexpr size_t least_part = 3;
    const size_t edits = edit_distance(wanted, name);
    if (edits <= std::max<size_t>(1, wanted.size() / 3)) return edits;
    // Part of a longer name: the less is missing, the nearer.
    const std::string& longer = name.size() > wanted.size() ? name : wanted;
    const std::string& shorter = name.size() > wanted.size() ? wanted : name;
    const bool part = shorter.size() >= least_part && longer.find(shorter) != std::string::npos;
    return part ? 2 + longer.size() - shorter.size() : SIZE_MAX;
}

}  // namespace

std::string plain_name(const std::string& name) {
    std::string plain = name;
    for (char& c : plain) {
        c = c == ' ' || c == '_' ? '-' : static_cast<char>(std::tolower(static_cast<uint8_t>(c)));
    }
    return plain;
}

std::string did_you_mean(const std::string& wanted, const std::vector<std::string>& names) {
    constexpr size_t most = 3;
    std::vector<std::pair<size_t, std::string>> near;
    for (const std::string& name : names) {
        const size_t d = distance(plain_name(wanted), plain_name(name));
        if (d != SIZE_MAX) near.emplace_back(d, name);
    }
    std::sort(near.begin(), near.end());
    std::vector<std::string> nearest;
    for (size_t i = 0; i < std::min(near.size(), most); ++i) nearest.push_back(near[i].second);
    return nearest.empty() ? "" : "; did you mean " + any_of(nearest) + "?";
}

std::string any_of(const std::vector<std::string>& names) {
    std::string text;
    for (size_t i = 0; i < names.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + names[i];
    }
    return text;
}

}  // namespace orvex
