// The check of the fuzz targets: a broken property prints itself and aborts,
// so that libFuzzer keeps the input and the corpus replay fails.
#ifndef NORVANE_FUZZ_FUZZ_CHECK_H
#define NORVANE_FUZZ_FUZZ_CHECK_H

#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(condition)                                                                \
    do {                                                                                     \
        if (!(condition)) {                                                                  \
            std::fprintf(stderr, "fuzz check failed: %s (%s:%d)\n", #condition, __FILE__,    \
                         __LINE__);                                                          \
            std::abort();                                                                    \
        }                                                                                    \
    } while (0)

#endif
