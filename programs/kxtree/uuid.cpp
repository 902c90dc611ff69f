#include "uuid.hpp"

#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include <unistd.h>

namespace kxtree {

std::string random_uuid() {
    std::array<unsigned char, 16> bytes{};
    if (getentropy(bytes.data(), bytes.size()) != 0)
        throw std::system_error(errno, std::generic_category(), "cannot get random numbers");
    bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0FU) | 0x40U); // version 4
    bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3FU) | 0x80U); // of the common variant
    std::string text;
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        std::array<char, 4> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x", unsigned(bytes[index]));
        text.append(index == 4 || index == 6 || index == 8 || index == 10 ? "-" : "")
            .append(digits.data());
    }
    return text;
}

} // namespace kxtree
