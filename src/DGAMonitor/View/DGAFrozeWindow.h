#pragma once

#include "DGAMonitor/View/DGAWindowBase.h"

/// The window of the "not responding" prompt.
class DGAFrozeWindow final : public DGAWindowBase {
    Q_OBJECT

public:
    using DGAWindowBase::DGAWindowBase;
};
