#include "api/api_entry_layer.h"
#include "api/module_entry.h"
#include "log/log.h"
#include "log/setup.h"

// The process-wide objects of the library, in the order of their construction at load; unload goes
// the other way round. The mutexes of state/api_locks.h and the tables of state/camera_tables.h are
// there before all of these and are never destroyed, so that a thread which calls into the library
// while the process ends finds them.

namespace {

// Attach and detach of the library, between which it can be called.
class ModuleLife {
  public:
    ModuleLife() { DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr); }
    ~ModuleLife() { DllMain(nullptr, DLL_PROCESS_DETACH, nullptr); }
    ModuleLife(const ModuleLife&) = delete;
    ModuleLife& operator=(const ModuleLife&) = delete;
};

const bv::LoaderLockGuard end_of_loader_phase(1, 1);
const bv::LoaderLockGuard begin_of_loader_phase(0, 1);
const bv::ProcessLogOwner process_log_owner;

}  // namespace

bv::ApiEntryLayer api_entry_layer;

namespace {

const ModuleLife module_life;

}  // namespace
