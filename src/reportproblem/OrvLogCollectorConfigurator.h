#pragma once

#include <memory>

#include "reportproblem/OrvLogCollector.h"

/// Makes collectors that are ready to be asked.
class OrvLogCollectorConfigurator {
public:
    OrvLogCollectorConfigurator() = delete;

    /// A new aggregate with a fresh collector of every kind.
    static std::unique_ptr<OrvLogCollector> orvLogCollector();
};
