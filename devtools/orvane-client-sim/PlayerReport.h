#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

namespace clientsim {

/// What the player has to tell: one line each over a pipe, so that everything told before a crash arrives.
enum class Told : char {
    started = 's',   ///< value: the assistant's process id
    ready = 'r',     ///< value: microseconds from start to ready
    step = 'p',      ///< text: a step that is being played
    goodbye = 'g',   ///< the assistant was told to end
    failed = 'f',    ///< text: what went wrong; the player ends
    exited = 'e',    ///< value: the assistant's exit status
    killed = 'k',    ///< value: the signal that ended the assistant
    lost = 'l',      ///< the assistant has ended, nobody knows how
    crashing = 'c',  ///< the player kills itself now, by plan
    done = 'd',      ///< the scenario was played to its end
};

struct PlayerLine {
    Told told;
    long value;
    std::string text;
};

/// The player's end of the pipe.
class PlayerReporter {
public:
    explicit PlayerReporter(int fd) : fd_(fd) {}
    void tell(Told told, long value = 0) const { tell(told, std::to_string(value)); }
    void tell(Told told, std::string_view text) const;

private:
    int fd_;
};

/// The other end: gives whole lines as they come.
class PlayerLines {
public:
    explicit PlayerLines(int fd) : fd_(fd) {}

    /// Waits up to so many milliseconds for bytes.
    void wait(int milliseconds);

    /// The next line that has come whole.
    std::optional<PlayerLine> next();

    /// Whether the player's end is closed and everything was read.
    bool isAtEnd() const { return fd_ < 0; }

private:
    int fd_;
    std::string pending_;
};

}  // namespace clientsim
