// What a program opens when its crash handling is long set up.

extern "C" __attribute__((visibility("default"), noinline)) int CallFromPlugin(void (*die)()) {
    die();
    return 1;
}
