// locale.cpp - the locale that a test program runs in, where ZOR_TEST_LOCALE names one.
#include <clocale>
#include <cstdio>
#include <cstdlib>

#ifdef __ELF__
// Asked by the leak checker. The C library never frees the folders that newlocale finds in LOCPATH.
extern "C" __attribute__((visibility("default"))) const char *__lsan_default_suppressions();
const char *__lsan_default_suppressions() { return "leak:__argz_add_sep\n"; }
#endif

namespace {

[[maybe_unused]] const bool is_set = [] {
    const char *wanted = std::getenv("ZOR_TEST_LOCALE");
    if (wanted != nullptr && std::setlocale(LC_ALL, wanted) == nullptr) {
        std::fprintf(stderr, "there is no locale %s\n", wanted);
        std::_Exit(1);
    }
    return wanted != nullptr;
}();

} // namespace
