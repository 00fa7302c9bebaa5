#include "support/ORVNLogger.h"

#include <spdlog/logger.h>

#include <atomic>
#include <cstdio>
#include <mutex>

#include "platform/Report.h"
#include "support/ORVNLogFile.h"

namespace {

constexpr char kLogRoot[] = "/tmp/orvtrace/";
constexpr size_t kLongestText = 65536;  // of a server's reply, say
constexpr char kLinePattern[] = "%Y-%m-%d %H:%M:%S.%e [%P:%t] %v";

spdlog::level::level_enum severityOf(platform::LogLevel level) {
    if (level >= platform::LogLevel::warning)
        return spdlog::level::err;
    return level >= platform::LogLevel::notice ? spdlog::level::warn : spdlog::level::info;
}

void writeToStandardError(std::string_view module, std::string_view text) {
    std::fprintf(stderr, "%.*s: %.*s\n", static_cast<int>(module.size()), module.data(),
                 static_cast<int>(text.size()), text.data());
}

// Set while this thread is writing a line: what the platform reports meanwhile is about the log itself.
thread_local bool isWriting = false;

}  // namespace

struct ORVNLogger::State {
    std::mutex mutex;
    std::shared_ptr<support::ORVNLogFile> file;
    std::shared_ptr<spdlog::logger> logger;
    std::atomic<spdlog::logger*> current{nullptr};
    Sink sink;  // set before there are other threads

    bool writes() const { return current != nullptr || sink; }
    void write(std::string_view module, LogLevel level, std::string_view text) const {
        if (sink)
            sink(module, level, text);
        else
            current.load()->log(severityOf(level), "{} {} {}", module, static_cast<int>(level), text);
    }
};

namespace {

void takeReports() {
    platform::setReporter([](platform::LogLevel level, std::string_view text) {
        ORVNLogger::sharedLogger().writeLine(kORVNLogModule, level, text);
    });
}

}  // namespace

ORVNLogger::ORVNLogger() : state_(std::make_unique<State>()) {}

ORVNLogger& ORVNLogger::sharedLogger() {
    static ORVNLogger* const logger = new ORVNLogger();
    return *logger;
}

void ORVNLogger::initParams(const Params& params) {
    const std::lock_guard<std::mutex> hold(state_->mutex);
    if (state_->logger)
        return;
    state_->file = std::make_shared<support::ORVNLogFile>(kLogRoot + params.subPath, params.fileNamePrefix,
                                                          params.maxFileNum);
    state_->logger = std::make_shared<spdlog::logger>("orvdga", state_->file);
    state_->logger->set_pattern(kLinePattern);
    state_->current = state_->logger.get();
    takeReports();
}

void ORVNLogger::setSink(Sink sink) {
    state_->sink = std::move(sink);
    takeReports();
}

void ORVNLogger::writeLine(std::string_view module, LogLevel level, std::string_view text) {
    if (state_->writes() && !isWriting) {
        isWriting = true;
        state_->write(module, level, text.substr(0, kLongestText));
        isWriting = false;
    } else if (level >= platform::LogLevel::warning) {
        writeToStandardError(module, text);
    }
}

std::optional<std::string> ORVNLogger::logFileName() const {
    const std::lock_guard<std::mutex> hold(state_->mutex);
    return state_->file ? state_->file->path() : std::nullopt;
}

namespace support {

std::string_view methodName(std::string_view prettyFunction) {
    // "void DGAClass::method(const std::string&)": what stands between the last blank outside of
    // brackets and the first parenthesis of the parameters.
    const size_t end = prettyFunction.find('(');
    std::string_view name = prettyFunction.substr(0, end);
    const size_t start = name.find_last_of(" *&");
    if (start != std::string_view::npos)
        name.remove_prefix(start + 1);
    return name;
}

}  // namespace support
