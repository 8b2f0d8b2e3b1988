// The stored zone list comes from the user's defaults, which any program of the user can write.
// Whatever the bytes, decoding ends with a list or nothing; a list it reads is written and read
// back as the same list, so storing it again loses nothing.
#include "ZoneCoding.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto zones = decodeZones(std::string_view(reinterpret_cast<const char*>(data), size));
    if (zones && decodeZones(encodeZones(*zones)) != zones)
        std::abort();
    return 0;
}
