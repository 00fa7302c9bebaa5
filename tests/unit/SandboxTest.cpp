#include "tools/pac_evaluator/Sandbox.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/landlock.h>
#include <netinet/in.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <string>

#include "tools/pac_evaluator/Limits.h"

namespace {

struct Call {
    const char* what;
    std::function<long()> make;  // -1 and errno where it fails
};

char page[4096];

// What somebody would try who has taken over the engine: each call directly, as he would make it.
const Call kEscapes[] = {
    {"read a file", [] { return syscall(SYS_openat, AT_FDCWD, "/etc/passwd", O_RDONLY); }},
    {"make a file", [] { return syscall(SYS_openat, AT_FDCWD, "/tmp/escaped", O_CREAT | O_WRONLY, 0600); }},
    {"read its own memory as a file", [] { return syscall(SYS_openat, AT_FDCWD, "/proc/self/mem", O_RDWR); }},
    {"remove a file", [] { return syscall(SYS_unlinkat, AT_FDCWD, "/tmp/there", 0); }},
    {"rename a file",
     [] { return syscall(SYS_renameat2, AT_FDCWD, "/tmp/there", AT_FDCWD, "/tmp/gone", 0); }},
    {"look at a file", [] { return access("/etc/passwd", R_OK); }},
    {"open by handle", [] { return syscall(SYS_open_by_handle_at, 0, nullptr, 0); }},
    {"run a program", [] { return syscall(SYS_execve, "/bin/true", nullptr, nullptr); }},
    {"run a program by handle", [] { return syscall(SYS_execveat, 1, "", nullptr, nullptr, AT_EMPTY_PATH); }},
    {"begin a process", [] { return syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0); }},
    {"begin a process anew", [] { return syscall(SYS_clone3, page, 64); }},
    {"make a socket", [] { return syscall(SYS_socket, AF_INET, SOCK_STREAM, 0); }},
    {"make a local socket", [] { return syscall(SYS_socket, AF_UNIX, SOCK_STREAM, 0); }},
    {"make a socket pair",
     [] {
         int ends[2];
         return syscall(SYS_socketpair, AF_UNIX, SOCK_STREAM, 0, ends);
     }},
    {"pass a descriptor",
     [] {
         msghdr message{};
         return syscall(SYS_sendmsg, 1, &message, 0);
     }},
    {"take a descriptor",
     [] {
         msghdr message{};
         return syscall(SYS_recvmsg, 1, &message, MSG_DONTWAIT);
     }},
    {"kill its parent", [] { return syscall(SYS_kill, getppid(), 0); }},
    {"signal a thread", [] { return syscall(SYS_tgkill, getppid(), getppid(), 0); }},
    {"trace its parent", [] { return syscall(SYS_ptrace, PTRACE_SEIZE, getppid(), 0, 0); }},
    {"read another's memory",
     [] { return syscall(SYS_process_vm_readv, getppid(), nullptr, 0, nullptr, 0, 0); }},
    {"hold another process", [] { return syscall(SYS_pidfd_open, getppid(), 0); }},
    {"loosen another's limits",
     [] {
         rlimit64 limit{};
         return syscall(SYS_prlimit64, getppid(), RLIMIT_NOFILE, nullptr, &limit);
     }},
    {"get executable memory",
     [] {
         return reinterpret_cast<long>(
             mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
     }},
    {"make memory executable",
     [] {
         return syscall(SYS_mprotect, reinterpret_cast<uintptr_t>(page) & ~uintptr_t{4095}, 4096,
                        PROT_READ | PROT_WRITE | PROT_EXEC);
     }},
    {"get other namespaces", [] { return syscall(SYS_unshare, CLONE_NEWUSER); }},
    {"mount", [] { return syscall(SYS_mount, "none", "/tmp", "tmpfs", 0, nullptr); }},
    {"use a ring", [] { return syscall(SYS_io_uring_setup, 1, page); }},
    {"load a program into the kernel", [] { return syscall(SYS_bpf, 0, page, 64); }},
    {"control a device", [] { return syscall(SYS_ioctl, 1, 0x541B, page); }},
    {"use another's keys", [] { return syscall(SYS_keyctl, 0, -3, 0); }},
    {"gain rights", [] { return syscall(SYS_setuid, 0); }},
    {"be told apart", [] { return syscall(SYS_prctl, 4 /* PR_SET_DUMPABLE */, 1, 0, 0, 0); }},
#ifdef __x86_64__
    {"call by the other numbering", [] { return syscall(0x40000000 + SYS_getpid); }},
#endif
};

// What goes on: memory, time, its own socket.
const Call kWork[] = {
    {"get memory",
     [] {
         return mmap(nullptr, 1 << 20, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) ==
                        MAP_FAILED
                    ? -1L
                    : 0L;
     }},
    {"tell the time",
     [] {
         timespec now{};
         return syscall(SYS_clock_gettime, CLOCK_REALTIME, &now);
     }},
    {"limit itself",
     [] {
         rlimit64 limit{};
         return syscall(SYS_prlimit64, 0, RLIMIT_CPU, nullptr, &limit);
     }},
};

void say(const std::string& text) {
    send(STDOUT_FILENO, text.data(), text.size(), 0);
}

[[noreturn]] void tryEverything(int socket) {
    dup2(socket, STDOUT_FILENO);
    if (!sandbox::forbidNewCode() || !limits::apply() || !sandbox::seal(STDOUT_FILENO))
        say("not sealed\n");
    for (const auto& call : kEscapes) {
        errno = 0;
        if (call.make() != -1 || errno != EPERM)
            say(std::string(call.what) + ": " + std::to_string(errno) + "\n");
    }
    for (const auto& call : kWork) {
        if (call.make() == -1)
            say(std::string(call.what) + " no more\n");
    }
    char byte = 0;
    for (const int handle : {0, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}) {
        if (read(handle, &byte, 1) != -1 || errno != EBADF)
            say("handle " + std::to_string(handle) + " is open\n");
    }
    say("end\n");
    _exit(0);
}

// The second line of defence by itself: the filter would refuse each of these before it is asked.
[[noreturn]] void tryLandlock(int socket) {
    dup2(socket, STDOUT_FILENO);
    const long version = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    const int port = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(1);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const struct {
        Call call;
        long since;  // that version of Landlock
        int fault;
    } rows[] = {
        {{"read a file", [] { return open("/etc/passwd", O_RDONLY); }}, 1, EACCES},
        {{"make a folder", [] { return mkdir("/tmp/escaped", 0700); }}, 1, EACCES},
        {{"connect", [&] { return connect(port, reinterpret_cast<sockaddr*>(&address), sizeof address); }},
         4,
         EACCES},
        {{"signal its parent", [] { return kill(getppid(), 0); }}, 6, EPERM},
    };
    if (!sandbox::forbidOutside())
        say("not forbidden\n");
    for (const auto& row : rows) {
        errno = 0;
        const bool refused = row.call.make() == -1 && errno == row.fault;
        if (refused != (version >= row.since))
            say(std::string(row.call.what) + ": " + std::to_string(errno) + "\n");
    }
    say("end\n");
    _exit(0);
}

class Sandbox : public testing::TestWithParam<void (*)(int)> {};

TEST_P(Sandbox, NothingGetsOut) {
    if (getenv("ORVANEDGA_SANITIZE") && *getenv("ORVANEDGA_SANITIZE"))
        GTEST_SKIP() << "a sanitizer needs what is given up";
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    const pid_t child = fork();
    if (child == 0)
        GetParam()(ends[1]);
    close(ends[1]);
    std::string said;
    char some[4096];
    for (ssize_t count = 0; (count = read(ends[0], some, sizeof some)) > 0;)
        said.append(some, static_cast<size_t>(count));
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(said, "end\n");
    EXPECT_EQ(status, 0);
    close(ends[0]);
}
INSTANTIATE_TEST_SUITE_P(Lines, Sandbox, testing::Values(&tryEverything, &tryLandlock));

}  // namespace
