#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include <spdlog/sinks/base_sink.h>

#include "platform/PrivateFolder.h"

namespace support {

/// Where the log's lines go: a series of files in one private folder. Created once the settings are known.
class ORVNLogFile final : public spdlog::sinks::base_sink<std::mutex> {
public:
    static constexpr int64_t kMaxFileSize = 10'000'000;

    /// `folder` is made when the first line comes. Nothing is opened yet.
    ORVNLogFile(std::string folder, std::string prefix, int maxFiles);
    ~ORVNLogFile() override;
    ORVNLogFile(const ORVNLogFile&) = delete;
    ORVNLogFile& operator=(const ORVNLogFile&) = delete;

    /// Full path of the current file, if there is one.
    std::optional<std::string> path();

protected:
    void sink_it_(const spdlog::details::log_msg& message) override;
    void flush_() override {}

private:
    bool ensureFile(int64_t room);
    bool beginFile();
    void removeOldFiles(const platform::PrivateFolder& folder) const;
    bool isLogName(const std::string& name) const;
    bool write(std::string_view line);
    void closeFile();

    std::string folder_;
    std::string prefix_;
    size_t maxFiles_;
    std::string name_;
    int file_ = -1;
    int64_t size_ = 0;
    int64_t dropped_ = 0;
    int64_t nextTry_ = 0;
};

}  // namespace support
