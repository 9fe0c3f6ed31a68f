#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace support {

// A directory of its own for one test, removed with all that is in it.
//
//     TempDir directory;
//     std::filesystem::path file = directory.write("orvex.ini", "[section]\n");
class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(std::string_view name) const { return path_ / name; }
    // Writes a file and gives its path.
    std::filesystem::path write(std::string_view name, std::string_view content) const;
    // A module of lib/test ("scripted_ddi") under another name ("orvexDDI").
    std::filesystem::path link_module(std::string_view module, std::string_view name) const;

  private:
    std::filesystem::path path_;
};

}  // namespace support
