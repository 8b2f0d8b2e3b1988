#include "ColorSchemeSource.h"

#include <QMetaObject>
#include <QObject>

#import <AppKit/AppKit.h>

// Hears AppKit announce a new effective appearance of the application, which follows the
// system's light or dark setting as long as nothing forces one on NSApp.
@interface BrivelloAppearanceObserver : NSObject
- (instancetype)initWithCallback:(std::function<void()>)callback;
@end

@implementation BrivelloAppearanceObserver {
    std::function<void()> _callback;
}

- (instancetype)initWithCallback:(std::function<void()>)callback {
    if ((self = [super init]))
        _callback = std::move(callback);
    return self;
}

- (void)observeValueForKeyPath:(NSString*)keyPath
                      ofObject:(id)object
                        change:(NSDictionary<NSKeyValueChangeKey, id>*)change
                       context:(void*)context {
    (void)keyPath;
    (void)object;
    (void)change;
    (void)context;
    _callback();
}

@end

namespace {

bool appearsDark() {
    NSAppearanceName best = [NSApp.effectiveAppearance
        bestMatchFromAppearancesWithNames:@[ NSAppearanceNameAqua, NSAppearanceNameDarkAqua ]];
    return [best isEqualToString:NSAppearanceNameDarkAqua];
}

class MacColorScheme : public ColorSchemeSource {
public:
    explicit MacColorScheme(std::function<void()> changed) : m_changed(std::move(changed)) {
        if (!NSApp)
            return;
        m_dark = appearsDark();
        // KVO may report on another thread and more than once per change: settle on the main
        // thread and pass on real changes only.
        m_observer = [[BrivelloAppearanceObserver alloc] initWithCallback:[this] {
            QMetaObject::invokeMethod(
                &m_context, [this] { refresh(); }, Qt::QueuedConnection);
        }];
        [NSApp addObserver:m_observer
                forKeyPath:@"effectiveAppearance"
                   options:NSKeyValueObservingOptionNew
                   context:nullptr];
    }

    ~MacColorScheme() override {
        if (m_observer)
            [NSApp removeObserver:m_observer forKeyPath:@"effectiveAppearance"];
    }

    std::optional<bool> prefersDark() const override { return m_dark; }

private:
    void refresh() {
        const bool dark = appearsDark();
        if (m_dark == dark)
            return;
        m_dark = dark;
        m_changed();
    }

    std::function<void()> m_changed;
    std::optional<bool> m_dark;
    // Lives on the main thread and takes the queued refreshes; gone with this object.
    QObject m_context;
    BrivelloAppearanceObserver* m_observer = nil;
};

} // namespace

std::unique_ptr<ColorSchemeSource> makeColorSchemeSource(std::function<void()> changed) {
    return std::make_unique<MacColorScheme>(std::move(changed));
}
