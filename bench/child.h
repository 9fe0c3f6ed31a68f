#pragma once

#include <map>
#include <string>

// Measurements in a process of their own: the trace is on or off for all the life of a process, and
// a peer is to share nothing with this library. A child prints one line "NAME VALUE" a figure.
namespace bench {

using Figures = std::map<std::string, double>;

void tell(const std::string& name, double value);
// Throws unless the command succeeded.
Figures run(const std::string& command);

// A file for a trace, gone with this object.
class TraceFile {
  public:
    TraceFile();
    ~TraceFile();
    TraceFile(const TraceFile&) = delete;
    TraceFile& operator=(const TraceFile&) = delete;

    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

// Runs this program as a child of that kind, traced into the file.
Figures run_traced(const std::string& kind, const TraceFile& trace);

}  // namespace bench
