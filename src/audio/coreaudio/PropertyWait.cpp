#include "PropertyWait.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QPointer>
#include <QTimer>

#include <tuple>

namespace coreaudio {

bool waitUntil(CoreAudioApi& api, const std::vector<WatchedProperty>& watched,
               const std::function<bool()>& done, std::chrono::milliseconds limit) {
    if (!QCoreApplication::instance())
        return done(); // no loop to deliver a listener: what holds now is all there is
    QEventLoop loop;
    // A notification already on the queue may arrive after the wait: it then finds no loop.
    QPointer<QEventLoop> waiting(&loop);
    std::vector<std::tuple<ObjectID, PropertyAddress, CoreAudioApi::ListenerID>> added;
    for (const auto& [object, address] : watched) {
        CoreAudioApi::ListenerID id = 0;
        if (api.addPropertyListenerBlock(
                object, address,
                [waiting](std::uint32_t, const PropertyAddress*) {
                    if (waiting)
                        waiting->quit();
                },
                id) == kAudioHardwareNoError)
            added.emplace_back(object, address, id);
    }
    // Checked only once listening: a change between the check and the listening is not lost.
    const QDeadlineTimer deadline(limit);
    QTimer timeout;
    timeout.setSingleShot(true);
    QObject::connect(&timeout, &QTimer::timeout, &loop, &QEventLoop::quit);
    bool held = done();
    while (!held && !deadline.hasExpired()) {
        timeout.start(std::chrono::milliseconds(deadline.remainingTime()));
        // Not 0: the application is quitting, which ends every loop at once; no use waiting.
        const int ended = loop.exec(QEventLoop::ExcludeUserInputEvents);
        held = done();
        if (ended != 0)
            break;
    }
    for (const auto& [object, address, id] : added)
        api.removePropertyListenerBlock(object, address, id); // a device that went took its own
    return held;
}

} // namespace coreaudio
