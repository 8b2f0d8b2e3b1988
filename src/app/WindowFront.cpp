#include "WindowFront.h"

#include <QWindow>

#ifdef __APPLE__
#include "ApplicationFrontMac.h"
#endif

void showWindowInFront(QWindow& window) {
#ifdef __APPLE__
    bringApplicationToFront();
#endif
    window.show();
    window.raise();
    window.requestActivate();
}
