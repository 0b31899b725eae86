#include "foundation/heaps.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace terrain {
namespace {

struct Pair {
  int32_t id;
  float key;
  bool operator==(const Pair&) const = default;
};

/// The same heap in a plain array, step by step as it is described.
class PlainHeap {
 public:
  void insert(Pair pair) {
    items_.push_back(pair);
    for (std::size_t i = items_.size(); i > 1 && items_[i / 2 - 1].key <= items_[i - 1].key; i /= 2)
      std::swap(items_[i / 2 - 1], items_[i - 1]);
  }
  Pair pop() {
    const Pair top = items_.front();
    replaceWithLast(1);
    return top;
  }
  void removeId(int32_t id) {
    for (std::size_t i = 1; i <= items_.size(); ++i)
      if (items_[i - 1].id == id) return replaceWithLast(i);
  }

 private:
  void replaceWithLast(std::size_t i) {
    items_[i - 1] = items_.back();
    items_.pop_back();
    while (2 * i <= items_.size()) {
      std::size_t child = 2 * i;
      if (child < items_.size() && items_[child].key > items_[child - 1].key) ++child;
      if (items_[i - 1].key > items_[child - 1].key) return;
      std::swap(items_[i - 1], items_[child - 1]);
      i = child;
    }
  }
  std::vector<Pair> items_;
};

TEST(PriorityHeap, DoesWhatThePlainHeapDoes) {
  std::mt19937 random(3);
  PriorityHeapR4 heap;
  PlainHeap plain;
  for (int turn = 0; turn < 20000; ++turn) {
    const auto what = random() % 10;
    if (what < 6 || heap.Size() == 0) {
      const Pair pair{static_cast<int32_t>(random() % 500), static_cast<float>(random() % 40)};
      ASSERT_EQ(heap.Insert(pair.id, pair.key), 0);
      plain.insert(pair);
    } else if (what < 9) {
      Pair top{};
      ASSERT_EQ(heap.Pop(top.id, top.key), 0);
      ASSERT_EQ(top, plain.pop()) << "turn " << turn;
    } else {
      const auto id = static_cast<int32_t>(random() % 500);
      heap.RemoveId(id);
      plain.removeId(id);
    }
  }
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
