/* The native modules that a script loads by the name of their file. Plain C, since the interpreter is
 * compiled with this in the place of the loader's own function. How it then learns why is a matter of
 * each system. */
#ifndef PLATFORM_NATIVE_MODULE_H
#define PLATFORM_NATIVE_MODULE_H

#ifdef __cplusplus
extern "C" {
#endif

/* Loads the module at the UTF-8 path, or returns null. All that it asks for must be there, and the
 * interpreter must be out of its sight: ours is, and with the functions of another, which the host or
 * the module brings, the module would spoil the memory of ours. */
void* platform_openNativeModule(const char* file);

#ifdef __cplusplus
}
#endif

#endif
