#include "DGAWindowProgram/DGAUploadModule.h"

#include "DGAUpload/ui/UploadWindowController.h"

extern "C" __attribute__((visibility("default"))) void dgaUploadModuleEntry(
    std::shared_ptr<DGAUploadWindowInterface>* made);

void dgaUploadModuleEntry(std::shared_ptr<DGAUploadWindowInterface>* made) {
    *made = std::make_shared<UploadWindowController>();
}
