#include "foundation/heaps.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace terrain {
namespace {

/// The ids as they are popped.
std::string popAll(PriorityHeapR4 heap) {
  std::string ids;
  int32_t id = 0;
  for (float key = 0; heap.Pop(id, key) == 0;) ids += std::to_string(id) + ' ';
  return ids;
}

TEST(PriorityHeap, OrderOfEqualKeysFollowsFromItsSteps) {
  PriorityHeapR4 heap;
  for (int32_t id = 1; id <= 4; ++id) ASSERT_EQ(heap.Insert(id, 5), 0);
  EXPECT_EQ(popAll(heap), "4 3 1 2 ");  // each rose above its equals, and sinks below them
  for (int32_t id = 5; id <= 7; ++id) ASSERT_EQ(heap.Insert(id, static_cast<float>(id)), 0);
  EXPECT_EQ(popAll(heap), "7 6 4 1 5 3 2 ");
  heap.RemoveId(7);  // the root: the last, id 5, takes its place and moves down
  heap.RemoveId(1);
  heap.RemoveId(99);
  EXPECT_EQ(popAll(heap), "6 4 5 3 2 ");
}

TEST(PriorityHeap, GrowsInStepsAndGivesEverythingBackInOrder) {
  PriorityHeapR8 heap;
  EXPECT_EQ(heap.Capacity(), 0);
  std::mt19937 random(4);
  for (int32_t i = 0; i < 100000; ++i) {
    ASSERT_EQ(heap.Insert(i, static_cast<double>(random())), 0);
    // Up to 30,000 pairs a step at a time.
    if (i < 30000) {
      ASSERT_EQ(heap.Capacity(), (i / 10000 + 1) * 10000);
    }
  }
  std::vector<bool> seen(100000, false);
  double last = 1e300;
  for (int32_t left = 99999; left >= 0; --left) {
    int32_t id = -1;
    double key = 0.0;
    ASSERT_EQ(heap.Pop(id, key), 0);
    ASSERT_LE(key, last);
    ASSERT_FALSE(seen.at(static_cast<std::size_t>(id)));
    seen[static_cast<std::size_t>(id)] = true;
    last = key;
    ASSERT_EQ(heap.Size(), left);
  }
  heap.Clear();
  EXPECT_EQ(heap.Capacity(), 0);
}

TEST(PriorityHeap, RefusesWhatIsNotThere) {
  PriorityHeapR4 heap;
  int32_t id = 5;
  float key = 6.0F;
  EXPECT_EQ(heap.Pop(id, key), -1);
  EXPECT_EQ(id, 5);
  heap.RemoveId(1);
  EXPECT_EQ(heap.SiftDown(1), 1);
  ASSERT_EQ(heap.Insert(1, 1.0F), 0);
  EXPECT_EQ(heap.SiftDown(0), 0);
  EXPECT_EQ(heap.SiftDown(2), 2);
  heap.RemoveId(1);
  EXPECT_EQ(heap.Size(), 0);
}

TEST(PriorityHeap, SurvivesALackOfMemory) {
  PriorityHeapR4 heap;
  memoryLimits().largestBlock = 100000;
  for (int32_t i = 0; i < 10000; ++i) ASSERT_EQ(heap.Insert(i, static_cast<float>(i)), 0);
  const int status = heap.Insert(10000, 1e9F);
  memoryLimits().largestBlock.reset();
  EXPECT_EQ(status, -1);
  EXPECT_EQ(heap.Size(), 10000);
  int32_t id = 0;
  float key = 0.0F;
  EXPECT_EQ(heap.Pop(id, key), 0);
  EXPECT_EQ(id, 9999);
}

}  // namespace
}  // namespace terrain
