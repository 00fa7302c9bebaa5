#pragma once

#include <array>
#include <string_view>

namespace orvanereport {

/// What looks personal wherever it stands. The pattern's first group, or else all of it, becomes a token of
/// that kind. Patterns are written for both RE2 and JavaScript; earlier rules win over later ones.
struct MaskRule {
    std::string_view kind;
    std::string_view pattern;
};

inline constexpr std::array kMaskRules = {
    MaskRule{"email", R"([A-Za-z0-9._%+\-]+@[A-Za-z0-9\-]+(?:\.[A-Za-z0-9\-]+)+)"},
    MaskRule{"person", R"re("(?:userName|displayName|firstName|lastName)"\s*:\s*"([^"]+)")re"},
    MaskRule{"conference", R"re("confName"\s*:\s*"([^"]+)")re"},
    MaskRule{"id",
             R"re("(?:UserID|confId|siteID|meetingKey|telemetrySessionID)"\s*:\s*"?([A-Za-z0-9\-]+))re"},
    MaskRule{"key", R"re("(?:smac|ticket|token|password|Authorization)"\s*:\s*"([^"]+)")re"},
    MaskRule{"key", R"((?:Bearer|Basic)\s+([A-Za-z0-9._~+/=\-]{8,}))"},
    MaskRule{"host", R"([A-Za-z][A-Za-z0-9+.\-]*://([^/\s"'<>?#,;()\[\]{}\\]+))"},
    MaskRule{"id", R"(\b[0-9A-Fa-f]{8}(?:-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}\b)"},
    MaskRule{"key", R"(\b[0-9A-Fa-f]{32,}\b)"},
    MaskRule{"person", R"(/(?:home|Users)/([^/\s"':,;<>|]+))"},
    MaskRule{"address", R"(\b(?:[0-9A-Fa-f]{2}[:\-]){5}[0-9A-Fa-f]{2}\b)"},
    MaskRule{"address", R"(\b(?:[0-9A-Fa-f]{1,4}:){4,7}[0-9A-Fa-f]{1,4}\b)"},
    MaskRule{"address",
             R"(\b[0-9A-Fa-f]{1,4}(?::[0-9A-Fa-f]{1,4})*::[0-9A-Fa-f]{1,4}(?::[0-9A-Fa-f]{1,4})*\b)"},
    MaskRule{"address", R"(\b(?:[0-9]{1,3}\.){3}[0-9]{1,3}\b)"},
    MaskRule{"host",
             R"(\b(?:[A-Za-z0-9](?:[A-Za-z0-9\-]*[A-Za-z0-9])?\.)+)"
             R"((?:com|net|org|edu|gov|info|biz|eu|de|fr|uk|jp|cn|io|cloud|local|lan|internal|corp|intranet|)"
             R"(home|example|test|invalid)\b)"},
};

/// Session parameters whose value is personal as a whole: the trace's name for it, and what it becomes.
struct MaskedParameter {
    std::string_view name;
    std::string_view kind;
};

inline constexpr std::array kMaskedParameters = {
    MaskedParameter{"username", "person"}, MaskedParameter{"confname", "conference"},
    MaskedParameter{"confid", "id"},       MaskedParameter{"userid", "id"},
    MaskedParameter{"trackingid", "id"},   MaskedParameter{"siteurl", "site"},
};

/// Numbers that look like addresses and are none: the loopback and any address.
inline constexpr std::array kUnmasked = {std::string_view("127.0.0.1"), std::string_view("0.0.0.0"),
                                         std::string_view("255.255.255.255")};

}  // namespace orvanereport
