// What the thread sanitizer cannot see: Qt and the libraries below it are not instrumented, so the
// locks and atomics inside of them order nothing for it. What they do to memory themselves is
// passed over.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1:history_size=5";
}
