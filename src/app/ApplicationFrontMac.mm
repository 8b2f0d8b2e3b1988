#include "ApplicationFrontMac.h"

#import <AppKit/AppKit.h>

void bringApplicationToFront() {
    [NSApp activateIgnoringOtherApps:YES];
}
