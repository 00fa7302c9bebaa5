#pragma once

/// `orvanedga --check-policy [FILE]`: prints the policy as it counts, as a policy file, and on standard error
/// what is wrong in it. FILE may be a draft of anybody's; without it the machine's own is checked. Returns
/// the program's exit status: 0 if nothing is wrong, 1 if something is or the named file is missing.
int dgaCheckPolicy(const char* file);
