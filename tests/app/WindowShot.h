#pragma once

#include <QImage>
#include <QRect>
#include <QString>

#include <xcb/xcb.h>

#include <optional>
#include <utility>
#include <vector>

// What an X window shows, read back from the X server, and the places in it where something is
// drawn over a plain background: the end-to-end tests find the window's controls by these instead
// of guessing coordinates.
class WindowShot {
public:
    static std::optional<WindowShot> capture(xcb_connection_t* connection, xcb_window_t window);

    int width() const { return m_image.width(); }
    int height() const { return m_image.height(); }
    QRgb at(int x, int y) const { return m_image.pixel(x, y); }
    bool save(const QString& path) const { return m_image.save(path); }
    bool operator==(const WindowShot& other) const { return m_image == other.m_image; }

    // Whether two colours look alike; anti-aliased edges of a shape are not alike.
    static bool alike(QRgb a, QRgb b, int tolerance = 24);

    // A stretch [first, last] of lines or columns.
    struct Span {
        int first;
        int last;
        int middle() const { return (first + last) / 2; }
        int length() const { return last - first + 1; }
    };
    // The stretches of lines y in [top, bottom] where a pixel in columns [left, right] differs
    // from that line's pixel in column `referenceX` (the background beside them) by more than
    // `tolerance`.
    std::vector<Span> drawnLines(int left, int right, int top, int bottom, int referenceX,
                                 int tolerance = 24) const;
    // The stretches of columns x in [left, right] where a pixel in lines [top, bottom] differs
    // from `background`.
    std::vector<Span> drawnColumns(int left, int right, int top, int bottom, QRgb background) const;
    // The smallest rectangle around every pixel of `area` that differs from `background`.
    QRect drawnBounds(const QRect& area, QRgb background) const;
    // How many pixels of `area` look like `colour`.
    int count(const QRect& area, QRgb colour) const;

private:
    explicit WindowShot(QImage image) : m_image(std::move(image)) {}

    QImage m_image;
};
