#include "KeyNames.h"

#include <QString>

#include <map>

namespace {

// Keys whose name does not depend on the keyboard layout. The keypad comes first so its keys
// never read like the digits of the main block.
const std::map<std::uint16_t, const char*>& fixedNames() {
    static const std::map<std::uint16_t, const char*> names{
        {0x24, "↩"},        {0x4C, "↩"},        {0x30, "⇥"},        {0x31, "Space"},
        {0x35, "⎋"},        {0x7B, "←"},        {0x7C, "→"},        {0x7D, "↓"},
        {0x7E, "↑"},        {0x33, "⌫"},        {0x75, "⌦"},        {0x73, "↖"},
        {0x77, "↘"},        {0x74, "⇞"},        {0x79, "⇟"},        {0x72, "Hilfe"},
        {0x47, "⌧"},        {0x41, "Keypad ."}, {0x43, "Keypad *"}, {0x45, "Keypad +"},
        {0x4B, "Keypad /"}, {0x4E, "Keypad -"}, {0x51, "Keypad ="}, {0x5F, "Keypad ,"},
        {0x52, "Keypad 0"}, {0x53, "Keypad 1"}, {0x54, "Keypad 2"}, {0x55, "Keypad 3"},
        {0x56, "Keypad 4"}, {0x57, "Keypad 5"}, {0x58, "Keypad 6"}, {0x59, "Keypad 7"},
        {0x5B, "Keypad 8"}, {0x5C, "Keypad 9"}, {0x7A, "F1"},       {0x78, "F2"},
        {0x63, "F3"},       {0x76, "F4"},       {0x60, "F5"},       {0x61, "F6"},
        {0x62, "F7"},       {0x64, "F8"},       {0x65, "F9"},       {0x6D, "F10"},
        {0x67, "F11"},      {0x6F, "F12"},      {0x69, "F13"},      {0x6B, "F14"},
        {0x71, "F15"},      {0x6A, "F16"},      {0x40, "F17"},      {0x4F, "F18"},
        {0x50, "F19"},      {0x5A, "F20"},      {0x48, "Lauter"},   {0x49, "Leiser"},
        {0x4A, "Stumm"},    {0x37, "⌘"},        {0x36, "⌘"},        {0x38, "⇧"},
        {0x3C, "⇧"},        {0x3A, "⌥"},        {0x3D, "⌥"},        {0x3B, "⌃"},
        {0x3E, "⌃"},        {0x39, "⇪"},        {0x3F, "fn"},       {0x66, "英数"},
        {0x68, "かな"},
    };
    return names;
}

// What the keys print on a US keyboard: the name when the event carries no usable characters.
const std::map<std::uint16_t, const char*>& layoutNames() {
    static const std::map<std::uint16_t, const char*> names{
        {0x00, "A"}, {0x01, "S"}, {0x02, "D"}, {0x03, "F"}, {0x04, "H"}, {0x05, "G"}, {0x06, "Z"},
        {0x07, "X"}, {0x08, "C"}, {0x09, "V"}, {0x0A, "§"}, {0x0B, "B"}, {0x0C, "Q"}, {0x0D, "W"},
        {0x0E, "E"}, {0x0F, "R"}, {0x10, "Y"}, {0x11, "T"}, {0x12, "1"}, {0x13, "2"}, {0x14, "3"},
        {0x15, "4"}, {0x16, "6"}, {0x17, "5"}, {0x18, "="}, {0x19, "9"}, {0x1A, "7"}, {0x1B, "-"},
        {0x1C, "8"}, {0x1D, "0"}, {0x1E, "]"}, {0x1F, "O"}, {0x20, "U"}, {0x21, "["}, {0x22, "I"},
        {0x23, "P"}, {0x25, "L"}, {0x26, "J"}, {0x27, "'"}, {0x28, "K"}, {0x29, ";"}, {0x2A, "\\"},
        {0x2B, ","}, {0x2C, "/"}, {0x2D, "N"}, {0x2E, "M"}, {0x2F, "."}, {0x32, "`"}, {0x5D, "¥"},
        {0x5E, "_"},
    };
    return names;
}

// Control characters and the private-use range in which macOS reports function keys name
// nothing a user could read.
bool printable(const QString& text) {
    if (text.isEmpty())
        return false;
    for (QChar c : text) {
        const char16_t u = c.unicode();
        if (u < 0x20 || u == 0x7F || (u >= 0xF700 && u <= 0xF8FF) || c.isSpace())
            return false;
    }
    return true;
}

constexpr std::uint64_t kShiftFlag = 1u << 17;
constexpr std::uint64_t kControlFlag = 1u << 18;
constexpr std::uint64_t kOptionFlag = 1u << 19;
constexpr std::uint64_t kCommandFlag = 1u << 20;

} // namespace

std::string keyName(std::uint16_t keyCode, const std::optional<std::string>& chars) {
    if (auto fixed = fixedNames().find(keyCode); fixed != fixedNames().end())
        return fixed->second;
    if (chars) {
        const QString text = QString::fromStdString(*chars);
        if (printable(text)) {
            // ß would become "SS", a key the keyboard does not have.
            const QString upper = text.toUpper();
            return (upper.size() == text.size() ? upper : text).toStdString();
        }
    }
    if (auto layout = layoutNames().find(keyCode); layout != layoutNames().end())
        return layout->second;
    return QStringLiteral("Taste %1").arg(keyCode).toStdString();
}

std::string hotKeyDisplay(std::uint64_t mods, std::uint16_t keyCode,
                          const std::optional<std::string>& chars) {
    std::string text;
    if (mods & kControlFlag)
        text += "⌃";
    if (mods & kOptionFlag)
        text += "⌥";
    if (mods & kShiftFlag)
        text += "⇧";
    if (mods & kCommandFlag)
        text += "⌘";
    return text + keyName(keyCode, chars);
}
