#pragma once

#include <ctime>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// A program or library on the stack of a crash.
struct CoredumpModule {
    std::string name;     ///< as the stack has it
    std::string buildId;  ///< in hexadecimal; "" if it is not known
    std::string version;  ///< of its package; "" if it is not known

    bool operator==(const CoredumpModule&) const = default;
};

/// The modules of the stacks in a listing of `coredumpctl info`, in the order in which they appear there,
/// with what the listing says of them.
std::vector<CoredumpModule> coredumpModules(std::string_view listing);

/// Completes them from the files: those that were changed after `since` are other ones than those that
/// crashed. They are looked for beside the executable, among the libraries of this process and in the
/// system's folders.
void completeModules(std::vector<CoredumpModule>& modules, const std::string& executable, std::time_t since);

}  // namespace platform
