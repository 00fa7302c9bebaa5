#include "DGAMonitor/View/SendReport/Controller/DGAProblemCatagories.h"

#include <array>

#include "DGAMonitor/Const/DGAConst.h"
#include "DGAMonitor/Const/DGALocalizationStrings.h"
#include "DGAMonitor/View/DGAText.h"

namespace {

struct Catagory {
    const char* title;
    int64_t number;
    bool desktopToolsOnly;
};

constexpr std::array<Catagory, 11> kCatagories{{
    {lDGADropListChooseType, kDGANoCatagory, false},
    {lDGADropListNotResponding, kDGANotRespondingCatagory, false},
    {lDGADropListSchedule, 7, true},
    {lDGADropListDevice, 8, true},
    {lDGADropListMeeting, 9, true},
    {lDGADropListJoining, 1, false},
    {lDGADropListAudio, 2, false},
    {lDGADropListVideo, 3, false},
    {lDGADropListSharing, 4, false},
    {lDGADropListRecording, 5, false},
    {lDGADropListOther, 0, false},
}};

bool isOffered(const Catagory& catagory, int64_t serviceType) {
    if (serviceType == kDGAServiceTypeKT)
        return true;
    if (serviceType == kDGAServiceTypeHV)
        return !catagory.desktopToolsOnly;
    return catagory.number == kDGANoCatagory || catagory.number == kDGANotRespondingCatagory ||
           catagory.number == 0;
}

}  // namespace

std::vector<DGAProblemCatagory> dgaProblemCatagories(int64_t serviceType) {
    std::vector<DGAProblemCatagory> offered;
    for (const auto& catagory : kCatagories) {
        if (isOffered(catagory, serviceType))
            offered.push_back({dgaText(catagory.title), catagory.number});
    }
    return offered;
}

std::string dgaProblemCatagoryName(int64_t number) {
    for (const auto& catagory : kCatagories) {
        if (catagory.number == number)
            return catagory.title;
    }
    return "";
}
