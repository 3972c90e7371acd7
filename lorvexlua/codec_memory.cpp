#include "lorvexlua/codec_memory.h"

#include "platform/thread_pointer.h"

#include <cstddef>
#include <cstdlib>
#include <lua.hpp>
#include <new>

namespace {

// The blocks of a call are a ring with the call, and those that outlive it one with a userdata of
// the interpreter.
struct Link
{
   Link* previous = this;
   Link* next = this;
};

// In front of each block.
struct alignas(std::max_align_t) Block : Link
{
   int size = 0;
};

// The call of the codec that a thread is in. A finaliser of a script may begin another within it.
struct CodecCall
{
   lua_State* state;
   Link* ring; // which takes in new blocks; may be null
};

// The codec doubles the size of a buffer until it suffices, in an int. From this size on, which is
// one of those sizes, the next but one would overflow.
constexpr size_t kLargestBuffer = size_t{1023} << 20;

// Each byte may become six, in a buffer of which the rest is full.
constexpr size_t kLongestText = (kLargestBuffer - 4) / 6;
static_assert(kCodecLongestDocument < kLargestBuffer);

CodecCall* currentCall()
{
   return static_cast<CodecCall*>(platform::threadPointer());
}

void insert(Link* link, Link* behind)
{
   link->previous = behind;
   link->next = behind->next;
   link->next->previous = link;
   behind->next = link;
}

void remove(Link* link)
{
   link->previous->next = link->next;
   link->next->previous = link->previous;
}

Block* blockOf(void* bytes)
{
   return static_cast<Block*>(bytes) - 1;
}

void releaseAll(Link* ring)
{
   for (Link* link = ring->next; link != ring;) {
      Link* const next = link->next;
      std::free(static_cast<Block*>(link));
      link = next;
   }
   ring->previous = ring->next = ring;
}

// Its address is the key of the interpreter's ring in the registry.
constexpr char kKeptBlocks = 0;

int releaseKeptBlocks(lua_State* L)
{
   releaseAll(static_cast<Link*>(lua_touserdata(L, 1)));
   return 0;
}

Link* keptBlocks(lua_State* L)
{
   lua_pushlightuserdata(L, const_cast<char*>(&kKeptBlocks));
   lua_rawget(L, LUA_REGISTRYINDEX);
   auto* const ring = static_cast<Link*>(lua_touserdata(L, -1));
   lua_pop(L, 1);
   return ring;
}

// Refuses the next request for memory and hands the interpreter its own allocator back.
struct Refusal
{
   lua_State* state;
   lua_Alloc allocate;
   void* context;
};

void* refuse(void* context, void* block, size_t oldSize, size_t newSize)
{
   const auto* const refusal = static_cast<Refusal*>(context);
   if (newSize <= oldSize) return refusal->allocate(refusal->context, block, oldSize, newSize);
   lua_setallocf(refusal->state, refusal->allocate, refusal->context);
   return nullptr;
}

} // namespace

void lorvexlua_keepCodecBlocks(lua_State* L)
{
   if (keptBlocks(L)) return;
   lua_pushlightuserdata(L, const_cast<char*>(&kKeptBlocks));
   new (lua_newuserdata(L, sizeof(Link))) Link;
   lua_createtable(L, 0, 1);
   lua_pushcfunction(L, releaseKeptBlocks);
   lua_setfield(L, -2, "__gc");
   lua_setmetatable(L, -2);
   lua_rawset(L, LUA_REGISTRYINDEX);
}

int lorvexlua_callCodec(lua_State* L, int argumentCount, int resultCount,
                        lorvexlua_CodecBlocks blocks)
{
   Link own;
   CodecCall call{L, blocks == kCodecReleasesBlocks ? &own : keptBlocks(L)};
   CodecCall* const outer = currentCall();
   platform::setThreadPointer(&call);
   const int result = lua_pcall(L, argumentCount, resultCount, 0);
   platform::setThreadPointer(outer);
   releaseAll(&own);
   return result;
}

void lorvexlua_raiseOutOfMemory(lua_State* L)
{
   Refusal refusal{L, nullptr, nullptr};
   // The refused request may be one of a finaliser, whose script may catch the error.
   for (;;) {
      refusal.allocate = lua_getallocf(L, &refusal.context);
      lua_setallocf(L, refuse, &refusal);
      lua_newuserdata(L, 1);
      lua_pop(L, 1);
   }
}

void* lorvexlua_codecAllocate(size_t size)
{
   CodecCall* const call = currentCall();
   void* const memory = size <= kLargestBuffer ? std::malloc(sizeof(Block) + size) : nullptr;
   if (!memory) lorvexlua_raiseOutOfMemory(call->state);
   Block* const block = new (memory) Block;
   block->size = static_cast<int>(size);
   if (call && call->ring) insert(block, call->ring);
   return block + 1;
}

void* lorvexlua_codecReallocate(int* noted, void* bytes, size_t size)
{
   Block* const old = blockOf(bytes);
   // Out of its ring meanwhile, as it may move.
   Link* const behind = old->previous;
   const bool isAlone = behind == old;
   remove(old);
   void* const memory = size <= kLargestBuffer ? std::realloc(old, sizeof(Block) + size) : nullptr;
   Block* const block = memory ? static_cast<Block*>(memory) : old;
   if (isAlone)
      block->previous = block->next = block;
   else
      insert(block, behind);
   if (!memory) {
      *noted = block->size;
      lorvexlua_raiseOutOfMemory(currentCall()->state);
   }
   block->size = static_cast<int>(size);
   return block + 1;
}

void lorvexlua_codecFree(void* bytes)
{
   if (!bytes) return;
   remove(blockOf(bytes));
   std::free(blockOf(bytes));
}

void lorvexlua_codecFail()
{
   lorvexlua_raiseOutOfMemory(currentCall()->state);
}

void lorvexlua_codecBegins() {}

const char* lorvexlua_codecText(lua_State* L, int index, size_t* length)
{
   const char* const text = lua_tolstring(L, index, length);
   if (text && length && *length > kLongestText) lorvexlua_raiseOutOfMemory(L);
   return text;
}
