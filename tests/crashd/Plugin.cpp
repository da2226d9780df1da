// A library that a program opens after it has set up crash handling.

extern "C" __attribute__((visibility("default"), noinline)) int CallFromPlugin(void (*die)()) {
    die();
    return 1;
}
