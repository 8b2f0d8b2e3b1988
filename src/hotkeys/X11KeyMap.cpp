#include "X11KeyMap.h"

#include <QString>

#define XK_MISCELLANY
#define XK_LATIN1
#include <X11/keysymdef.h>
#include <xcb/xproto.h>

#include <map>
#include <vector>

namespace {

// macOS virtual key code → X key symbol, one line per key of a standard PC keyboard.
const std::map<std::uint32_t, std::uint32_t>& keySyms() {
    static const std::map<std::uint32_t, std::uint32_t> keys{
        {0x00, XK_a},
        {0x01, XK_s},
        {0x02, XK_d},
        {0x03, XK_f},
        {0x04, XK_h},
        {0x05, XK_g},
        {0x06, XK_z},
        {0x07, XK_x},
        {0x08, XK_c},
        {0x09, XK_v},
        {0x0A, XK_less},
        {0x0B, XK_b},
        {0x0C, XK_q},
        {0x0D, XK_w},
        {0x0E, XK_e},
        {0x0F, XK_r},
        {0x10, XK_y},
        {0x11, XK_t},
        {0x12, XK_1},
        {0x13, XK_2},
        {0x14, XK_3},
        {0x15, XK_4},
        {0x16, XK_6},
        {0x17, XK_5},
        {0x18, XK_equal},
        {0x19, XK_9},
        {0x1A, XK_7},
        {0x1B, XK_minus},
        {0x1C, XK_8},
        {0x1D, XK_0},
        {0x1E, XK_bracketright},
        {0x1F, XK_o},
        {0x20, XK_u},
        {0x21, XK_bracketleft},
        {0x22, XK_i},
        {0x23, XK_p},
        {0x24, XK_Return},
        {0x25, XK_l},
        {0x26, XK_j},
        {0x27, XK_apostrophe},
        {0x28, XK_k},
        {0x29, XK_semicolon},
        {0x2A, XK_backslash},
        {0x2B, XK_comma},
        {0x2C, XK_slash},
        {0x2D, XK_n},
        {0x2E, XK_m},
        {0x2F, XK_period},
        {0x30, XK_Tab},
        {0x31, XK_space},
        {0x32, XK_grave},
        {0x33, XK_BackSpace},
        {0x35, XK_Escape},
        {0x41, XK_KP_Decimal},
        {0x43, XK_KP_Multiply},
        {0x45, XK_KP_Add},
        {0x47, XK_Num_Lock},
        {0x4B, XK_KP_Divide},
        {0x4C, XK_KP_Enter},
        {0x4E, XK_KP_Subtract},
        {0x51, XK_KP_Equal},
        {0x52, XK_KP_0},
        {0x53, XK_KP_1},
        {0x54, XK_KP_2},
        {0x55, XK_KP_3},
        {0x56, XK_KP_4},
        {0x57, XK_KP_5},
        {0x58, XK_KP_6},
        {0x59, XK_KP_7},
        {0x5B, XK_KP_8},
        {0x5C, XK_KP_9},
        {0x7A, XK_F1},
        {0x78, XK_F2},
        {0x63, XK_F3},
        {0x76, XK_F4},
        {0x60, XK_F5},
        {0x61, XK_F6},
        {0x62, XK_F7},
        {0x64, XK_F8},
        {0x65, XK_F9},
        {0x6D, XK_F10},
        {0x67, XK_F11},
        {0x6F, XK_F12},
        {0x69, XK_F13},
        {0x6B, XK_F14},
        {0x71, XK_F15},
        {0x6A, XK_F16},
        {0x40, XK_F17},
        {0x4F, XK_F18},
        {0x50, XK_F19},
        {0x5A, XK_F20},
        {0x72, XK_Insert},
        {0x73, XK_Home},
        {0x74, XK_Prior},
        {0x75, XK_Delete},
        {0x77, XK_End},
        {0x79, XK_Next},
        {0x7B, XK_Left},
        {0x7C, XK_Right},
        {0x7D, XK_Down},
        {0x7E, XK_Up},
    };
    return keys;
}

} // namespace

std::optional<std::uint32_t> x11KeySym(std::uint32_t macKeyCode) {
    auto it = keySyms().find(macKeyCode);
    return it == keySyms().end() ? std::nullopt : std::optional(it->second);
}

std::optional<std::uint16_t> macKeyCode(std::uint32_t keySym) {
    static const std::map<std::uint32_t, std::uint16_t> codes = [] {
        std::map<std::uint32_t, std::uint16_t> inverse;
        for (const auto& [code, sym] : keySyms())
            inverse.emplace(sym, static_cast<std::uint16_t>(code));
        return inverse;
    }();
    auto it = codes.find(keySym);
    return it == codes.end() ? std::nullopt : std::optional(it->second);
}

std::optional<std::uint16_t> macKeyCodeOfKey(std::uint32_t unshifted, std::uint32_t shifted) {
    if (auto code = macKeyCode(unshifted))
        return code;
    return macKeyCode(shifted);
}

std::optional<std::string> keySymText(std::uint32_t keySym) {
    // Latin-1 symbols are their own code points; 0x1000000 + U marks any other Unicode one.
    char32_t c = 0;
    if ((keySym >= 0x20 && keySym <= 0x7E) || (keySym >= 0xA0 && keySym <= 0xFF))
        c = keySym;
    else if (keySym >= 0x1000100 && keySym <= 0x110FFFF)
        c = keySym - 0x1000000;
    else
        return std::nullopt;
    return QString::fromUcs4(&c, 1).toStdString();
}

std::vector<std::uint32_t> grabbableMacKeyCodes() {
    std::vector<std::uint32_t> codes;
    for (const auto& [code, sym] : keySyms())
        codes.push_back(code);
    return codes;
}

std::uint16_t x11Modifiers(std::uint32_t carbonMask) {
    std::uint16_t mask = 0;
    if (carbonMask & 0x0100)
        mask |= XCB_MOD_MASK_4;
    if (carbonMask & 0x0200)
        mask |= XCB_MOD_MASK_SHIFT;
    if (carbonMask & 0x0800)
        mask |= XCB_MOD_MASK_1;
    if (carbonMask & 0x1000)
        mask |= XCB_MOD_MASK_CONTROL;
    return mask;
}
