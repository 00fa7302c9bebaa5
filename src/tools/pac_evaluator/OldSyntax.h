#pragma once

#include <string>

/// A script with what browsers still take of old JavaScript and the engine refuses in the engine's form:
/// octal escapes in strings ("\101") and octal numbers (010); "08" and "09" are decimal. All else stays as it
/// is.
std::string withoutOldSyntax(const std::string& source);
