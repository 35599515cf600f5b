// The two text screens of the main menu.
#pragma once

// Option 7: title, version line, what the program is, and the disclaimer.
void showAbout();
// Option 8: the warning about the stress that large runs put on a machine.
void showWarning();
