#include "SymbolImageMac.h"

#import <AppKit/AppKit.h>

#include <algorithm>

QImage renderSystemSymbol(const QString& name, const QColor& color, QSize pixelSize) {
    if (pixelSize.isEmpty())
        return {};
    @autoreleasepool {
        NSImage* symbol = [NSImage imageWithSystemSymbolName:name.toNSString()
                                    accessibilityDescription:nil];
        if (!symbol)
            return {};
        // A point size near the pixel size picks the stroke weight the system uses at that size;
        // the vector is then drawn straight into the bitmap, never scaled from a smaller one.
        const CGFloat side = std::min(pixelSize.width(), pixelSize.height());
        NSImageSymbolConfiguration* config =
            [NSImageSymbolConfiguration configurationWithPointSize:side * 0.8
                                                            weight:NSFontWeightRegular
                                                             scale:NSImageSymbolScaleMedium];
        symbol = [symbol imageWithSymbolConfiguration:config] ?: symbol;

        const NSSize natural = symbol.size;
        if (natural.width <= 0 || natural.height <= 0)
            return {};
        const CGFloat scale =
            std::min(pixelSize.width() / natural.width, pixelSize.height() / natural.height);
        const NSRect target = NSMakeRect((pixelSize.width() - natural.width * scale) / 2,
                                         (pixelSize.height() - natural.height * scale) / 2,
                                         natural.width * scale, natural.height * scale);

        // QImage's premultiplied ARGB32 is Core Graphics' premultiplied-first in host order, so
        // AppKit draws straight into the image's pixels.
        QImage image(pixelSize, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        CGColorSpaceRef space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
        CGContextRef bitmap = CGBitmapContextCreate(
            image.bits(), static_cast<size_t>(image.width()), static_cast<size_t>(image.height()),
            8, static_cast<size_t>(image.bytesPerLine()), space,
            kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Host);
        CGColorSpaceRelease(space);
        if (!bitmap)
            return {};

        [NSGraphicsContext saveGraphicsState];
        NSGraphicsContext.currentContext = [NSGraphicsContext graphicsContextWithCGContext:bitmap
                                                                                   flipped:NO];
        [symbol drawInRect:target
                  fromRect:NSZeroRect
                 operation:NSCompositingOperationSourceOver
                  fraction:1.0];
        // Symbols are templates drawn in black: keep their alpha, take the colour asked for.
        const QColor rgb = color.toRgb();
        [[NSColor colorWithSRGBRed:rgb.redF()
                             green:rgb.greenF()
                              blue:rgb.blueF()
                             alpha:rgb.alphaF()] set];
        NSRectFillUsingOperation(NSMakeRect(0, 0, pixelSize.width(), pixelSize.height()),
                                 NSCompositingOperationSourceIn);
        [NSGraphicsContext restoreGraphicsState];
        CGContextRelease(bitmap);
        return image;
    }
}
