#pragma once

#include <QList>
#include <QObject>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

// The moving part of a level meter: the bars' heights (fractions of the meter's height) and their
// colour tiers. Driven by the clock, they are recomputed at most 24 times a second while the
// meter moves, and a resting meter (inactive, or a level at or below 0.001) has no clock running
// at all. A `measured` level needs no clock: the bars stand at it and change when it does.
class LevelMeterBars : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(double level READ level WRITE setLevel NOTIFY levelChanged)
    Q_PROPERTY(bool active READ active WRITE setActive NOTIFY activeChanged)
    Q_PROPERTY(int barCount READ barCount WRITE setBarCount NOTIFY barCountChanged)
    Q_PROPERTY(bool measured READ measured WRITE setMeasured NOTIFY measuredChanged)
    Q_PROPERTY(QList<double> fractions READ fractions NOTIFY framed)
    // 0 green, 1 yellow, 2 orange, per bar.
    Q_PROPERTY(QList<int> tiers READ tiers NOTIFY framed)
    Q_PROPERTY(bool moving READ moving NOTIFY movingChanged)
public:
    explicit LevelMeterBars(QObject* parent = nullptr);

    double level() const { return m_level; }
    void setLevel(double level);
    bool active() const { return m_active; }
    void setActive(bool active);
    int barCount() const { return m_barCount; }
    void setBarCount(int count); // a negative count draws no bars
    bool measured() const { return m_measured; }
    void setMeasured(bool measured);
    QList<double> fractions() const { return m_fractions; }
    QList<int> tiers() const { return m_tiers; }
    bool moving() const { return m_clock.isActive(); }

signals:
    void levelChanged();
    void activeChanged();
    void barCountChanged();
    void measuredChanged();
    void movingChanged();
    // A new frame of heights and tiers.
    void framed();

private:
    void reconsider();
    void frame();

    double m_level = 0;
    bool m_active = false;
    int m_barCount = 0;
    bool m_measured = false;
    QList<double> m_fractions;
    QList<int> m_tiers;
    QTimer m_clock;
};
