// The entry points in a process without memory.

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "hdri/IPainter.h"
#include "support/fake_host/FakeHost.h"

namespace {

bool heapFails = false;

void* allocate(std::size_t bytes) {
  void* storage = heapFails ? nullptr : std::malloc(bytes);
  if (!storage) throw std::bad_alloc();
  return storage;
}

}  // namespace

// The program's heap, for all tests of this folder.
[[gnu::noinline]] void* operator new(std::size_t bytes) { return allocate(bytes); }
[[gnu::noinline]] void* operator new[](std::size_t bytes) { return allocate(bytes); }
[[gnu::noinline]] void operator delete(void* storage) noexcept { std::free(storage); }
[[gnu::noinline]] void operator delete[](void* storage) noexcept { std::free(storage); }
[[gnu::noinline]] void operator delete(void* storage, std::size_t) noexcept { std::free(storage); }
[[gnu::noinline]] void operator delete[](void* storage, std::size_t) noexcept { std::free(storage); }

namespace orv::hdri {
namespace {

TEST(EntryPoints, ThePainterIsNullWithoutTheHostsMemory) {
  FakeHost::instance().reset();
  FakeHost::instance().failAllocation(1);
  EXPECT_EQ(createAVX2Painter(), nullptr);
  FakeHost::instance().reset();
}

// In a suite of its own, and so in a process of its own: no painter comes before it.
TEST(FirstPainter, AsksTheHostAloneForMemory) {
  FakeHost::instance().reset();
  heapFails = true;
  IPainter* painter = nullptr;
  EXPECT_NO_THROW(painter = createAVX2Painter());
  heapFails = false;
  EXPECT_NE(painter, nullptr);
  destroyAVX2Painter(painter);
}

}  // namespace
}  // namespace orv::hdri
