// strcasestr under its own name: the process gets the library's, which
// takes an empty part to match at the end of the text.
#include <tarvolk/sortkey.h>

#include <cctype>
#include <cstring>

#include <strings.h>

// The system library's C++ overloads of strcasestr name the same symbol, so
// the definition gets another C++ name and the symbol by its assembler name.
extern "C" NAPI char *tvk_strcasestr(const char *text, const char *part) __asm__("strcasestr");

char *tvk_strcasestr(const char *text, const char *part)
{
    const auto first = static_cast<unsigned char>(*part);
    const char upper = static_cast<char>(std::toupper(first));
    const char lower = static_cast<char>(std::tolower(first));
    const size_t length = std::strlen(part);
    for (const char *from = text;;) {
        const char *at_upper = std::strchr(from, upper);
        const char *at_lower = std::strchr(from, lower);
        const char *at = at_upper == nullptr                            ? at_lower
                         : at_lower == nullptr || at_upper < at_lower ? at_upper
                                                                        : at_lower;
        if (at == nullptr)
            return nullptr;
        if (strncasecmp(at, part, length) == 0)
            return const_cast<char *>(at);
        from = at + 1;
    }
}
