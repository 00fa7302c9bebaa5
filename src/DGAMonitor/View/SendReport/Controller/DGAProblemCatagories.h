#pragma once

#include <QString>
#include <cstdint>
#include <string>
#include <vector>

// The categories of problems, as numbers that are sent with a report.
inline constexpr int64_t kDGANoCatagory = 1000;  ///< the title that asks to choose one
inline constexpr int64_t kDGANotRespondingCatagory = 6;

struct DGAProblemCatagory {
    QString title;  ///< in the client's language
    int64_t number;
};

/// A category's title in English; "" for an unknown number.
std::string dgaProblemCatagoryName(int64_t number);

/// What a service type offers, in the order of the drop-down list: first kDGANoCatagory, then
/// kDGANotRespondingCatagory, then the others. Main thread.
std::vector<DGAProblemCatagory> dgaProblemCatagories(int64_t serviceType);
