#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace platform {

/// A named message to every program of the user's session.
struct Notification {
    std::string name;
    /// The sender's object; a missing one travels as "".
    std::optional<std::string> object;
    /// The text values of the user info; values of other types are left out.
    std::map<std::string, std::string> userInfo;
    /// Numbers of the user info, which are sent, but not read.
    std::map<std::string, int32_t> numbers = {};
    /// How many earlier ones of this name were passed over, because they came faster than they were handled.
    uint64_t passedOver = 0;
};

}  // namespace platform
