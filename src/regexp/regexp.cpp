// The regular expression front end: the selection of the engine, the
// compile sequence, and the dispatch of every other call through the header
// in front of the handle. The substitution and the substring copy that both
// engines share are here too.
#include <tarvolk/regexp.h>

#include <tarvolk/mem.h>
#include <tarvolk/retcode.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <strings.h>

#include "regexp/regexp_private.h"

std::atomic<const NRegexpApi *> nregex_api_impl{&nregex_api_tre};

namespace tvk::regexp {

NRC allocate_block(size_t private_size, size_t header_size, size_t public_size, void **public_part,
                   void **private_part, void **header)
{
    constexpr size_t align = alignof(std::max_align_t);
    const size_t private_room = (private_size + align - 1) & ~(align - 1);
    const size_t header_room = (header_size + alignof(void *) - 1) & ~(alignof(void *) - 1);
    if (private_room < private_size || header_room < header_size ||
        public_size > SIZE_MAX - private_room - header_room)
        return ENOMEM;
    const size_t total = private_room + header_room + public_size;
    auto *block = static_cast<unsigned char *>(n_malloc(total));
    if (block == nullptr)
        return ENOMEM;
    std::memset(block, 0, total);
    *private_part = block;
    *header = block + private_room;
    *public_part = block + private_room + header_room;
    return 0;
}

void copy_sub(const char *start, const char *end, char *destination)
{
    while (start < end && *start != '\0')
        *destination++ = *start++;
    *destination = '\0';
}

NRC substitute(const NRegexpSubs &subs, const char *templ, char *destination)
{
    char *out = destination;
    const char *src = templ;
    char c;
    while ((c = *src++) != '\0') {
        int no = -1;
        if (c == '&')
            no = 0;
        else if (c == '\\' && std::isdigit(static_cast<unsigned char>(*src)) != 0)
            no = *src++ - '0';
        if (no < 0) {
            if (c == '\\' && (*src == '\\' || *src == '&'))
                c = *src++;
            *out++ = c;
            continue;
        }
        const char *from = subs.start[no];
        const char *to = subs.end[no];
        if (from == nullptr || to == nullptr || to <= from)
            continue;
        // A NUL inside the group means the subject changed since the match;
        // copying as far as the group went would run past its end.
        for (; from < to; ++from) {
            if (*from == '\0') {
                *out = '\0';
                return NRC_REGEXP_BAD_MATCH;
            }
            *out++ = *from;
        }
    }
    *out = '\0';
    return 0;
}

} // namespace tvk::regexp

namespace {

NRegexpHeader *header_of(NRegexp *regexp)
{
    return reinterpret_cast<NRegexpHeader *>(regexp) - 1;
}

} // namespace

extern "C" {

NRC NRegexpCompile(const char *pattern, NRegexp **out)
{
    if (pattern == nullptr || out == nullptr)
        return EINVAL;
    const NRegexpApi *api = nregex_api_impl.load(std::memory_order_relaxed);
    void *public_part = nullptr;
    void *private_part = nullptr;
    void *header = nullptr;
    NRC rc = api->allocate(pattern, sizeof(NRegexpHeader), &public_part, &private_part, &header);
    if (rc != 0)
        return rc;
    auto *h = static_cast<NRegexpHeader *>(header);
    h->api = api;
    h->public_part = public_part;
    h->private_part = private_part;
    rc = api->compile(pattern, public_part, private_part);
    if (rc != 0) {
        api->free(public_part, private_part);
        return rc;
    }
    *out = static_cast<NRegexp *>(public_part);
    return 0;
}

NRC NRegexpMatch(NRegexp *regexp, const char *subject)
{
    if (regexp == nullptr || subject == nullptr)
        return EINVAL;
    const NRegexpHeader *h = header_of(regexp);
    return h->api->match(h->public_part, subject, h->private_part);
}

NRC NRegexpGetSub(NRegexp *regexp, int32_t index, char *destination)
{
    if (regexp == nullptr || destination == nullptr)
        return EINVAL;
    const NRegexpHeader *h = header_of(regexp);
    return h->api->getsub(h->public_part, index, destination, h->private_part);
}

NRC NRegexpSubst(NRegexp *regexp, const char *templ, char *destination)
{
    if (regexp == nullptr || templ == nullptr || destination == nullptr)
        return EINVAL;
    const NRegexpHeader *h = header_of(regexp);
    return h->api->subst(h->public_part, templ, destination, h->private_part);
}

void NRegexpFree(NRegexp *regexp)
{
    if (regexp == nullptr)
        return;
    const NRegexpHeader *h = header_of(regexp);
    h->api->free(h->public_part, h->private_part);
}

void NRegexpDump(NRegexp *regexp)
{
    if (regexp == nullptr)
        return;
    const NRegexpHeader *h = header_of(regexp);
    h->api->dump(h->public_part, h->private_part);
}

NRC NRegexpLibrarySwitch(int32_t library)
{
    if (library == NREGEXP_LIBRARY_TARVOLK)
        nregex_api_impl.store(&nregex_api_tarvolk, std::memory_order_relaxed);
    else if (library == NREGEXP_LIBRARY_TRE)
        nregex_api_impl.store(&nregex_api_tre, std::memory_order_relaxed);
    else
        return NRC_FAILURE;
    return 0;
}

NRC NRegexpLibrarySwitchFromString(const char *name)
{
    if (name == nullptr)
        return NRC_FAILURE;
    if (strcasecmp(name, "TARVOLK") == 0)
        return NRegexpLibrarySwitch(NREGEXP_LIBRARY_TARVOLK);
    if (strcasecmp(name, "TRE") == 0)
        return NRegexpLibrarySwitch(NREGEXP_LIBRARY_TRE);
    return NRC_FAILURE;
}

const char *NRegexpLibraryGetName(void)
{
    return nregex_api_impl.load(std::memory_order_relaxed)->name;
}

} // extern "C"
