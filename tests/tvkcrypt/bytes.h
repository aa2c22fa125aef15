// Byte strings for the crypto tests: from hexadecimal and text.
#pragma once

#include <string>
#include <vector>

namespace tvk_test {

using Bytes = std::vector<unsigned char>;

inline Bytes from_hex(const std::string &hex)
{
    Bytes out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back(static_cast<unsigned char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return out;
}

inline Bytes from_text(const std::string &text)
{
    return Bytes(text.begin(), text.end());
}

} // namespace tvk_test
