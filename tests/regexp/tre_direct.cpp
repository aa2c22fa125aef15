// TRE called directly (see tre_direct.h).
#include <tre/tre.h>

#include "tre_direct.h"

namespace tre_direct {

Result run(const std::string &pattern, const std::string &subject)
{
    Result result;
    regex_t regex;
    result.compile = tre_regcomp(&regex, pattern.c_str(), REG_EXTENDED);
    if (result.compile != REG_OK)
        return result;
    regmatch_t match[10];
    result.exec = tre_regexec(&regex, subject.c_str(), 10, match, 0);
    if (result.exec == REG_OK)
        for (int i = 0; i < 10; ++i) {
            result.offsets[2 * i] = match[i].rm_so;
            result.offsets[2 * i + 1] = match[i].rm_eo;
        }
    tre_regfree(&regex);
    return result;
}

int code(const std::string &name)
{
    static const struct {
        const char *name;
        int value;
    } codes[] = {
        {"REG_OK", REG_OK},         {"REG_NOMATCH", REG_NOMATCH}, {"REG_BADPAT", REG_BADPAT},
        {"REG_ECOLLATE", REG_ECOLLATE}, {"REG_ECTYPE", REG_ECTYPE}, {"REG_EESCAPE", REG_EESCAPE},
        {"REG_ESUBREG", REG_ESUBREG}, {"REG_EBRACK", REG_EBRACK},   {"REG_EPAREN", REG_EPAREN},
        {"REG_EBRACE", REG_EBRACE},   {"REG_BADBR", REG_BADBR},     {"REG_ERANGE", REG_ERANGE},
        {"REG_ESPACE", REG_ESPACE},   {"REG_BADRPT", REG_BADRPT},
    };
    for (const auto &c : codes)
        if (name == c.name)
            return c.value;
    return -1;
}

} // namespace tre_direct
