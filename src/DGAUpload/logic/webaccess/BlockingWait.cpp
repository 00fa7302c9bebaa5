#include "DGAUpload/logic/webaccess/BlockingWait.h"

#include <vector>

#include "platform/RunLoop.h"

namespace {

thread_local std::vector<std::shared_ptr<BlockingWait>> waits;

}  // namespace

void BlockingWait::run(platform::RunLoop& loop, const std::shared_ptr<BlockingWait>& wait) {
    wait->loop_ = &loop;
    wait->done_ = false;
    waits.push_back(wait);
    // Stopping a loop stops its innermost run, which may be another's: each looks at its own flag.
    while (!wait->done_)
        loop.run();
    wait->loop_ = nullptr;
    waits.pop_back();
    if (!waits.empty() && waits.back()->done_)
        loop.stop();
}

void BlockingWait::end() {
    if (done_ || !loop_)
        return;
    done_ = true;
    loop_->stop();
}

bool BlockingWait::resume() {
    done_ = false;
    return loop_ != nullptr;
}
