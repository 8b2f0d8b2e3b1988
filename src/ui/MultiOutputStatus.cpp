#include "MultiOutputStatus.h"

#include "MultiOutputController.h"

MultiOutputStatus::MultiOutputStatus(MultiOutputController& controller, QObject* parent)
    : QObject(parent), m_controller(controller) {
    connect(&m_controller, &MultiOutputController::isActiveChanged, this,
            &MultiOutputStatus::activeChanged);
    connect(&m_controller, &MultiOutputController::canActivateChanged, this,
            &MultiOutputStatus::canActivateChanged);
    connect(&m_controller, &MultiOutputController::selectedChanged, this,
            &MultiOutputStatus::selectedCountChanged);
    connect(&m_controller, &MultiOutputController::statusMessageChanged, this,
            &MultiOutputStatus::statusMessageChanged);
}

bool MultiOutputStatus::active() const {
    return m_controller.isActive();
}

bool MultiOutputStatus::canActivate() const {
    return m_controller.canActivate();
}

int MultiOutputStatus::selectedCount() const {
    return static_cast<int>(m_controller.selected().size());
}

QString MultiOutputStatus::statusMessage() const {
    return m_controller.statusMessage().value_or(QString());
}

void MultiOutputStatus::activate() {
    // A second press that arrives before the button turned into "Deaktivieren" builds nothing.
    if (m_controller.canActivate())
        m_controller.activate();
}

void MultiOutputStatus::deactivate() {
    if (m_controller.isActive())
        m_controller.deactivate();
}

void MultiOutputStatus::refresh() {
    // The device list is fixed while the multi-output device plays, as the window shows.
    if (!m_controller.isActive())
        m_controller.refresh();
}
