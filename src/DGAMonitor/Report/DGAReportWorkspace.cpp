#include "DGAMonitor/Report/DGAReportWorkspace.h"

#include <fmt/format.h>

#include <chrono>
#include <utility>

#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Utilities/DGAUtilitiesFiles.h"
#include "support/DatePattern.h"

namespace {

using platform::PrivateFolder;

constexpr char kPrefix[] = ".packing_";
constexpr char kLinks[] = "links";
constexpr int kMostTries = 3600;

std::string timeAfter(const std::string& time, int seconds) {
    if (seconds == 0)
        return time;
    const auto begin = support::parseDate(time, kDGAZipLogDateFormat);
    return begin ? support::formatDate(*begin + std::chrono::seconds(seconds), kDGAZipLogDateFormat)
                 : fmt::format("{}_{}", time, seconds + 1);
}

}  // namespace

std::unique_ptr<DGAReportWorkspace> DGAReportWorkspace::open(const std::string& prefix,
                                                             const std::string& time) {
    auto store = PrivateFolder::open(dgaStorePath(), PrivateFolder::Create::yes);
    for (int seconds = 0; store && seconds < kMostTries; ++seconds) {
        const std::string number = prefix + timeAfter(time, seconds);
        const std::string archive = number + ".zip";
        // Making the folder decides between two that want the name. Whoever had it first may have finished
        // since.
        if (store->contains(archive) || store->contains(kPrefix + number))
            continue;
        if (!store->createFolder(kPrefix + number)) {
            if (store->contains(kPrefix + number))
                continue;
            return nullptr;
        }
        auto folder = store->subfolder(kPrefix + number, PrivateFolder::Create::no);
        if (!folder || !folder->lock())
            return nullptr;
        std::unique_ptr<DGAReportWorkspace> made(
            new DGAReportWorkspace(std::move(*store), std::move(*folder), number));
        if (!made->store_.contains(archive))
            return made;
        store = PrivateFolder::open(dgaStorePath(), PrivateFolder::Create::yes);
    }
    return nullptr;
}

DGAReportWorkspace::DGAReportWorkspace(PrivateFolder store, PrivateFolder folder, std::string number)
    : store_(std::move(store)), folder_(std::move(folder)), number_(std::move(number)) {}

DGAReportWorkspace::~DGAReportWorkspace() {
    store_.remove(kPrefix + number_);
}

std::string DGAReportWorkspace::pathOf(const std::string& name) const {
    return fmt::format("{}/{}{}/{}", dgaStorePath(), kPrefix, number_, name);
}

std::string DGAReportWorkspace::linkTo(const std::string& path, const std::string& name) const {
    const auto links = folder_.subfolder(kLinks, PrivateFolder::Create::yes);
    return links && links->createLink(name, path) ? pathOf(fmt::format("{}/{}", kLinks, name)) : "";
}

bool DGAReportWorkspace::write(const std::string& name, std::string_view bytes) const {
    return folder_.replaceFile(name, bytes);
}

std::optional<std::string> DGAReportWorkspace::publish() const {
    const std::string archive = number_ + ".zip";
    folder_.lockFileForGood(archive);
    if (!folder_.moveEntry(archive, store_, archive))
        return std::nullopt;
    return fmt::format("{}/{}", dgaStorePath(), number_);
}
