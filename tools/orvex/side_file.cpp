#include "orvex/side_file.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace orvex {

std::string side_file_path(const std::string& recording) {
    return recording + ".json";
}

void write_side_file(const std::string& recording, const nlohmann::ordered_json& facts) {
    const std::string path = side_file_path(recording);
    const std::string fresh = path + ".new";
    std::ofstream file(fresh);
    file << facts.dump(2) << '\n';
    file.close();
    std::error_code problem;
    if (file) std::filesystem::rename(fresh, path, problem);
    if (!file || problem) {
        std::filesystem::remove(fresh, problem);
        throw std::runtime_error("cannot write '" + path + "'");
    }
}

nlohmann::ordered_json read_side_file(const std::string& recording) {
    const std::string path = side_file_path(recording);
    std::ifstream file(path);
    if (!file) {
        throw std::runtime_error("cannot read '" + path +
                                 "', which tells the size of the frames of the recording");
    }
    try {
        return nlohmann::ordered_json::parse(file);
    } catch (const nlohmann::json::exception&) {
        throw std::runtime_error("'" + path + "' is not JSON");
    }
}

}  // namespace orvex
