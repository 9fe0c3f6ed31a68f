#include <new>

#include "api/api_entry_layer.h"
#include "api/module_entry.h"
#include "device/ddi.h"
#include "log/log.h"
#include "log/setup.h"
#include "platform/fork.h"
#include "platform/library_life.h"
#include "state/api_global.h"
#include "state/api_locks.h"
#include "state/camera_tables.h"

// The process-wide objects of the library, in the order of their construction at load; unload goes
// the other way round. The mutexes of state/api_locks.h and the tables of state/camera_tables.h are
// there before all of these and are never destroyed, so that a thread which calls into the library
// while the process ends finds them.

namespace {

const bv::LoaderLockGuard end_of_loader_phase(1, 1);
const bv::LoaderLockGuard begin_of_loader_phase(0, 1);
bv::ProcessLogOwner process_log_owner;

}  // namespace

bv::ApiEntryLayer api_entry_layer;

namespace {

// Between its two ends the library can be called.
const platform::LibraryLife library_life(LibraryHook);

constinit std::atomic<bool> forked{false};

// A forked child has no cameras. Nothing of the parent's is freed, since its threads may have been
// in the middle of changing it.
void ForgetParent() {
    api_global_mutex.Renew();
    for (platform::ErrorCheckingMutex& mutex : api_camera_mutexes) mutex.Renew();
    orvex_initialized = 0;
    total_cams = int16{0};
    static_cast<void>(pg_cam_info.release());
    static_cast<void>(pg_decode_info.release());
    static_cast<void>(pg_cam_cfg.release());
    static_cast<void>(pg_cam_reads.release());
    for (acq_cache_type& cache : acq_cache) new (&cache) acq_cache_type;
    g_orvex_ddi = {};
    forked = true;
}

const platform::ForkHandler forget_parent(ForgetParent);

}  // namespace

void StartAnewInForkedChild() {
    if (!forked.load(std::memory_order_relaxed)) return;
    const std::lock_guard lock(api_global_mutex);
    if (forked.exchange(false)) process_log_owner.StartAnew();
}
