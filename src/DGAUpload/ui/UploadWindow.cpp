#include "DGAUpload/ui/UploadWindow.h"
