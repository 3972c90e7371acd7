/* Forced in front of the interpreter's source that loads native modules. */
#ifndef PLATFORM_POSIX_NATIVE_MODULE_CALLS_H
#define PLATFORM_POSIX_NATIVE_MODULE_CALLS_H

#include "platform/native_module.h"

#include <dlfcn.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Why the last module of this thread was not loaded, or had no such function. */
const char* platform_nativeModuleFailure(void);

#ifdef __cplusplus
}
#else
#define dlopen(file, mode) platform_openNativeModule(file)
#define dlerror platform_nativeModuleFailure
#endif

#endif
