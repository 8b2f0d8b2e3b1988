#include "WindowFixture.h"

#include "HotKeyCenter.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

using namespace coreaudio;

namespace {

struct Speaker {
    const char* uid;
    const char* name;
    std::uint32_t transport;
    float volume;
};

// Named as a user's devices would be, in an order that is not the window's (that is by name).
constexpr Speaker kSpeakers[] = {
    {"bt-kitchen", "Küchenbox", kAudioDeviceTransportTypeBluetooth, 0.6f},
    {"usb-dac", "Schreibtisch-DAC", kAudioDeviceTransportTypeUSB, 0.8f},
    {"builtin", "MacBook Pro-Lautsprecher", kAudioDeviceTransportTypeBuiltIn, 0.5f},
    {"hdmi-tv", "Wohnzimmer-TV", kAudioDeviceTransportTypeHDMI, 0.35f},
};

} // namespace

WindowFixture::WindowFixture(QObject* parent) : QObject(parent) {
    reset();
}

WindowFixture::~WindowFixture() = default;

void WindowFixture::reset(int count) {
    // Views still bound to the old models let go of them when `rebuilt` hands out the new ones.
    // Declared so that they end in the reverse order: models, controller, system, stand-in.
    auto oldAudio = std::move(m_audio);
    auto oldSystem = std::move(m_system);
    auto oldApp = std::move(m_app);
    auto oldAppearance = std::move(m_appearance);
    auto oldStatus = std::move(m_status);
    auto oldDevices = std::move(m_devices);
    auto oldTone = std::move(m_tone);
    auto oldZones = std::move(m_zones);

    m_settings = std::make_unique<QSettings>(
        m_folder.filePath(QStringLiteral("brivello-%1.conf").arg(reinterpret_cast<quintptr>(this))),
        QSettings::IniFormat);
    m_settings->clear();
    m_audio = std::make_unique<CoreAudioStandIn>();
    for (int i = 0; i < std::clamp(count, 0, 4); ++i) {
        const Speaker& s = kSpeakers[i];
        const auto id = m_audio->plug(
            {.uid = s.uid, .name = s.name, .transport = s.transport, .volumes = {{0, {s.volume}}}});
        if (s.transport == kAudioDeviceTransportTypeBuiltIn)
            m_audio->setDefaultOutput(id);
    }
    m_system = std::make_unique<CoreAudioSystem>(*m_audio);
    auto carbon = std::make_unique<CarbonStandIn>();
    m_carbon = carbon.get();
    HotKeyCenter::shared().setBackend(std::move(carbon));
    m_app = std::make_unique<AppModel>(*m_system, m_settings.get());
    m_controller = &m_app->controller();
    m_devices = std::make_unique<DeviceListModel>(*m_controller);
    m_status = std::make_unique<MultiOutputStatus>(*m_controller);
    m_appearance = std::make_unique<AppearanceSetting>(m_systemScheme, m_settings.get());
    m_zones = std::make_unique<ZoneListModel>(*m_app);
    oldTone.reset(); // stops its tone: the new generator starts from a silent output
    m_toneOutput.started = 0;
    m_toneOutput.playing = false;
    m_tone = std::make_unique<ToneGenerator>(m_toneOutput);
    emit rebuilt();
    m_audio->clearRecords();
}

void WindowFixture::unplugAll() {
    const auto present = m_audio->deviceList();
    for (const auto id : present)
        m_audio->unplug(id);
}

QString WindowFixture::uidAt(int row) const {
    const auto& devices = m_controller->devices();
    if (row < 0 || row >= static_cast<int>(devices.size()))
        return {};
    return QString::fromStdString(devices[row].uid);
}

int WindowFixture::delayChanges() const {
    const auto& writes = m_audio->writes();
    return static_cast<int>(m_audio->creations().size()) +
           static_cast<int>(std::count_if(writes.begin(), writes.end(), [](const auto& write) {
               return write.address.selector == coreaudio::kAudioSubDevicePropertyExtraLatency;
           }));
}

QString WindowFixture::defaultOutputName() const {
    const auto id = m_audio->defaultOutput();
    for (const auto& device : m_controller->devices())
        if (device.id == id)
            return QString::fromStdString(device.name);
    return id == 0 ? QString() : QStringLiteral("Brivello Multi-Output");
}

double WindowFixture::storedDelay(int row) const {
    const auto id = m_controller->devices().at(row).id;
    const auto& delays = m_controller->delaysMs();
    auto it = delays.find(id);
    return it == delays.end() ? -1 : it->second;
}

void WindowFixture::changeVolume(int row, double volume) {
    m_controller->setVolume(static_cast<float>(volume), m_controller->devices().at(row));
}

void WindowFixture::saveZone(const QString& name, const QStringList& uids, quint32 keyCode,
                             quint32 modifiers, const QString& display) {
    std::vector<std::string> list;
    for (const auto& uid : uids)
        list.push_back(uid.toStdString());
    auto& store = m_app->zones();
    store.add(name.toStdString(), list);
    if (!display.isEmpty())
        store.setHotKey(HotKeyCombo{keyCode, modifiers, display.toStdString()},
                        store.zones().back());
}

QVariantList WindowFixture::storedZones() const {
    const QByteArray json = m_settings->value(QLatin1String(ZoneStore::key)).toByteArray();
    return QJsonDocument::fromJson(json).array().toVariantList();
}

void WindowFixture::holdElsewhere(quint32 keyCode, quint32 modifiers) {
    m_carbon->takenElsewhere.insert({keyCode, modifiers});
}

bool WindowFixture::pressHotKey(quint32 keyCode, quint32 modifiers) {
    const auto registered = m_carbon->registrationCount();
    const auto before = m_controller->activeZoneID();
    const bool wasActive = m_controller->isActive();
    m_carbon->press(keyCode, modifiers);
    return registered > 0 &&
           (before != m_controller->activeZoneID() || wasActive != m_controller->isActive());
}
