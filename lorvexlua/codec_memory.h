/* The memory of the JSON codec, which knows of no failure: where there is none, the interpreter's
 * own error of lacking memory is raised here, from beneath the codec, and what the call had is given
 * back. Plain C for the codec's sake. */
#ifndef LORVEXLUA_CODEC_MEMORY_H
#define LORVEXLUA_CODEC_MEMORY_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

struct lua_State;

/* The longest document to decode, in bytes: the codec notes sizes in an int. */
enum
{
   kCodecLongestDocument = (1023 << 20) - 1
};

/* Has blocks that outlive the codec's calls released with the interpreter at the latest: it forgets
 * the finaliser of a codec for whose call it has no memory. Before the codec is opened. */
void lorvexlua_keepCodecBlocks(struct lua_State* L);

/* A protected call, as lua_pcall makes it without a handler, of a function of the codec: within it
 * these functions know the interpreter. Blocks that a failed call has not released are released
 * here if the call keeps none by design. */
enum lorvexlua_CodecBlocks
{
   kCodecKeepsBlocks,
   kCodecReleasesBlocks
};
int lorvexlua_callCodec(struct lua_State* L, int argumentCount, int resultCount,
                        enum lorvexlua_CodecBlocks blocks);

/* Raises the interpreter's error of lacking memory, which lua_error cannot. */
#ifdef __cplusplus
[[noreturn]]
#else
_Noreturn
#endif
void lorvexlua_raiseOutOfMemory(struct lua_State* L);

/* What the codec is compiled with. Outside of lorvexlua_callCodec, where only tests call the codec,
 * there is nobody to raise a failure to. */
void* lorvexlua_codecAllocate(size_t size);
/* On failure the block stays as it was, and *noted, which holds the size asked for, becomes its size
 * again: the codec goes on with the buffer in its next call. */
void* lorvexlua_codecReallocate(int* noted, void* block, size_t size);
void lorvexlua_codecFree(void* block);
/* What the codec takes for impossible: a buffer too large for its sizes. */
#ifdef __cplusplus
[[noreturn]]
#else
_Noreturn
#endif
void lorvexlua_codecFail(void);
/* Each codec that is made asks for it; there is nothing that it would have to look up. */
void lorvexlua_codecBegins(void);
/* lua_tolstring; lack of memory for a text whose escaped form the codec's sizes cannot hold. */
const char* lorvexlua_codecText(struct lua_State* L, int index, size_t* length);

#ifdef __cplusplus
}
#endif

#endif
