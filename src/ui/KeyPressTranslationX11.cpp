#include "KeyPressTranslation.h"

#include "X11KeyMap.h"

#include <QGuiApplication>
#include <QKeyEvent>

#define XK_MISCELLANY
#define XK_LATIN1
#include <X11/keysymdef.h>
#include <xcb/xcb_keysyms.h>

#include <map>

namespace {

constexpr std::uint64_t kShiftFlag = 1u << 17;
constexpr std::uint64_t kControlFlag = 1u << 18;
constexpr std::uint64_t kOptionFlag = 1u << 19;
constexpr std::uint64_t kCommandFlag = 1u << 20;

// The hot-key backend maps ⌘ to Super (Qt's Meta) and ⌥ to Alt.
std::uint64_t modifierFlags(Qt::KeyboardModifiers modifiers) {
    std::uint64_t flags = 0;
    if (modifiers & Qt::ShiftModifier)
        flags |= kShiftFlag;
    if (modifiers & Qt::ControlModifier)
        flags |= kControlFlag;
    if (modifiers & Qt::AltModifier)
        flags |= kOptionFlag;
    if (modifiers & Qt::MetaModifier)
        flags |= kCommandFlag;
    return flags;
}

// The key's own symbols from the X server's keyboard map, as the backend reads it when it grabs.
std::optional<std::uint16_t> codeOfX11Key(xcb_connection_t* connection, quint32 keycode) {
    xcb_key_symbols_t* table = xcb_key_symbols_alloc(connection);
    if (!table)
        return std::nullopt;
    const auto code = static_cast<xcb_keycode_t>(keycode);
    const auto result = macKeyCodeOfKey(xcb_key_symbols_get_keysym(table, code, 0),
                                        xcb_key_symbols_get_keysym(table, code, 1));
    xcb_key_symbols_free(table);
    return result;
}

// Without an X server (offscreen, a pure Wayland session) only Qt's key is known: the symbol the
// key has without Shift is guessed from it.
std::uint32_t keySymOfQtKey(int key) {
    static const std::map<int, std::uint32_t> special{
        {Qt::Key_Return, XK_Return}, {Qt::Key_Enter, XK_KP_Enter},      {Qt::Key_Tab, XK_Tab},
        {Qt::Key_Backtab, XK_Tab},   {Qt::Key_Backspace, XK_BackSpace}, {Qt::Key_Escape, XK_Escape},
        {Qt::Key_Delete, XK_Delete}, {Qt::Key_Insert, XK_Insert},       {Qt::Key_Home, XK_Home},
        {Qt::Key_End, XK_End},       {Qt::Key_PageUp, XK_Prior},        {Qt::Key_PageDown, XK_Next},
        {Qt::Key_Left, XK_Left},     {Qt::Key_Right, XK_Right},         {Qt::Key_Up, XK_Up},
        {Qt::Key_Down, XK_Down},
    };
    if (auto it = special.find(key); it != special.end())
        return it->second;
    if (key >= Qt::Key_F1 && key <= Qt::Key_F20)
        return XK_F1 + static_cast<std::uint32_t>(key - Qt::Key_F1);
    if (key >= Qt::Key_A && key <= Qt::Key_Z)
        return XK_a + static_cast<std::uint32_t>(key - Qt::Key_A);
    if (key >= Qt::Key_Space && key <= Qt::Key_AsciiTilde)
        return static_cast<std::uint32_t>(key);
    return 0;
}

} // namespace

std::optional<RecordedKeyPress> recordedKeyPress(const QKeyEvent& event) {
    std::optional<std::uint16_t> code;
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (x11 && event.nativeScanCode() != 0)
        code = codeOfX11Key(x11->connection(), event.nativeScanCode());
    else
        code = macKeyCode(keySymOfQtKey(event.key()));
    if (!code)
        return std::nullopt;
    // The name comes from the symbol the backend will grab, whatever the held modifiers type.
    const auto keySym = x11KeySym(*code);
    return RecordedKeyPress{modifierFlags(event.modifiers()), *code,
                            keySym ? keySymText(*keySym) : std::nullopt};
}
