#pragma once

#include <optional>
#include <string_view>

#include "tools/system_profiler/PropertyList.h"
#include "tools/system_profiler/Sources.h"

namespace tools {

/// How much the profile tells: mini leaves out the network and the session, only full lists the packages.
enum class DetailLevel { mini, basic, full };

std::optional<DetailLevel> detailLevelFrom(std::string_view word);

/// The profile: an array with a dictionary for each part, which holds its "_dataType" and its "_items".
PropertyValue systemProfile(const Sources& sources, DetailLevel level);

}  // namespace tools
