// The TRE driver: the only unit that includes TRE's header. TRE defines its
// own regex_t and regmatch_t, which are not the system library's, so no
// other unit may see them; the rest of the library knows this driver by its
// table only.
#include <tre/tre.h>

#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>

#include <cerrno>
#include <cstring>

#include "regexp/regexp_private.h"

namespace {

struct TrePrivate {
    regex_t regex;
    regmatch_t match[kRegexpSubs];
    const char *subject; // of the last successful match, else null
    bool compiled;       // tre_regcomp succeeded, so tre_regfree is due
};

// Code of a tre_regcomp result.
NRC compile_code(int result)
{
    switch (result) {
    case REG_OK:
        return 0;
    case REG_BADPAT:
    case REG_ECOLLATE:
    case REG_ECTYPE:
    case REG_EESCAPE:
    case REG_ESUBREG:
    case REG_EBRACK:
    case REG_EBRACE:
    case REG_BADBR:
    case REG_BADRPT:
        return NRC_REGEXP_INVALID;
    case REG_ESPACE:
        return ENOMEM;
    default: // REG_EPAREN and REG_ERANGE among them
        return NRC_FAILURE;
    }
}

// Two patterns make TRE misbehave instead of answering, so the driver
// looks at each pattern the way TRE's extended syntax reads it first:
//
// - A bracket expression whose "[:" term ends with its ":" at the very end
//   of the pattern, as in "[[:alpha:": TRE reads past the end of its copy
//   of the pattern. Its answer, when it survives, is a bad class or an
//   unclosed bracket, -70; the driver gives -70 itself, and also for the
//   terms that TRE refuses at once (see bracket_end).
// - A ")" that closes no group, directly behind an escaped backslash (as in
//   "\\)"): TRE allocates without end. Elsewhere such a ")" is a literal,
//   so the driver hands TRE the pattern with it written as "\)", which
//   means the same.
// - A bound with a count above 255 (RE_DUP_MAX): TRE refuses it with
//   REG_BADBR, -70, unless the count overflows its integer and wraps to a
//   small one, or to one that asks for all memory. The driver gives -70 for
//   every such count.

// The byte behind the bracket expression whose members start at q (behind
// its "["), or null where TRE would read past the pattern or answer -70
// anyway. "^" and a leading "]" are members; "-" and the byte behind it
// make a range with the item before. TRE reads a "[:" term up to its next
// ":" and then skips one byte, meant to be the "]", even when it is the
// pattern's NUL; it refuses "[." and "[=" terms (collating elements) with
// REG_ECOLLATE, and a "[:" without ":" with REG_ECTYPE.
const char *bracket_end(const char *q)
{
    if (*q == '^')
        ++q;
    if (*q == ']')
        ++q;
    while (*q != '\0' && *q != ']') {
        if (q[0] == '[' && q[1] == ':') {
            const char *colon = std::strchr(q + 2, ':');
            if (colon == nullptr || colon[1] == '\0')
                return nullptr;
            q = colon + 2;
        } else if (q[0] == '[' && (q[1] == '.' || q[1] == '=')) {
            return nullptr;
        } else {
            ++q;
        }
        if (q[0] == '-' && q[1] != ']' && q[1] != '\0')
            q += 2;
    }
    return *q == ']' ? q + 1 : q;
}

// True when the bound whose counts start at q (behind its "{") has a count
// above 255.
bool bound_too_big(const char *q)
{
    while ((*q >= '0' && *q <= '9') || *q == ',') {
        unsigned count = 0;
        for (; *q >= '0' && *q <= '9'; ++q) {
            count = count * 10 + static_cast<unsigned>(*q - '0');
            if (count > 255)
                return true;
        }
        if (*q == ',')
            ++q;
    }
    return false;
}

// walk() reads pattern; it gives false for the first and the third case. It counts the
// parentheses of the second case in fixes and, if out isn't null, writes
// the pattern with them escaped, and a NUL.
bool walk(const char *pattern, char *out, size_t &fixes)
{
    fixes = 0;
    size_t depth = 0;
    bool after_escaped_backslash = false;
    auto put = [&out](char c) {
        if (out != nullptr)
            *out++ = c;
    };
    const char *p = pattern;
    while (*p != '\0') {
        const char c = *p++;
        if (c == '\\') {
            put(c);
            if (*p == '\0')
                break;
            after_escaped_backslash = *p == '\\';
            put(*p++);
            continue;
        }
        if (c == ')' && depth == 0 && after_escaped_backslash) {
            ++fixes;
            put('\\');
        }
        after_escaped_backslash = false;
        put(c);
        if (c == '(') {
            ++depth;
        } else if (c == ')') {
            depth -= depth > 0 ? 1 : 0;
        } else if (c == '{') {
            if (bound_too_big(p))
                return false;
        } else if (c == '[') {
            const char *end = bracket_end(p);
            if (end == nullptr)
                return false;
            while (p < end)
                put(*p++);
        }
    }
    put('\0');
    return true;
}

} // namespace

NRC _NRegexpTreAllocate(const char *, size_t header_size, void **public_part, void **private_part,
                        void **header)
{
    return tvk::regexp::allocate_block(sizeof(TrePrivate), header_size, sizeof(NRegexpSubs), public_part,
                                       private_part, header);
}

NRC _NRegexpTreCompile(const char *pattern, void *, void *private_part)
{
    auto *tre = static_cast<TrePrivate *>(private_part);
    size_t fixes = 0;
    if (!walk(pattern, nullptr, fixes))
        return NRC_REGEXP_INVALID;
    char *fixed = nullptr;
    if (fixes > 0) {
        fixed = static_cast<char *>(n_malloc(std::strlen(pattern) + fixes + 1));
        if (fixed == nullptr)
            return ENOMEM;
        (void)walk(pattern, fixed, fixes);
    }
    const int result = tre_regcomp(&tre->regex, fixed != nullptr ? fixed : pattern, REG_EXTENDED);
    n_free(fixed);
    tre->compiled = result == REG_OK;
    return compile_code(result);
}

NRC _NRegexpTreMatch(void *public_part, const char *subject, void *private_part)
{
    auto *subs = static_cast<NRegexpSubs *>(public_part);
    auto *tre = static_cast<TrePrivate *>(private_part);
    *subs = NRegexpSubs{};
    const int result = tre_regexec(&tre->regex, subject, kRegexpSubs, tre->match, 0);
    if (result != 0) {
        tre->subject = nullptr;
        return result == REG_NOMATCH ? NRC_REGEXP_NO_MATCH : NRC_FAILURE;
    }
    tre->subject = subject;
    for (int i = 0; i < kRegexpSubs; ++i) {
        const regmatch_t &m = tre->match[i];
        if (m.rm_so != -1 && m.rm_eo != -1) {
            subs->start[i] = subject + m.rm_so;
            subs->end[i] = subject + m.rm_eo;
        }
    }
    return 0;
}

NRC _NRegexpTreGetSub(void *, int32_t index, char *destination, void *private_part)
{
    const auto *tre = static_cast<const TrePrivate *>(private_part);
    if (tre->subject == nullptr)
        return NRC_FAILURE;
    // A negative index is out of range as well.
    if (index < 0 || index >= kRegexpSubs)
        return EINVAL;
    const regmatch_t &m = tre->match[index];
    if (m.rm_so == -1 || m.rm_eo == -1)
        return NRC_FAILURE;
    tvk::regexp::copy_sub(tre->subject + m.rm_so, tre->subject + m.rm_eo, destination);
    return 0;
}

NRC _NRegexpTreSubst(void *public_part, const char *templ, char *destination, void *)
{
    // The match clears the pointers first, so after a failed match every
    // group is unset.
    return tvk::regexp::substitute(*static_cast<const NRegexpSubs *>(public_part), templ, destination);
}

void _NRegexpTreFree(void *, void *private_part)
{
    auto *tre = static_cast<TrePrivate *>(private_part);
    // After a failed tre_regcomp TRE has already released what it built.
    if (tre->compiled)
        tre_regfree(&tre->regex);
    n_free(private_part);
}

void _NRegexpTreDump(void *, void *)
{
}

const NRegexpApi nregex_api_tre = {
    "TRE Regular Expression Library",
    _NRegexpTreAllocate,
    _NRegexpTreCompile,
    _NRegexpTreMatch,
    _NRegexpTreSubst,
    _NRegexpTreGetSub,
    _NRegexpTreFree,
    _NRegexpTreDump,
};
