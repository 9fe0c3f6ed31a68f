#pragma once

#include "platform/windows/api.h"

namespace support {

// Has another process end with this one at the latest, so that a test which is killed leaves nobody
// behind who holds its output open.
inline void EndWithThisProcess(HANDLE process) {
    static const HANDLE job = [] {
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        const HANDLE made = CreateJobObjectA(nullptr, nullptr);
        SetInformationJobObject(made, JobObjectExtendedLimitInformation, &limits, sizeof limits);
        return made;
    }();
    AssignProcessToJobObject(job, process);
}

}  // namespace support
