#include "HotKeyCenter.h"

namespace {

constexpr std::uint32_t kCommandFlag = 1u << 20;
constexpr std::uint32_t kOptionFlag = 1u << 19;
constexpr std::uint32_t kControlFlag = 1u << 18;
constexpr std::uint32_t kShiftFlag = 1u << 17;

constexpr std::uint32_t cmdKey = 0x0100;
constexpr std::uint32_t shiftKey = 0x0200;
constexpr std::uint32_t optionKey = 0x0800;
constexpr std::uint32_t controlKey = 0x1000;

} // namespace

HotKeyCenter& HotKeyCenter::shared() {
    static HotKeyCenter center;
    return center;
}

HotKeyCenter::HotKeyCenter(std::unique_ptr<HotKeyBackend> backend)
    : m_backend(std::move(backend)) {}

void HotKeyCenter::setBackend(std::unique_ptr<HotKeyBackend> backend) {
    // Registrations and the handler belong to the platform they were made with.
    unregisterAll();
    m_backend = std::move(backend);
    m_handlerInstalled = false;
}

void HotKeyCenter::installHandler() {
    if (m_handlerInstalled)
        return;
    m_handlerInstalled = true; // set first: a failed installation is not tried again
    if (m_backend)
        m_backend->installEventHandler([this](HotKeyID id) { return handle(id); });
}

HotKeyBackend::Status HotKeyCenter::handle(HotKeyID id) {
    // Another handler's hot key, or one of ours unregistered a moment ago: not ours to consume.
    auto it = m_actions.find(id.id);
    if (id.signature != fourCharCode("BRVL") || it == m_actions.end())
        return HotKeyBackend::kNotHandled;
    auto action = it->second; // the action may re-sync the registrations
    action();
    return 0;
}

HotKeyBackend::Status HotKeyCenter::registerHotKey(const HotKeyCombo& combo,
                                                   std::function<void()> action) {
    installHandler();
    const std::uint32_t id = m_nextID++;
    if (!m_backend)
        return HotKeyBackend::eventHotKeyInvalidErr;
    HotKeyBackend::Ref ref = 0;
    const auto status = m_backend->registerEventHotKey(combo.keyCode, combo.modifiers,
                                                       {fourCharCode("BRVL"), id}, ref);
    if (status != 0)
        return status;
    if (ref == 0)
        return HotKeyBackend::eventHotKeyInvalidErr;
    m_refs[id] = ref;
    m_actions[id] = std::move(action);
    return 0;
}

void HotKeyCenter::unregisterAll() {
    if (m_backend)
        for (const auto& [id, ref] : m_refs)
            m_backend->unregisterEventHotKey(ref);
    m_refs.clear();
    m_actions.clear();
}

std::vector<std::uint32_t> HotKeyCenter::registeredIDs() const {
    std::vector<std::uint32_t> ids;
    for (const auto& [id, ref] : m_refs)
        ids.push_back(id);
    return ids;
}

std::uint32_t carbonModifiers(std::uint64_t flags) {
    std::uint32_t mask = 0;
    if (flags & kCommandFlag)
        mask |= cmdKey;
    if (flags & kOptionFlag)
        mask |= optionKey;
    if (flags & kControlFlag)
        mask |= controlKey;
    if (flags & kShiftFlag)
        mask |= shiftKey;
    return mask;
}

std::uint32_t fourCharCode(std::string_view text) {
    std::uint32_t code = 0;
    for (std::size_t i = 0; i < text.size() && i < 4; ++i)
        code = (code << 8) | static_cast<unsigned char>(text[i]);
    return code;
}
