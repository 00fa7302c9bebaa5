#include "DGAUpload/logic/webaccess/PacDownload.h"

#include <chrono>
#include <optional>
#include <utility>

#include "DGAUpload/logic/webaccess/PacText.h"
#include "platform/RunLoop.h"
#include "platform/SmallFile.h"
#include "platform/Text.h"
#include "platform/net/ScriptProcess.h"
#include "support/ORVNLogger.h"

namespace {

constexpr size_t kLongestScript = platform::ScriptProcess::kLongestScript;
constexpr unsigned long kDownloadTimeout = 30000;
constexpr std::chrono::milliseconds kLoopStep{100};
// The engine's own time-out comes first.
constexpr std::chrono::seconds kLongestWait{35};

IPacTransfer* (*makeTransfer)() = nullptr;

struct TextSink : IUrlDownloadSink {
    IPacTransfer* engine = nullptr;
    bool answered = false;
    std::string text;

    TextSink() = default;
    ~TextSink() override = default;
    TextSink(const TextSink&) = delete;
    TextSink& operator=(const TextSink&) = delete;

    void OnUrlReturn(intptr_t /*downloadType*/, int result, const char* data) override {
        engine = nullptr;
        answered = true;
        if (result > 0 && data)
            text.assign(data, static_cast<size_t>(result));
    }
    bool OnAskProxy(std::string& /*user*/, std::string& /*password*/) override {
        answered = true;
        return false;
    }
};

}  // namespace

void setPacTransferMaker(IPacTransfer* (*make)()) {
    makeTransfer = make;
}

int downloadPacScript(const std::string& url, IUrlDownloadSink* sink, IPacTransfer*& engine,
                      const std::function<bool()>& finished) {
    engine = makeTransfer();
    const int returned = engine->beginScript(url.c_str(), sink, kDownloadTimeout);
    if (returned == 0) {
        logInfo("CPacParser::sharedInstance,wait for url return!");
        const auto end = std::chrono::steady_clock::now() + kLongestWait;
        while (!finished() && std::chrono::steady_clock::now() < end)
            platform::RunLoop::current().runFor(kLoopStep);
    } else {
        logWarning("CPacParser::sharedInstance,call downloadurl failed return[{}]!", returned);
    }
    // One that could not begin does not delete itself, nor does one whose question for a password was
    // declined.
    delete std::exchange(engine, nullptr);
    return returned;
}

PacTextAtURL readPacText(const std::string& url) {
    std::string text;
    if (const std::string path = pathOfFileURL(url); !path.empty()) {
        text = platform::readSmallFile(path, kLongestScript).value_or("");
    } else {
        TextSink sink;
        downloadPacScript(url, &sink, sink.engine, [&sink] { return sink.answered; });
        text = std::move(sink.text);
    }
    if (text.starts_with("\xEF\xBB\xBF"))
        text.erase(0, 3);
    if (text.empty() || text.size() > kLongestScript)
        return {"", "there is no text of at most 1 MiB"};
    if (!platform::isUtf8(text))
        return {"", "its encoding could not be detected"};
    return {std::move(text), ""};
}
