#pragma once

#include "DGAMonitor/View/DGAWindowBase.h"

/// The window that shows how a report is sent.
class UploadWindow final : public DGAWindowBase {
    Q_OBJECT

public:
    using DGAWindowBase::DGAWindowBase;
};
