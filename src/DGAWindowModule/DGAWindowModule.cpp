#include "DGAMonitor/Windows/DGAWindowModuleEntry.h"
#include "DGAWindowModule/DGAModuleWindowFactory.h"
#include "DGAWindowModule/DGAToolkit.h"

namespace {

std::shared_ptr<DGAWindowFactory> makeFactory(std::string& why) {
    why = DGAToolkit::start();
    return why.empty() ? std::make_shared<DGAModuleWindowFactory>() : nullptr;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) const DGAWindowModule* dgaWindowModuleEntry();

const DGAWindowModule* dgaWindowModuleEntry() {
    static const DGAWindowModule module{kDGAWindowModuleVersion, makeFactory};
    return &module;
}
