#include "DGAUpload/ui/UploadWindow.h"

UploadWindow::UploadWindow(QWidget* parent) : DGAWindowBase(parent) {
    setAttribute(Qt::WA_ShowWithoutActivating, !canBecomeKeyWindow());
}
