#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

/// What happens to a session, as the summary of a report tells it; wait and quit are answers to the prompt.
enum class DGASessionEventKind { freeze, wait, quit, crash, goodbye, upload };

struct DGASessionEvent {
    std::chrono::system_clock::time_point time;
    DGASessionEventKind kind{};
    std::string detail;  ///< in English, without personal data; may be empty
};

/// The events of the run so far, in their order; of very many the oldest are forgotten. Any thread.
class DGASessionEvents {
public:
    void add(DGASessionEventKind kind, const std::string& detail = {});
    std::vector<DGASessionEvent> all() const;
    bool contains(DGASessionEventKind kind) const;

private:
    mutable std::mutex mutex_;
    std::vector<DGASessionEvent> events_;
};
