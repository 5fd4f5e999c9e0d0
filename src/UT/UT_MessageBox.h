#pragma once
// A message that a person should see at once. It goes to the standard error stream, the title on a line of its own;
// a program with windows shows it its own way:
//
//     UTsetMessageBox([](const char* title, const char* text) { mainWindow().alert(title, text); });
#include <UT/UT_Export.h>

// Shows a message, and gives back control once the user has seen it. The texts are the caller's, and may have several
// lines.
using UTMessageBox = void (*)(const char* title, const char* text);

// From now on `show` shows the messages of the library; null stands for the standard error stream. It must not throw.
TARVANI_EXPORT void UTsetMessageBox(UTMessageBox show);
// Shows a message. Null texts count as empty.
TARVANI_EXPORT void UTshowMessageBox(const char* title, const char* text);
