#include "DGAMonitor/Utilities/DGAUtilities.h"

std::string DGAUtilities::dga_localize(const std::string& key) {
    return key;
}
