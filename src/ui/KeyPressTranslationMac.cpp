#include "KeyPressTranslation.h"

#include <QKeyEvent>
#include <QString>

#include <Carbon/Carbon.h>

namespace {

// What the key types with no modifier held, in the current keyboard layout: AppKit's
// charactersIgnoringModifiers, which Qt's key event does not carry.
std::optional<std::string> charactersIgnoringModifiers(std::uint16_t keyCode) {
    TISInputSourceRef source = TISCopyCurrentKeyboardLayoutInputSource();
    if (!source)
        return std::nullopt;
    std::optional<std::string> text;
    auto* data =
        static_cast<CFDataRef>(TISGetInputSourceProperty(source, kTISPropertyUnicodeKeyLayoutData));
    if (data) {
        const auto* layout = reinterpret_cast<const UCKeyboardLayout*>(CFDataGetBytePtr(data));
        UInt32 deadKeyState = 0;
        UniChar chars[4];
        UniCharCount length = 0;
        const OSStatus status =
            UCKeyTranslate(layout, keyCode, kUCKeyActionDown, 0, LMGetKbdType(),
                           kUCKeyTranslateNoDeadKeysMask, &deadKeyState, 4, &length, chars);
        if (status == noErr && length > 0)
            text = QString::fromUtf16(reinterpret_cast<const char16_t*>(chars),
                                      static_cast<qsizetype>(length))
                       .toStdString();
    }
    CFRelease(source);
    return text;
}

} // namespace

std::optional<RecordedKeyPress> recordedKeyPress(const QKeyEvent& event) {
    // On macOS Qt hands on the NSEvent's own modifier flags and virtual key code.
    const auto keyCode = static_cast<std::uint16_t>(event.nativeVirtualKey());
    return RecordedKeyPress{event.nativeModifiers(), keyCode, charactersIgnoringModifiers(keyCode)};
}
