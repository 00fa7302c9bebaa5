#include <gmock/gmock.h>
#include <sys/stat.h>

#include <csignal>

// The same surroundings that the assistant's own main gives its code.
int main(int argc, char** argv) {
    umask(077);
    std::signal(SIGPIPE, SIG_IGN);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
