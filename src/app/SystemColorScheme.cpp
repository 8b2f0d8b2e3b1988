#include "SystemColorScheme.h"

#include "ColorSchemeSource.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPalette>

namespace {

bool paletteIsDark() {
    if (!qGuiApp)
        return false;
    return QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
}

} // namespace

SystemColorScheme::SystemColorScheme(QObject* parent)
    : QObject(parent), m_source(makeColorSchemeSource([this] { update(); })) {
    if (qGuiApp)
        qGuiApp->installEventFilter(this);
    m_prefersDark = m_source->prefersDark().value_or(paletteIsDark());
}

SystemColorScheme::~SystemColorScheme() = default;

bool SystemColorScheme::eventFilter(QObject* watched, QEvent* event) {
    if (watched == qGuiApp && event->type() == QEvent::ApplicationPaletteChange)
        update();
    return QObject::eventFilter(watched, event);
}

void SystemColorScheme::update() {
    const bool dark = m_source->prefersDark().value_or(paletteIsDark());
    if (dark == m_prefersDark)
        return;
    m_prefersDark = dark;
    emit prefersDarkChanged(dark);
}
