#include <UT/UT_MessageBox.h>

#include <cstdio>

namespace {

void writeMessage(const char* title, const char* text) {
    std::fprintf(stderr, "%s\n%s\n", title, text);
}

UTMessageBox theMessageBox = writeMessage;

}  // namespace

void UTsetMessageBox(UTMessageBox show) {
    theMessageBox = show ? show : writeMessage;
}

void UTshowMessageBox(const char* title, const char* text) {
    theMessageBox(title ? title : "", text ? text : "");
}
