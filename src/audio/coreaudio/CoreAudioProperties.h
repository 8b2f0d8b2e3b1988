#pragma once

#include <compare>
#include <cstdint>

// Core Audio's vocabulary, spelled as Apple spells it but kept in a namespace of our own so that
// the macOS build can include Apple's headers next to it.
namespace coreaudio {

using ObjectID = std::uint32_t; // AudioObjectID
using Status = std::int32_t;    // OSStatus

// Core Audio's four-character codes: the first character is the most significant byte.
constexpr std::uint32_t fourCC(const char (&code)[5]) {
    return (std::uint32_t(std::uint8_t(code[0])) << 24) |
           (std::uint32_t(std::uint8_t(code[1])) << 16) |
           (std::uint32_t(std::uint8_t(code[2])) << 8) | std::uint32_t(std::uint8_t(code[3]));
}

// AudioObjectPropertyAddress.
struct PropertyAddress {
    std::uint32_t selector = 0;
    std::uint32_t scope = 0;
    std::uint32_t element = 0;

    auto operator<=>(const PropertyAddress&) const = default;
};

// AudioValueRange: one span of nominal sample rates.
struct ValueRange {
    double minimum = 0;
    double maximum = 0;
};
static_assert(sizeof(ValueRange) == 16);

constexpr ObjectID kAudioObjectUnknown = 0;
constexpr ObjectID kAudioObjectSystemObject = 1;

constexpr std::uint32_t kAudioObjectPropertyScopeGlobal = fourCC("glob");
constexpr std::uint32_t kAudioObjectPropertyScopeInput = fourCC("inpt");
constexpr std::uint32_t kAudioObjectPropertyScopeOutput = fourCC("outp");
constexpr std::uint32_t kAudioObjectPropertyElementMain = 0;

constexpr std::uint32_t kAudioHardwarePropertyDevices = fourCC("dev#");
constexpr std::uint32_t kAudioHardwarePropertyDefaultOutputDevice = fourCC("dOut");
constexpr std::uint32_t kAudioObjectPropertyName = fourCC("lnam");
constexpr std::uint32_t kAudioDevicePropertyStreams = fourCC("stm#");
constexpr std::uint32_t kAudioDevicePropertyDeviceUID = fourCC("uid ");
constexpr std::uint32_t kAudioDevicePropertyTransportType = fourCC("tran");
constexpr std::uint32_t kAudioDevicePropertyVolumeScalar = fourCC("volm");
constexpr std::uint32_t kAudioDevicePropertyMute = fourCC("mute");
constexpr std::uint32_t kAudioDevicePropertyAvailableNominalSampleRates = fourCC("nsr#");
constexpr std::uint32_t kAudioDevicePropertyNominalSampleRate = fourCC("nsrt");
constexpr std::uint32_t kAudioAggregateDevicePropertyActiveSubDeviceList = fourCC("agrp");

constexpr std::uint32_t kAudioDeviceTransportTypeBuiltIn = fourCC("bltn");
constexpr std::uint32_t kAudioDeviceTransportTypeAggregate = fourCC("grup");
constexpr std::uint32_t kAudioDeviceTransportTypeVirtual = fourCC("virt");
constexpr std::uint32_t kAudioDeviceTransportTypePCI = fourCC("pci ");
constexpr std::uint32_t kAudioDeviceTransportTypeUSB = fourCC("usb ");
constexpr std::uint32_t kAudioDeviceTransportTypeFireWire = fourCC("1394");
constexpr std::uint32_t kAudioDeviceTransportTypeBluetooth = fourCC("blue");
constexpr std::uint32_t kAudioDeviceTransportTypeBluetoothLE = fourCC("blea");
constexpr std::uint32_t kAudioDeviceTransportTypeHDMI = fourCC("hdmi");
constexpr std::uint32_t kAudioDeviceTransportTypeDisplayPort = fourCC("dprt");
constexpr std::uint32_t kAudioDeviceTransportTypeAirPlay = fourCC("airp");
constexpr std::uint32_t kAudioDeviceTransportTypeAVB = fourCC("eavb");
constexpr std::uint32_t kAudioDeviceTransportTypeThunderbolt = fourCC("thun");

constexpr Status kAudioHardwareNoError = 0;
constexpr Status kAudioHardwareUnspecifiedError = Status(fourCC("what"));
constexpr Status kAudioHardwareUnknownPropertyError = Status(fourCC("who?"));
constexpr Status kAudioHardwareBadPropertySizeError = Status(fourCC("!siz"));
constexpr Status kAudioHardwareIllegalOperationError = Status(fourCC("nope"));
constexpr Status kAudioHardwareBadObjectError = Status(fourCC("!obj"));
constexpr Status kAudioHardwareBadDeviceError = Status(fourCC("!dev"));
constexpr Status kAudioHardwareUnsupportedOperationError = Status(fourCC("unop"));
constexpr Status kAudio_ParamError = -50;

} // namespace coreaudio
