#pragma once

#include "DGAMonitor/View/DGAWindowBase.h"

/// The window in which the user describes a problem.
class DGAProblemReportingWindow final : public DGAWindowBase {
    Q_OBJECT

public:
    using DGAWindowBase::DGAWindowBase;
};
