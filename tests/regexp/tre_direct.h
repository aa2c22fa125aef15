// TRE called directly, for the tests of the TRE driver. Only tre_direct.cpp
// includes TRE's header; this interface names no TRE type.
#pragma once

#include <string>

namespace tre_direct {

struct Result {
    int compile = 0;      // tre_regcomp's result
    int exec = -1;        // tre_regexec's result, -1 when not compiled
    int offsets[20] = {}; // rm_so, rm_eo of the 10 slots after a match
};

// tre_regcomp with REG_EXTENDED, then tre_regexec with 10 slots and no
// flags.
Result run(const std::string &pattern, const std::string &subject);

// The value of one of TRE's result names ("REG_OK", "REG_NOMATCH",
// "REG_BADPAT", ...), or -1 for an unknown name.
int code(const std::string &name);

} // namespace tre_direct
