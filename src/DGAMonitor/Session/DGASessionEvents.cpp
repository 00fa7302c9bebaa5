#include "DGAMonitor/Session/DGASessionEvents.h"

#include <algorithm>

namespace {

constexpr size_t kMostEvents = 1000;

}  // namespace

void DGASessionEvents::add(DGASessionEventKind kind, const std::string& detail) {
    const std::lock_guard<std::mutex> hold(mutex_);
    if (events_.size() == kMostEvents)
        events_.erase(events_.begin());
    events_.push_back({std::chrono::system_clock::now(), kind, detail});
}

std::vector<DGASessionEvent> DGASessionEvents::all() const {
    const std::lock_guard<std::mutex> hold(mutex_);
    return events_;
}

bool DGASessionEvents::contains(DGASessionEventKind kind) const {
    const std::lock_guard<std::mutex> hold(mutex_);
    return std::any_of(events_.begin(), events_.end(),
                       [kind](const DGASessionEvent& event) { return event.kind == kind; });
}
