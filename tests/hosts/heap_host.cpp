// A host that has an allocator of its own behind malloc and another behind the operators of C++.
// The library may call them, and must give each block back to the one that it is from.
#include "hosts/host.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

extern "C" {
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);
}

namespace {

enum Kind : uint32_t
{
   ofMalloc,
   ofNew,
   ofNewArray,
   kinds
};

constexpr uint64_t kMark = 0x9E3779B97F4A7C15;

// In front of each block.
struct alignas(16) Header
{
   uint64_t mark; // kMark and the kind
   uint64_t size;
   void* begin;
};

// Constant-initialised, as malloc runs before anything else does.
std::array<std::atomic<ptrdiff_t>, kinds> live;
std::array<std::atomic<size_t>, kinds> taken;
std::atomic<size_t> strays;

void* take(Kind kind, size_t size, size_t alignment = alignof(Header))
{
   const size_t room = alignment > sizeof(Header) ? alignment : sizeof(Header);
   void* const begin =
      size > PTRDIFF_MAX - room ? nullptr : __libc_memalign(alignment, room + size);
   if (!begin) {
      errno = ENOMEM;
      return nullptr;
   }
   auto* const block = static_cast<char*>(begin) + room;
   const Header header{kMark + kind, size, begin};
   std::memcpy(block - sizeof header, &header, sizeof header);
   ++live[kind];
   ++taken[kind];
   return block;
}

Header headerOf(const void* block)
{
   Header header;
   std::memcpy(&header, static_cast<const char*>(block) - sizeof header, sizeof header);
   return header;
}

// What is not of the kind is left where it is.
void giveBack(Kind kind, void* block)
{
   if (!block) return;
   const Header header = headerOf(block);
   if (header.mark != kMark + kind) {
      ++strays;
      return;
   }
   std::memset(static_cast<char*>(block) - sizeof header, 0, sizeof header);
   --live[kind];
   __libc_free(header.begin);
}

void* takeOrThrow(Kind kind, size_t size)
{
   void* const block = take(kind, size);
   if (!block) throw std::bad_alloc();
   return block;
}

} // namespace

extern "C" {

void* malloc(size_t size)
{
   return take(ofMalloc, size);
}

void* calloc(size_t count, size_t size)
{
   size_t bytes = 0;
   if (__builtin_mul_overflow(count, size, &bytes)) {
      errno = ENOMEM;
      return nullptr;
   }
   void* const block = take(ofMalloc, bytes);
   return block ? std::memset(block, 0, bytes) : nullptr;
}

void* realloc(void* block, size_t size)
{
   if (!block) return take(ofMalloc, size);
   if (size == 0) {
      giveBack(ofMalloc, block);
      return nullptr;
   }
   void* const other = take(ofMalloc, size);
   if (!other) return nullptr;
   const size_t old = headerOf(block).size;
   std::memcpy(other, block, old < size ? old : size);
   giveBack(ofMalloc, block);
   return other;
}

void* memalign(size_t alignment, size_t size)
{
   return take(ofMalloc, size, alignment < alignof(Header) ? alignof(Header) : alignment);
}

void* aligned_alloc(size_t alignment, size_t size)
{
   return memalign(alignment, size);
}

int posix_memalign(void** block, size_t alignment, size_t size)
{
   *block = memalign(alignment, size);
   return *block ? 0 : ENOMEM;
}

size_t malloc_usable_size(void* block)
{
   return block ? headerOf(block).size : 0;
}

void free(void* block)
{
   giveBack(ofMalloc, block);
}

} // extern "C"

void* operator new(size_t size)
{
   return takeOrThrow(ofNew, size);
}

void* operator new[](size_t size)
{
   return takeOrThrow(ofNewArray, size);
}

void operator delete(void* block) noexcept
{
   giveBack(ofNew, block);
}

void operator delete(void* block, size_t) noexcept
{
   giveBack(ofNew, block);
}

void operator delete[](void* block) noexcept
{
   giveBack(ofNewArray, block);
}

void operator delete[](void* block, size_t) noexcept
{
   giveBack(ofNewArray, block);
}

std::string zerova::test::stateOfTheHost()
{
   return strays == 0 ? "" : "strays";
}

namespace {

using zerova::test::Host;

TEST_F(Host, SeesABlockThatIsGivenBackToAnotherFunction)
{
   char* const array = new char[8];
   giveBack(ofNew, array);
   EXPECT_EQ(strays.exchange(0), 1u);
   delete[] array;
   EXPECT_EQ(strays, 0u);
}

TEST_F(Host, HasEveryBlockGivenBackToTheFunctionThatItIsFrom)
{
   takeWholeTour(); // what the loader keeps for good, it has after this
   std::array<size_t, kinds> takenBefore{};
   std::array<ptrdiff_t, kinds> liveBefore{};
   for (size_t kind = 0; kind < kinds; ++kind) {
      takenBefore[kind] = taken[kind];
      liveBefore[kind] = live[kind];
   }
   takeWholeTour();
   for (size_t kind = 0; kind < kinds; ++kind)
      EXPECT_EQ(live[kind], liveBefore[kind]) << kind;
   EXPECT_GT(taken[ofMalloc], takenBefore[ofMalloc] + 1000);
   EXPECT_GT(taken[ofNew], takenBefore[ofNew] + 100);
   EXPECT_EQ(strays, 0u);
}

} // namespace
