#pragma once

#include <nlohmann/json_fwd.hpp>

class DGASessionRecord;

/// Reads a parsed parameter message into the session record, key by key. A key that is missing or of a
/// kind that its field cannot take clears the field or leaves it as it was, as each field's rule says.
void readSessionParameters(const nlohmann::json& parameters, DGASessionRecord& record);
