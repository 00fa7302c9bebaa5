#include "tools/pac_evaluator/Limits.h"

#include <sys/prctl.h>
#include <sys/resource.h>

namespace limits {
namespace {

constexpr rlim_t kMegabyte = rlim_t{1024} * 1024;
constexpr rlim_t kMemory = 128 * kMegabyte;
constexpr rlim_t kAddresses = 1024 * kMegabyte;
constexpr rlim_t kOpenFiles = 16;
constexpr rlim_t kSecondsPerCall = 5;

bool limit(__rlimit_resource resource, rlim_t value) {
    const rlimit both{value, value};
    return setrlimit(resource, &both) == 0;
}

bool limitMemory() {
#ifdef ORVANEDGA_SANITIZED
    // Sanitizers take terabytes of addresses for their own tables.
    return kMemory < kAddresses;
#else
    return limit(RLIMIT_DATA, kMemory) && limit(RLIMIT_AS, kAddresses);
#endif
}

}  // namespace

bool apply() {
    // The engine keeps its heap in unnamed files, which the limit of a file's size bounds, too.
    // A limit of 0 does not keep a core dump from a program that the kernel pipes it to; this does.
    return prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           limit(RLIMIT_CORE, 0) && limit(RLIMIT_FSIZE, kMemory) && limit(RLIMIT_NOFILE, kOpenFiles) &&
           limitMemory();
}

void allowOneCall() {
    rusage used{};
    rlimit allowed{};
    if (getrusage(RUSAGE_SELF, &used) != 0 || getrlimit(RLIMIT_CPU, &allowed) != 0)
        return;
    allowed.rlim_cur = static_cast<rlim_t>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) + kSecondsPerCall + 1;
    setrlimit(RLIMIT_CPU, &allowed);
}

}  // namespace limits
