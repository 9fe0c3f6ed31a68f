#include "orvex/view/commands.h"

#include <cmath>
#include <stdexcept>

#include "orvex/frame_file.h"
#include "orvex/names.h"

namespace orvex::view {

namespace {

using Json = nlohmann::json;

constexpr size_t most_regions = 512;
constexpr size_t longest_text = 256;

// The members of a command, of which none may be left that nobody asked for.
class Members {
  public:
    explicit Members(const Json& json) : json_(json) {
        if (!json.is_object()) throw std::invalid_argument("a command is a JSON object");
    }

    bool has(const char* name) const { return json_.contains(name); }
    // Null when it is not there.
    const Json* find(const char* name) {
        const auto at = json_.find(name);
        if (at == json_.end()) return nullptr;
        ++used_;
        return &*at;
    }
    std::string text(const char* name) {
        const Json* value = find(name);
        if (!value || !value->is_string()) {
            throw std::invalid_argument(std::string("'") + name + "' has to be a text");
        }
        std::string out = value->get<std::string>();
        if (out.size() > longest_text) {
            throw std::invalid_argument(std::string("'") + name + "' is too long");
        }
        return out;
    }
    void end() const {
        if (used_ != json_.size()) {
            throw std::invalid_argument("the command has members that it does not know");
        }
    }

  private:
    const Json& json_;
    size_t used_ = 0;
};

uint64_t whole_number(const Json& value, const char* name, uint64_t most) {
    if (!value.is_number_unsigned() || value.get<uint64_t>() > most) {
        throw std::invalid_argument(std::string("'") + name + "' takes whole numbers from 0 to " +
                                    std::to_string(most));
    }
    return value.get<uint64_t>();
}

std::vector<uint16_t> short_numbers(const Json& value, const char* name, size_t count) {
    if (!value.is_array() || value.size() != count) {
        throw std::invalid_argument(std::string("'") + name + "' takes " + std::to_string(count) +
                                    " numbers");
    }
    std::vector<uint16_t> out;
    for (const Json& number : value) {
        out.push_back(static_cast<uint16_t>(whole_number(number, name, 65535)));
    }
    return out;
}

Change::Rectangle parse_rectangle(const Json& value) {
    const std::vector<uint16_t> n = short_numbers(value, "region", 4);
    if (n[2] == 0 || n[3] == 0 || n[0] + n[2] > 65536 || n[1] + n[3] > 65536) {
        throw std::invalid_argument("a region is x, y, width and height, in unbinned pixels");
    }
    return {n[0], n[1], n[2], n[3]};
}

Command parse_start(Members& /*members*/) {
    return Start{};
}

Command parse_stop(Members& /*members*/) {
    return Stop{};
}

Command parse_snap(Members& members) {
    return Snap{find_format(members.text("format")).name};
}

Command parse_record(Members& members) {
    Record out;
    const std::string name = members.text("format");
    out.format = recording_format("recording." + name).name;
    if (const Json* frames = members.find("frames")) {
        out.frames = static_cast<uint32_t>(whole_number(*frames, "frames", 4294967295u));
    }
    return out;
}

Command parse_change(Members& members) {
    Change out;
    if (const Json* exposure = members.find("exposure_ms")) {
        if (!exposure->is_number() || !std::isfinite(exposure->get<double>()) ||
            exposure->get<double>() < 0) {
            throw std::invalid_argument("'exposure_ms' takes a number of milliseconds from 0 on");
        }
        out.exposure_ms = exposure->get<double>();
    }
    if (const Json* regions = members.find("regions")) {
        if (!regions->is_array() || regions->size() > most_regions) {
            throw std::invalid_argument("'regions' takes a list of regions");
        }
        out.regions.emplace();
        for (const Json& region : *regions) out.regions->push_back(parse_rectangle(region));
    }
    if (const Json* binning = members.find("binning")) {
        const std::vector<uint16_t> n = short_numbers(*binning, "binning", 2);
        if (n[0] == 0 || n[1] == 0) throw std::invalid_argument("'binning' begins at 1");
        out.binning = Change::Binning{n[0], n[1]};
    }
    if (members.has("mode")) out.mode = members.text("mode");
    return out;
}

Command parse_set(Members& members) {
    return SetParameter{members.text("parameter"), members.text("value")};
}

struct Row {
    const char* name;
    Command (*parse)(Members&);
};

constexpr Row command_rows[] = {{"start", parse_start},   {"stop", parse_stop},
                                {"snap", parse_snap},     {"record", parse_record},
                                {"change", parse_change}, {"set", parse_set}};

}  // namespace

Command parse_command(const std::string& body) {
    const Json json = Json::parse(body, nullptr, false);
    if (json.is_discarded()) throw std::invalid_argument("the command is not JSON");
    Members members(json);
    const std::string name = members.text("do");
    std::vector<std::string> names;
    for (const Row& row : command_rows) {
        if (name == row.name) {
            Command out = row.parse(members);
            members.end();
            return out;
        }
        names.emplace_back(row.name);
    }
    throw std::invalid_argument("there is no command '" + name + "'; take " + any_of(names));
}

}  // namespace orvex::view
