// Built into every program of a sanitizer build: leaks that belong to libraries, not to Brivello.
// LeakSanitizer asks for this list by name when the program ends.

extern "C" const char* __lsan_default_suppressions() {
    // libdbus keeps its connection data until dbus_shutdown(), which Qt D-Bus never calls.
    return "leak:libdbus-1.so\n"
           // Qt Quick keeps the images it loaded (QQuickPixmap's cache) and the textures made from
           // them until the process is gone. Their frames show only in full allocation stacks
           // (fast_unwind_on_malloc=0, see tests/ui/FullAllocationStacks.cpp).
           "leak:QQuickPixmap\n"
           "leak:QSGRenderContext::textureForFactory\n";
}
