// Linked into the test programs that draw Qt Quick scenes. Qt Quick keeps the images it loaded
// (QQuickPixmap's cache) and the textures made from them (the render context's texture cache)
// until the process is gone. LeakSanitizer is told so in the program itself: CTest hands the
// discovered tests only one environment variable. Matching Qt's frames needs full allocation
// stacks. Unused without the sanitizers.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:QQuickPixmap\n"
           "leak:QSGRenderContext::textureForFactory\n";
}

extern "C" const char* __lsan_default_options() {
    return "fast_unwind_on_malloc=0";
}
