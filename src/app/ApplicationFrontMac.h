#pragma once

// Makes Brivello the frontmost application even while another one is in front, as the menu-bar
// panel's "Fenster öffnen" must: a window shown from the menu bar alone stays behind the active
// application's windows.
void bringApplicationToFront();
