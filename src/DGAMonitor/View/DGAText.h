#pragma once

#include <QString>

#include "DGAMonitor/Session/DGAUtilitiesLocalize.h"

/// A text for the user, in the client's language.
inline QString dgaText(const char* key) {
    return QString::fromStdString(DGAUtilities::dga_localize(key));
}
