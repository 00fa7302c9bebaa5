#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orvanereport {

struct PagePart {
    std::string name;   ///< as the page shows it
    std::string bytes;  ///< of the archive
};

/// The page's template with archives inside; the archives' bytes cannot leave their place in it. Throws
/// std::runtime_error when `pageTemplate` is none.
std::string pageWith(std::string_view pageTemplate, const std::vector<PagePart>& parts);

}  // namespace orvanereport
