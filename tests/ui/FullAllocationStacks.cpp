// Linked into the test programs that draw Qt Quick scenes: the leaks of Qt Quick's own caches are
// recognised by Qt's frames (see src/app/LeakSuppressions.cpp), which only full allocation stacks
// show, the system's libraries being built without frame pointers. Unused without the sanitizers.
extern "C" const char* __asan_default_options() {
    return "fast_unwind_on_malloc=0";
}
