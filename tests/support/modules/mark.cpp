// One of the modules that are told apart by what they answer.
extern "C" __attribute__((visibility("default"))) int module_mark() {
    return MODULE_MARK;
}
