#pragma once
// TARVANI_EXPORT marks what the shared library shows. Everything else is built hidden.
#define TARVANI_EXPORT __attribute__((visibility("default")))
