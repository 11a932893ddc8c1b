// Trace output of the platform.
#ifndef NORVANE_PLATFORM_GEN_TRACE_H
#define NORVANE_PLATFORM_GEN_TRACE_H

// Formats one trace line and writes it with a line feed in a single write, so
// that trace lines never interleave with other output. category, level and
// flag select the trace channel on the device; the host ignores them.
void zulGENTrcPrintf(unsigned int category, unsigned int level, unsigned int flag,
                     const char* format, ...) __attribute__((format(printf, 4, 5)));

#endif
