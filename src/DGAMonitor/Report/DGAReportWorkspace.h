#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/PrivateFolder.h"

/// The private folder in which one report is put together, in the folder of reports. Other assistants leave
/// it alone while it is there, and no other report gets its name. The end of this object removes it.
class DGAReportWorkspace {
public:
    /// Takes the first free name of "<prefix><time>", where another report has that by counting up the
    /// seconds of the time ("yyyyMMdd_HHmmss"; one of another form gets "_2", "_3"). None if the folder of
    /// reports cannot be used.
    static std::unique_ptr<DGAReportWorkspace> open(const std::string& prefix, const std::string& time);
    ~DGAReportWorkspace();
    DGAReportWorkspace(const DGAReportWorkspace&) = delete;
    DGAReportWorkspace& operator=(const DGAReportWorkspace&) = delete;

    /// The report's number, which is its archive's name without ".zip".
    const std::string& number() const { return number_; }

    /// The full path of an entry of this folder, whether it is there or not.
    std::string pathOf(const std::string& name) const;

    /// A link of that name to a file, in a folder of its own; its path, or "" if it cannot be made.
    std::string linkTo(const std::string& path, const std::string& name) const;

    bool write(const std::string& name, std::string_view bytes) const;

    /// Puts the archive "<number>.zip" that is in this folder into the folder of reports. Retention leaves it
    /// there while this process lives. Its path without ".zip"; none if that is not possible.
    std::optional<std::string> publish() const;

private:
    DGAReportWorkspace(platform::PrivateFolder store, platform::PrivateFolder folder, std::string number);

    platform::PrivateFolder store_;
    platform::PrivateFolder folder_;
    std::string number_;
};
