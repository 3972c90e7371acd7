/* The native modules that a script loads by the name of their file. Plain C, since the interpreter is
 * compiled with these in the place of the loader's own functions. */
#ifndef PLATFORM_NATIVE_MODULE_H
#define PLATFORM_NATIVE_MODULE_H

#ifdef __cplusplus
extern "C" {
#endif

/* Loads the module, or returns null. All that it asks for must be there, and the interpreter must be
 * out of its sight: ours is, and with the functions of another, which the host or the module brings,
 * the module would spoil the memory of ours. */
void* platform_openNativeModule(const char* file);

/* Why the last module of this thread was not loaded, or had no such function. */
const char* platform_nativeModuleFailure(void);

#ifdef __cplusplus
}
#endif

#endif
