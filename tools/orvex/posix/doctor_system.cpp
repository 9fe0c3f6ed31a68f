#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "orvex/doctor/system.h"
#include "orvex/orvex_event.h"

namespace orvex::doctor {

namespace {

namespace fs = std::filesystem;

constexpr const char* shared_memory = "/dev/shm";
constexpr const char* event_prefix = "orvex.";
constexpr const char* device_folder_prefix = "orvex-dev-";

class Descriptor {
  public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return descriptor_; }

  private:
    int descriptor_;
};

// The folder in which a driver module makes one for its device files.
fs::path device_parent() {
    // The path of a socket holds 107 bytes.
    constexpr size_t longest = 70;
    const char* named = std::getenv("TMPDIR");
    const bool used = named && *named == '/' && std::strlen(named) <= longest;
    return used ? named : "/tmp";
}

template <class Visit>
void visit(const fs::path& folder, const char* prefix, Visit&& visit_path) {
    std::error_code problem;
    for (fs::directory_iterator entry(folder, problem), end; !problem && entry != end;
         entry.increment(problem))
        if (entry->path().filename().string().starts_with(prefix)) visit_path(entry->path());
}

bool is_own(const fs::path& path) {
    struct stat status{};
    return lstat(path.c_str(), &status) == 0 && status.st_uid == geteuid();
}

// Whoever uses such a folder holds a lock on it.
bool is_dead_folder(const fs::path& path) {
    const Descriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    return folder.get() >= 0 && flock(folder.get(), LOCK_SH | LOCK_NB) == 0;
}

bool is_dead_event(const fs::path& path) {
    const Descriptor event(shm_open(('/' + path.filename().string()).c_str(), O_RDWR, 0));
    return event.get() >= 0 && orvex_event_is_leftover(event.get());
}

}  // namespace

fs::path loaded_library() {
    Dl_info info{};
    void* function = dlsym(RTLD_DEFAULT, "ox_orvex_init");
    if (!function || dladdr(function, &info) == 0 || !info.dli_fname) return {};
    std::error_code problem;
    const fs::path file = fs::canonical(info.dli_fname, problem);
    return problem ? fs::path(info.dli_fname) : file;
}

std::string module_file_name(const std::string& base) {
    return base + ".so";
}

char folder_separator() {
    return ':';
}

std::vector<fs::path> module_folders(const fs::path& library_folder) {
    return {library_folder, library_folder / "orvex"};
}

std::vector<fs::path> settings_files(const fs::path& library_folder) {
    return {"/etc/orvex/registry.ini", library_folder / "orvex.ini"};
}

std::string load_problem(const fs::path& module) {
    void* handle = dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* text = dlerror();
        return text ? text : "it can't be loaded";
    }
    dlclose(handle);
    return {};
}

bool can_write(const fs::path& path) {
    return access(path.c_str(), W_OK) == 0;
}

std::vector<std::pair<std::string, std::string>> environment() {
    std::vector<std::pair<std::string, std::string>> out;
    for (char** entry = environ; entry && *entry; ++entry) {
        const std::string text = *entry;
        const size_t equals = text.find('=');
        if (equals != std::string::npos)
            out.emplace_back(text.substr(0, equals), text.substr(equals + 1));
    }
    return out;
}

std::vector<Leftover> leftovers() {
    std::vector<Leftover> out;
    visit(shared_memory, event_prefix, [&](const fs::path& path) {
        if (is_own(path) ? is_dead_event(path) : true) out.push_back({path.string(), is_own(path)});
    });
    visit(device_parent(), device_folder_prefix, [&](const fs::path& path) {
        if (is_own(path) && is_dead_folder(path)) out.push_back({path.string(), true});
    });
    return out;
}

void check_device_folder(Findings& findings) {
    const char* named = std::getenv("TMPDIR");
    const fs::path folder = device_parent();
    if (named && folder != named)
        findings.push_back({Grade::warning, "devices",
                            "TMPDIR is no absolute path of 70 bytes at the most; device files go "
                            "to /tmp",
                            "set TMPDIR to a shorter path if /tmp is not meant"});
    std::error_code problem;
    if (!fs::is_directory(folder, problem) || !can_write(folder)) {
        findings.push_back({Grade::wrong, "devices",
                            "device files can't be made in " + folder.string(),
                            "set TMPDIR to a folder that this user may write"});
        return;
    }
    findings.push_back({Grade::ok, "devices", "device files in " + folder.string()});
}

void check_shared_memory(Findings& findings) {
    constexpr uint64_t wanted = 1'000'000;
    const std::string topic = "shared memory";
    struct statvfs status{};
    if (statvfs(shared_memory, &status) != 0) {
        findings.push_back({Grade::wrong, topic, std::string(shared_memory) + " is not there",
                            "mount a tmpfs there; events between library and driver need it"});
        return;
    }
    const std::string name = "doctor." + std::to_string(getpid());
    orvex_event event{};
    const bool made = orvex_event_create(&event, name.c_str(), 0, 0) == 1;
    const bool named = made && orvex_event_is_named(&event) == 1;
    if (made) orvex_event_close(&event);
    const uint64_t free = uint64_t{status.f_bavail} * status.f_frsize;
    const std::string text =
        std::string(shared_memory) + ", " + std::to_string(free / 1'000'000) + " MB free";
    if (!named) {
        findings.push_back({Grade::wrong, topic, "an event can't be made in " + text,
                            "let this user write there (mode 1777), and make room"});
    } else if (free < wanted) {
        findings.push_back(
            {Grade::warning, topic, text, "make room: an event of each camera lies there"});
    } else {
        findings.push_back({Grade::ok, topic, text});
    }
}

void check_limits(Findings& findings) {
    constexpr rlim_t wanted_files = 256;
    rlimit files{}, size{};
    getrlimit(RLIMIT_NOFILE, &files);
    getrlimit(RLIMIT_FSIZE, &size);
    const std::string count =
        files.rlim_cur == RLIM_INFINITY ? "any number of" : std::to_string(files.rlim_cur);
    if (files.rlim_cur < wanted_files)
        findings.push_back(
            {Grade::warning, "limits", count + " open files",
             "ulimit -n 1024: each open camera takes some, and sixteen may be open"});
    else
        findings.push_back({Grade::ok, "limits", count + " open files"});
    if (size.rlim_cur != RLIM_INFINITY)
        findings.push_back({Grade::warning, "limits",
                            "files may have " + std::to_string(size.rlim_cur) + " bytes",
                            "ulimit -f unlimited, or recordings and traces end there"});
}

}  // namespace orvex::doctor
