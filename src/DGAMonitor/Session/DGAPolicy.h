#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/AdministratorFile.h"

/// What an administrator may forbid or narrow; docs/administration.md has the keys.
enum class DGAPolicyKey : uint8_t {
    screenCapture,
    systemProfile,
    crashReports,
    keepDays,
    mail,
    save,
    send,
    hosts,
    verifyCertificates,
    telemetry,
    freezePrompt
};

/// The policy of this machine, as the administrator's file has it. It forbids and narrows only: nothing that
/// the client, the user or the windows ask for loosens it. Where the file is wrong the stricter reading
/// holds: a value that is none of a key's, and a key that is spelled wrong or stands twice, give that key its
/// strictest value; a file that cannot be read forbids everything. A file that is not root's alone is
/// ignored.
///
/// A value: copies are cheap, and any thread may have its own. It is read anew when a session, a report or a
/// window begins (less than a millisecond); nobody watches the file.
class DGAPolicy {
public:
    struct Rule {
        std::string group;  ///< "Report"
        std::string name;   ///< "ScreenCapture"
        std::string value;  ///< as it counts: "never"
        bool isDefault;     ///< nothing is forbidden or narrowed by it
    };

    /// Allows everything, verifies no certificates.
    DGAPolicy() = default;

    /// That of this machine; what is wrong in it goes into the log at level 8.
    static DGAPolicy current();
    static std::string currentFile();

    explicit DGAPolicy(const platform::AdministratorFile& file);

    /// Not for keepDays, hosts and verifyCertificates, which are more than a yes or no.
    bool allows(DGAPolicyKey key) const { return !is(key, kNever); }

    /// How long reports may be kept, of those who would keep them for `longest`; 0 is not at all.
    std::chrono::hours keeps(std::chrono::hours longest) const;

    /// Whether reports may go to a host, by its name or address without port and brackets.
    bool allowsHost(std::string_view host) const;

    /// Whether reports may be sent to an address at all; the transfer holds it once more, host by host.
    bool allowsSendingTo(const std::string& address) const;

    bool verifiesCertificates() const { return is(DGAPolicyKey::verifyCertificates, kTrue); }

    /// All keys in the order of the table in docs/administration.md.
    std::vector<Rule> rules() const;

    /// What is wrong in the file, in English.
    const std::vector<std::string>& faults() const { return faults_; }

private:
    static constexpr size_t kKeys = 11;
    static constexpr std::string_view kNever = "never";
    static constexpr std::string_view kTrue = "true";

    bool is(DGAPolicyKey key, std::string_view value) const { return text(key) == value; }
    const std::string& text(DGAPolicyKey key) const { return values_.at(static_cast<size_t>(key)); }
    void readEntry(const platform::AdministratorFile::Entry& entry, std::set<DGAPolicyKey>& faulty);
    void readHosts(const std::string& value);

    std::array<std::string, kKeys> values_;  ///< "" where the key is not set
    bool limitsHosts_ = false;
    std::vector<std::string> hosts_;
    std::vector<std::string> faults_;
};
