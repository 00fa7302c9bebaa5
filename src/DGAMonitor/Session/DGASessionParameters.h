#pragma once

#include <nlohmann/json_fwd.hpp>

class DGASessionRecord;

/// Reads a parsed parameter message into the session record, key by key. A key that is missing or of a
/// kind that its field cannot take clears the field or leaves it as it was, as each field's rule says.
void readSessionParameters(const nlohmann::json& parameters, DGASessionRecord& record);

/// What may be logged of a parameter message, an object: neither the user's mail address nor the meeting's
/// key and name, no secret ("smac", the values of the request headers), and of addresses neither query nor
/// user.
nlohmann::json sessionParametersForLog(nlohmann::json parameters);
