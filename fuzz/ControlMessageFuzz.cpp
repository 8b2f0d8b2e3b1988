// Both ends of the control channel read lines another process wrote: whatever the bytes, a parser
// ends with a message or nothing, and a message it reads is written and read back unchanged.
#include "ControlMessage.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view line(reinterpret_cast<const char*>(data), size);
    if (const auto request = parseControlRequest(line))
        if (parseControlRequest(encodeControlRequest(*request)) != request)
            std::abort();
    if (const auto reply = parseControlReply(line))
        if (parseControlReply(encodeControlReply(*reply)) != reply)
            std::abort();
    return 0;
}
