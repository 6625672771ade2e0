// SPDX-License-Identifier: Apache-2.0
/* What the tool's own loading of a module takes. Preloaded into the tool, it
 * stands in front of dlopen(3) and tells on standard error, in nanoseconds, how
 * long each one took: reading, relocating and initialising the module and the
 * libraries under it.
 */
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <time.h>

static int64_t now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * INT64_C(1000000000) + time.tv_nsec;
}

void* dlopen(const char* path, int mode)
{
    void* (*open)(const char*, int) = NULL;
    *(void**)&open = dlsym(RTLD_NEXT, "dlopen");
    const int64_t start = now();
    void* const module = open(path, mode);
    fprintf(stderr, "%s loaded in %lld ns\n", path, (long long)(now() - start));
    return module;
}
