// Built into every program of a sanitizer build: leaks that belong to libraries, not to Brivello.
// LeakSanitizer asks for this list by name when the program ends.

extern "C" const char* __lsan_default_suppressions() {
    // libdbus keeps its connection data until dbus_shutdown(), which Qt D-Bus never calls.
    return "leak:libdbus-1.so\n"
           // Qt 6.4's software scene graph keeps the textures of images it drew for windows that
           // are gone, when one process shows several windows in turn. Its frames are seen only
           // with full stacks (ASAN_OPTIONS=fast_unwind_on_malloc=0).
           "leak:QSGRenderContext::textureForFactory\n";
}
