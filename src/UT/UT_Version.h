#pragma once
// The version of the library. The build, the packages and the command read it from these three lines and from nowhere
// else.
#define TARVANI_VERSION_MAJOR 10
#define TARVANI_VERSION_MINOR 0
#define TARVANI_VERSION_PATCH 401

// The version of the interface to plug-ins, which changes less often: a plug-in must carry exactly this text.
#define TARVANI_DSO_VERSION "9.0"
