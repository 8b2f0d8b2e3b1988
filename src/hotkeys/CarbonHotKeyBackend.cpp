#include "CarbonHotKeyBackend.h"

#include <Carbon/Carbon.h>

namespace {

static_assert(HotKeyBackend::kNotHandled == eventNotHandledErr);

// CarbonEventsCore.h: "Any return value other than eventNotHandledErr will cause event handling to
// stop; the event will not be sent to any other event handler". A hot key that is not Brivello's,
// or whose id cannot be read, is passed on.
OSStatus hotKeyPressed(EventHandlerCallRef, EventRef event, void* userData) {
    if (!event)
        return eventNotHandledErr;
    EventHotKeyID pressed{0, 0};
    if (GetEventParameter(event, kEventParamDirectObject, typeEventHotKeyID, nullptr,
                          sizeof(pressed), nullptr, &pressed) != noErr)
        return eventNotHandledErr;
    const auto& handler = *static_cast<HotKeyBackend::Handler*>(userData);
    return handler ? handler({pressed.signature, pressed.id}) : eventNotHandledErr;
}

} // namespace

CarbonHotKeyBackend::~CarbonHotKeyBackend() {
    if (m_installed)
        RemoveEventHandler(static_cast<EventHandlerRef>(m_installed));
}

HotKeyBackend::Status CarbonHotKeyBackend::installEventHandler(Handler handler) {
    m_handler = std::move(handler);
    if (m_installed)
        return noErr; // the one handler reads m_handler, which now holds the new one
    const EventTypeSpec type{kEventClassKeyboard, kEventHotKeyPressed};
    EventHandlerRef installed = nullptr;
    const OSStatus status =
        InstallEventHandler(GetApplicationEventTarget(), NewEventHandlerUPP(hotKeyPressed), 1,
                            &type, &m_handler, &installed);
    m_installed = installed;
    return status;
}

HotKeyBackend::Status CarbonHotKeyBackend::registerEventHotKey(std::uint32_t keyCode,
                                                               std::uint32_t modifiers, HotKeyID id,
                                                               Ref& outRef) {
    EventHotKeyRef ref = nullptr;
    const OSStatus status = RegisterEventHotKey(keyCode, modifiers, {id.signature, id.id},
                                                GetApplicationEventTarget(), 0, &ref);
    outRef = reinterpret_cast<Ref>(ref);
    return status;
}

HotKeyBackend::Status CarbonHotKeyBackend::unregisterEventHotKey(Ref ref) {
    return UnregisterEventHotKey(reinterpret_cast<EventHotKeyRef>(ref));
}
