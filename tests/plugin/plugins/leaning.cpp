// Has no functions of its own, and needs a library that has all of them.
extern "C" void record(void* data);
extern "C" __attribute__((visibility("default"))) void lean(void* data) {
    record(data);
}
