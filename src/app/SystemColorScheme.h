#pragma once

#include <QObject>

#include <memory>

class ColorSchemeSource;

// Whether the system asks for a dark look: the platform's stated preference (the desktop portal
// on Linux, AppKit on macOS), else the lightness of the application palette's window colour.
// Followed while the application runs. Needs a QGuiApplication; on the main thread.
class SystemColorScheme : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool prefersDark READ prefersDark NOTIFY prefersDarkChanged)
public:
    explicit SystemColorScheme(QObject* parent = nullptr);
    ~SystemColorScheme() override;

    bool prefersDark() const { return m_prefersDark; }

signals:
    void prefersDarkChanged(bool prefersDark);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void update();

    std::unique_ptr<ColorSchemeSource> m_source;
    bool m_prefersDark = false;
};
