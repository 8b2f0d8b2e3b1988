#pragma once

class QWindow;

// The window shown (it may have been closed to the tray), raised and focused, in front of other
// applications' windows: what "Fenster öffnen" and a second start of Brivello both do.
void showWindowInFront(QWindow& window);
