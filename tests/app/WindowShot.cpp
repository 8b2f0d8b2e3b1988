#include "WindowShot.h"

#include <cstdlib>
#include <memory>

std::optional<WindowShot> WindowShot::capture(xcb_connection_t* connection, xcb_window_t window) {
    std::unique_ptr<xcb_get_geometry_reply_t, decltype(&std::free)> geometry(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr),
        &std::free);
    if (!geometry || geometry->depth != 24)
        return std::nullopt;
    std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
        xcb_get_image_reply(connection,
                            xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, 0, 0,
                                          geometry->width, geometry->height, ~0u),
                            nullptr),
        &std::free);
    const int bytes = reply ? xcb_get_image_data_length(reply.get()) : 0;
    if (bytes != geometry->width * geometry->height * 4)
        return std::nullopt;
    // Depth 24 comes as 32 bits a pixel, blue first: QImage's RGB32 on a little-endian machine.
    return WindowShot(QImage(xcb_get_image_data(reply.get()), geometry->width, geometry->height,
                             QImage::Format_RGB32)
                          .copy());
}

bool WindowShot::alike(QRgb a, QRgb b, int tolerance) {
    return std::abs(qRed(a) - qRed(b)) <= tolerance &&
           std::abs(qGreen(a) - qGreen(b)) <= tolerance &&
           std::abs(qBlue(a) - qBlue(b)) <= tolerance;
}

std::vector<WindowShot::Span> WindowShot::drawnLines(int left, int right, int top, int bottom,
                                                     int referenceX, int tolerance) const {
    std::vector<Span> spans;
    for (int y = top; y <= bottom; ++y) {
        bool drawn = false;
        for (int x = left; x <= right && !drawn; ++x)
            drawn = !alike(at(x, y), at(referenceX, y), tolerance);
        if (drawn && !spans.empty() && spans.back().last == y - 1)
            spans.back().last = y;
        else if (drawn)
            spans.push_back({y, y});
    }
    return spans;
}

std::vector<WindowShot::Span> WindowShot::drawnColumns(int left, int right, int top, int bottom,
                                                       QRgb background) const {
    std::vector<Span> spans;
    for (int x = left; x <= right; ++x) {
        bool drawn = false;
        for (int y = top; y <= bottom && !drawn; ++y)
            drawn = !alike(at(x, y), background);
        if (!drawn)
            continue;
        if (!spans.empty() && spans.back().last == x - 1)
            spans.back().last = x;
        else
            spans.push_back({x, x});
    }
    return spans;
}

QRect WindowShot::drawnBounds(const QRect& area, QRgb background) const {
    QRect bounds;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            if (!alike(at(x, y), background))
                bounds |= QRect(x, y, 1, 1);
    return bounds;
}

int WindowShot::count(const QRect& area, QRgb colour) const {
    int matches = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            matches += alike(at(x, y), colour);
    return matches;
}
