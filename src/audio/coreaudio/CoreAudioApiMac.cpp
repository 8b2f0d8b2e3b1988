#include "CoreAudioApiMac.h"

#include <Block.h>
#include <CoreAudio/CoreAudio.h>
#include <CoreFoundation/CoreFoundation.h>
#include <dispatch/dispatch.h>

#include <cstring>
#include <type_traits>
#include <vector>

// Our spelling of Core Audio's codes must be Apple's.
static_assert(coreaudio::kAudioObjectSystemObject == ::kAudioObjectSystemObject);
static_assert(coreaudio::kAudioObjectPropertyScopeGlobal == ::kAudioObjectPropertyScopeGlobal);
static_assert(coreaudio::kAudioObjectPropertyScopeInput == ::kAudioObjectPropertyScopeInput);
static_assert(coreaudio::kAudioObjectPropertyScopeOutput == ::kAudioObjectPropertyScopeOutput);
static_assert(coreaudio::kAudioHardwarePropertyDevices == ::kAudioHardwarePropertyDevices);
static_assert(coreaudio::kAudioHardwarePropertyDefaultOutputDevice ==
              ::kAudioHardwarePropertyDefaultOutputDevice);
static_assert(coreaudio::kAudioObjectPropertyName == ::kAudioObjectPropertyName);
static_assert(coreaudio::kAudioDevicePropertyStreams == ::kAudioDevicePropertyStreams);
static_assert(coreaudio::kAudioDevicePropertyDeviceUID == ::kAudioDevicePropertyDeviceUID);
static_assert(coreaudio::kAudioDevicePropertyTransportType == ::kAudioDevicePropertyTransportType);
static_assert(coreaudio::kAudioDevicePropertyVolumeScalar == ::kAudioDevicePropertyVolumeScalar);
static_assert(coreaudio::kAudioDevicePropertyMute == ::kAudioDevicePropertyMute);
static_assert(coreaudio::kAudioDevicePropertyAvailableNominalSampleRates ==
              ::kAudioDevicePropertyAvailableNominalSampleRates);
static_assert(coreaudio::kAudioDevicePropertyNominalSampleRate ==
              ::kAudioDevicePropertyNominalSampleRate);
static_assert(coreaudio::kAudioAggregateDevicePropertyActiveSubDeviceList ==
              ::kAudioAggregateDevicePropertyActiveSubDeviceList);
static_assert(coreaudio::kAudioDeviceTransportTypeBuiltIn == ::kAudioDeviceTransportTypeBuiltIn);
static_assert(coreaudio::kAudioDeviceTransportTypeAggregate ==
              ::kAudioDeviceTransportTypeAggregate);
static_assert(coreaudio::kAudioDeviceTransportTypeVirtual == ::kAudioDeviceTransportTypeVirtual);
static_assert(coreaudio::kAudioDeviceTransportTypePCI == ::kAudioDeviceTransportTypePCI);
static_assert(coreaudio::kAudioDeviceTransportTypeUSB == ::kAudioDeviceTransportTypeUSB);
static_assert(coreaudio::kAudioDeviceTransportTypeFireWire == ::kAudioDeviceTransportTypeFireWire);
static_assert(coreaudio::kAudioDeviceTransportTypeBluetooth ==
              ::kAudioDeviceTransportTypeBluetooth);
static_assert(coreaudio::kAudioDeviceTransportTypeBluetoothLE ==
              ::kAudioDeviceTransportTypeBluetoothLE);
static_assert(coreaudio::kAudioDeviceTransportTypeHDMI == ::kAudioDeviceTransportTypeHDMI);
static_assert(coreaudio::kAudioDeviceTransportTypeDisplayPort ==
              ::kAudioDeviceTransportTypeDisplayPort);
static_assert(coreaudio::kAudioDeviceTransportTypeAirPlay == ::kAudioDeviceTransportTypeAirPlay);
static_assert(coreaudio::kAudioDeviceTransportTypeAVB == ::kAudioDeviceTransportTypeAVB);
static_assert(coreaudio::kAudioDeviceTransportTypeThunderbolt ==
              ::kAudioDeviceTransportTypeThunderbolt);
static_assert(coreaudio::kAudioHardwareUnknownPropertyError ==
              ::kAudioHardwareUnknownPropertyError);
static_assert(coreaudio::kAudioHardwareBadPropertySizeError ==
              ::kAudioHardwareBadPropertySizeError);
static_assert(coreaudio::kAudioHardwareIllegalOperationError ==
              ::kAudioHardwareIllegalOperationError);
static_assert(coreaudio::kAudioHardwareBadObjectError == ::kAudioHardwareBadObjectError);
static_assert(coreaudio::kAudioHardwareBadDeviceError == ::kAudioHardwareBadDeviceError);
static_assert(coreaudio::kAudioHardwareUnsupportedOperationError ==
              ::kAudioHardwareUnsupportedOperationError);
static_assert(sizeof(coreaudio::ValueRange) == sizeof(AudioValueRange));
static_assert(std::is_same_v<CoreAudioApi::ObjectID, AudioObjectID>);

namespace {

AudioObjectPropertyAddress apple(const coreaudio::PropertyAddress& address) {
    return {address.selector, address.scope, address.element};
}

std::optional<std::string> utf8(CFStringRef text) {
    const CFIndex capacity =
        CFStringGetMaximumSizeForEncoding(CFStringGetLength(text), kCFStringEncodingUTF8) + 1;
    std::vector<char> buffer(static_cast<std::size_t>(capacity), '\0');
    if (!CFStringGetCString(text, buffer.data(), capacity, kCFStringEncodingUTF8))
        return std::nullopt;
    return std::string(buffer.data());
}

// A new CF object (owned by the caller) for the value and everything below it.
CFTypeRef makeCF(const coreaudio::DescriptionValue& value);

CFTypeRef makeCF(const std::string& text) {
    return CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                   static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false);
}

CFTypeRef makeCF(std::int64_t number) {
    return CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &number);
}

CFTypeRef makeCF(const coreaudio::DescriptionArray& array) {
    CFMutableArrayRef result = CFArrayCreateMutable(
        kCFAllocatorDefault, static_cast<CFIndex>(array.size()), &kCFTypeArrayCallBacks);
    for (const auto& element : array) {
        CFTypeRef item = makeCF(element);
        CFArrayAppendValue(result, item);
        CFRelease(item);
    }
    return result;
}

CFTypeRef makeCF(const coreaudio::DescriptionDictionary& dictionary) {
    CFMutableDictionaryRef result =
        CFDictionaryCreateMutable(kCFAllocatorDefault, static_cast<CFIndex>(dictionary.size()),
                                  &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    for (const auto& entry : dictionary) {
        CFTypeRef key = makeCF(entry.key);
        CFTypeRef item = makeCF(entry.value);
        CFDictionarySetValue(result, key, item);
        CFRelease(key);
        CFRelease(item);
    }
    return result;
}

CFTypeRef makeCF(const coreaudio::DescriptionValue& value) {
    return std::visit([](const auto& alternative) { return makeCF(alternative); }, value.value);
}

} // namespace

CoreAudioApi::Status CoreAudioApiMac::getPropertyDataSize(ObjectID object,
                                                          const PropertyAddress& address,
                                                          std::uint32_t& outDataSize) {
    const auto where = apple(address);
    UInt32 size = 0;
    const OSStatus status = AudioObjectGetPropertyDataSize(object, &where, 0, nullptr, &size);
    outDataSize = size;
    return status;
}

CoreAudioApi::Status CoreAudioApiMac::getPropertyData(ObjectID object,
                                                      const PropertyAddress& address,
                                                      std::uint32_t& ioDataSize, void* outData) {
    const auto where = apple(address);
    UInt32 size = ioDataSize;
    const OSStatus status = AudioObjectGetPropertyData(object, &where, 0, nullptr, &size, outData);
    ioDataSize = size;
    return status;
}

CoreAudioApi::Status CoreAudioApiMac::getStringProperty(ObjectID object,
                                                        const PropertyAddress& address,
                                                        std::optional<std::string>& outValue) {
    const auto where = apple(address);
    CFStringRef text = nullptr;
    UInt32 size = sizeof(text);
    const OSStatus status = AudioObjectGetPropertyData(object, &where, 0, nullptr, &size, &text);
    outValue.reset();
    if (text) {
        outValue = utf8(text);
        CFRelease(text); // the caller owns the string the property hands out
    }
    return status;
}

CoreAudioApi::Status CoreAudioApiMac::setPropertyData(ObjectID object,
                                                      const PropertyAddress& address,
                                                      std::uint32_t dataSize, const void* data) {
    const auto where = apple(address);
    return AudioObjectSetPropertyData(object, &where, 0, nullptr, dataSize, data);
}

bool CoreAudioApiMac::hasProperty(ObjectID object, const PropertyAddress& address) {
    const auto where = apple(address);
    return AudioObjectHasProperty(object, &where);
}

CoreAudioApi::Status CoreAudioApiMac::isPropertySettable(ObjectID object,
                                                         const PropertyAddress& address,
                                                         bool& outIsSettable) {
    const auto where = apple(address);
    Boolean settable = false;
    const OSStatus status = AudioObjectIsPropertySettable(object, &where, &settable);
    outIsSettable = settable;
    return status;
}

CoreAudioApi::Status
CoreAudioApiMac::createAggregateDevice(const coreaudio::DescriptionDictionary& description,
                                       ObjectID& outDeviceID) {
    auto dictionary = static_cast<CFDictionaryRef>(makeCF(description));
    AudioObjectID created = outDeviceID;
    const OSStatus status = AudioHardwareCreateAggregateDevice(dictionary, &created);
    outDeviceID = created;
    CFRelease(dictionary);
    return status;
}

CoreAudioApi::Status CoreAudioApiMac::destroyAggregateDevice(ObjectID device) {
    return AudioHardwareDestroyAggregateDevice(device);
}

CoreAudioApi::Status CoreAudioApiMac::addPropertyListenerBlock(ObjectID object,
                                                               const PropertyAddress& address,
                                                               PropertyListener listener) {
    const auto where = apple(address);
    AudioObjectPropertyListenerBlock block = Block_copy(^(
        UInt32 count, const AudioObjectPropertyAddress* addresses) {
      std::vector<PropertyAddress> changed;
      for (UInt32 i = 0; i < count; ++i)
          changed.push_back({addresses[i].mSelector, addresses[i].mScope, addresses[i].mElement});
      listener(count, changed.data());
    });
    const OSStatus status =
        AudioObjectAddPropertyListenerBlock(object, &where, dispatch_get_main_queue(), block);
    if (status != kAudioHardwareNoError) {
        Block_release(block);
        return status;
    }
    m_blocks[{object, address}].push_back(reinterpret_cast<void*>(block));
    return status;
}

CoreAudioApi::Status CoreAudioApiMac::removePropertyListenerBlocks(ObjectID object,
                                                                   const PropertyAddress& address) {
    auto added = m_blocks.extract({object, address});
    if (!added)
        return kAudioHardwareNoError;
    const auto where = apple(address);
    OSStatus result = kAudioHardwareNoError;
    for (void* stored : added.mapped()) {
        auto block = reinterpret_cast<AudioObjectPropertyListenerBlock>(stored);
        // A device that went away took its listeners with it; the status says so, nothing leaks.
        const OSStatus status = AudioObjectRemovePropertyListenerBlock(
            object, &where, dispatch_get_main_queue(), block);
        if (status != kAudioHardwareNoError)
            result = status;
        Block_release(block);
    }
    return result;
}

CoreAudioApiMac::~CoreAudioApiMac() {
    while (!m_blocks.empty()) {
        const auto [object, address] = m_blocks.begin()->first;
        removePropertyListenerBlocks(object, address);
    }
}
