// The main menu: banner, nine options, one action per run of the program.
#pragma once

// Banner: program name and build, the distribution line, the target, a rule.
void printBanner();
// Prints the banner and the options, reads one choice (0 to 8) and runs it
// once. Returns when the action is done (option 3 never returns).
void mainMenu();
