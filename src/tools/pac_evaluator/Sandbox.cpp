#include "tools/pac_evaluator/Sandbox.h"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace sandbox {
namespace {

#ifndef ORVANEDGA_SANITIZED
#if defined(__x86_64__)
constexpr uint32_t kArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
#else
constexpr uint32_t kArchitecture = 0;  // not known here: no filter
#endif

// What the engine, its allocator and the messages need. A call to exit_group or rt_sigreturn ends something,
// it begins nothing.
constexpr uint32_t kAllowed[] = {
    SYS_read,       SYS_write,         SYS_recvfrom,       SYS_sendto,
    SYS_close,      SYS_munmap,        SYS_mremap,         SYS_madvise,
    SYS_brk,        SYS_memfd_create,  SYS_ftruncate,      SYS_futex,
    SYS_getrusage,  SYS_clock_gettime, SYS_gettimeofday,   SYS_getpid,
    SYS_gettid,     SYS_getrandom,     SYS_sched_yield,    SYS_exit,
    SYS_exit_group, SYS_rt_sigreturn,  SYS_rt_sigprocmask, SYS_restart_syscall,
};

// Allowed as long as an argument has none of the bits.
struct Bounded {
    uint32_t call;
    uint32_t argument;
    uint32_t forbidden;
};
constexpr Bounded kCode[] = {{SYS_mmap, 2, PROT_EXEC}, {SYS_mprotect, 2, PROT_EXEC}};
// Limits of this process only: 0 names it.
constexpr Bounded kOwnLimits = {SYS_prlimit64, 0, UINT32_MAX};

constexpr uint32_t kRefused = SECCOMP_RET_ERRNO | EPERM;

class Filter {
public:
    Filter() {
        add(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch));
        code_.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kArchitecture, 1, 0));
        add(BPF_RET | BPF_K, kRefused);
        load(offsetof(seccomp_data, nr));
    }
    void allow(uint32_t call) {
        code_.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
        add(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
    }
    // The low half of the argument, which is what these calls read.
    void bound(const Bounded& bounded) {
        code_.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, bounded.call, 0, 4));
        load(static_cast<uint32_t>(offsetof(seccomp_data, args) + sizeof(uint64_t) * bounded.argument));
        code_.push_back(BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, bounded.forbidden, 1, 0));
        add(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
        add(BPF_RET | BPF_K, kRefused);
    }
    // For all threads. True also where the kernel knows no filters.
    bool apply(uint32_t otherwise) {
        add(BPF_RET | BPF_K, otherwise);
        sock_fprog program{static_cast<unsigned short>(code_.size()), code_.data()};
        if (kArchitecture == 0 || prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
            return kArchitecture == 0;
        return syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_TSYNC, &program) == 0 ||
               errno == ENOSYS || errno == EINVAL;
    }

private:
    void add(uint16_t code, uint32_t value) { code_.push_back(BPF_STMT(code, value)); }
    void load(uint32_t offset) { add(BPF_LD | BPF_W | BPF_ABS, offset); }

    std::vector<sock_filter> code_;
};

void closeAllBut(int socket) {
    const auto number = static_cast<unsigned>(socket);
    if (number > 0)
        syscall(SYS_close_range, 0, number - 1, 0);
    syscall(SYS_close_range, number + 1, UINT32_MAX, 0);
}
#endif

}  // namespace

#ifdef ORVANEDGA_SANITIZED

// A sanitizer reads files and starts threads of its own.
bool forbidNewCode() {
    return true;
}

bool forbidOutside() {
    return true;
}

bool seal(int /*socket*/) {
    return true;
}

#else

bool forbidNewCode() {
    Filter filter;
    for (const auto& bounded : kCode)
        filter.bound(bounded);
    return filter.apply(SECCOMP_RET_ALLOW);
}

// The fields and bits of Landlock's versions: https://docs.kernel.org/userspace-api/landlock.html
bool forbidOutside() {
    const long version = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (version < 1)
        return true;
    struct {
        uint64_t files;
        uint64_t ports;
        uint64_t scopes;
    } rules{};
    constexpr uint64_t kFilesOfVersion1 = (1U << 13U) - 1;
    rules.files = kFilesOfVersion1;
    for (const auto& [since, bit] : {std::pair(2, 13U), std::pair(3, 14U), std::pair(5, 15U)})
        rules.files |= version >= since ? uint64_t{1} << bit : 0;
    rules.ports = version >= 4 ? 3 : 0;
    rules.scopes = version >= 6 ? 3 : 0;
    const size_t fields = version >= 6 ? 3 : version >= 4 ? 2 : 1;
    const int set =
        static_cast<int>(syscall(SYS_landlock_create_ruleset, &rules, fields * sizeof(uint64_t), 0));
    const bool forbidden = set >= 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
                           syscall(SYS_landlock_restrict_self, set, 0) == 0;
    if (set >= 0)
        close(set);
    return forbidden;
}

bool seal(int socket) {
    closeAllBut(socket);
    if (!forbidOutside())
        return false;
    Filter filter;
    for (const auto& bounded : kCode)
        filter.bound(bounded);
    filter.bound(kOwnLimits);
    for (const uint32_t call : kAllowed)
        filter.allow(call);
    return filter.apply(kRefused);
}

#endif

}  // namespace sandbox
