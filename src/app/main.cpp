// Brivello's core: the controller, the zones and their global hot keys, on the platform's sound
// system. The window and the menu-bar panel come with the interface.
#include "AppModel.h"
#include "HotKeyCenter.h"
#include "TerminationSignals.h"

#include <QCoreApplication>

#include <memory>

#ifdef __APPLE__
#include "CarbonHotKeyBackend.h"
#include "CoreAudioApiMac.h"
#include "CoreAudioSystem.h"
#else
#include "PulseAudioSystem.h"
#include "X11HotKeyBackend.h"
#endif

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    // On macOS the settings land in the user defaults "de.tandrel.brivello".
    QCoreApplication::setOrganizationName(QStringLiteral("tandrel"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("tandrel.de"));
    QCoreApplication::setApplicationName(QStringLiteral("brivello"));
    TerminationSignals stopSignals;

#ifdef __APPLE__
    CoreAudioApiMac coreAudio;
    CoreAudioSystem audio(coreAudio);
    HotKeyCenter::shared().setBackend(std::make_unique<CarbonHotKeyBackend>());
#else
    PulseAudioSystem audio;
    HotKeyCenter::shared().setBackend(std::make_unique<X11HotKeyBackend>());
#endif

    AppModel model(audio);
    return QCoreApplication::exec();
}
