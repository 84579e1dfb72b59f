// What the caches hand out for a new handle is never freed, by design. The OpenCL implementation keeps things to
// the end.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:lookup_and_cache_nerva_\nleak:libpocl\n";
}
