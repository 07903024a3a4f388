#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "core/core.h"

using namespace hypra;

namespace {

std::vector<KeyValue> Pairs(const std::vector<int> &keys) {
  std::vector<KeyValue> p;
  for (int i = 0; i < static_cast<int>(keys.size()); i++) p.push_back({keys[i], i});
  return p;
}

std::vector<int> Vals(const std::vector<KeyValue> &p) {
  std::vector<int> v;
  for (auto &kv : p) v.push_back(kv.val);
  return v;
}

TEST(Sort, EmptyAndSingleAreUntouched) {
  int a[1] = {5};
  iintsort__(0, a);
  iintsort__(1, a);
  EXPECT_EQ(a[0], 5);
  KeyValue kv[1] = {{4, 9}};
  ikeysort__(0, kv);
  ikeysort__(1, kv);
  dkeysort__(0, kv);
  dkeysort__(1, kv);
  ikeysort2__(1, kv);
  EXPECT_EQ(kv[0].key, 4);
  EXPECT_EQ(kv[0].val, 9);
}

TEST(Sort, ShortArraysBySentinelAndInsertion) {
  std::vector<int> a = {9, 3, 7, 1, 1, 8, 2, 0, 5, 4, 6, 3, 2, 11, 10, 19, 15, 17, 16, 18};
  std::vector<int> expect = a;
  std::sort(expect.begin(), expect.end());
  iintsort__(20, a.data());
  EXPECT_EQ(a, expect);
}

TEST(Sort, ShortKeySortLeavesTiesInInsertionOrder) {
  // The sentinel swap moves the smallest key (val 3) to the front, sending val 0 to slot 3;
  // insertion then keeps the relative order of equal keys as they stand.
  auto q = Pairs({2, 1, 2, 0, 1, 2});
  ikeysort2__(6, q.data());
  EXPECT_EQ(Vals(q), (std::vector<int>{3, 1, 4, 2, 0, 5}));
}

TEST(Sort, LargeArraysSortCorrectly) {
  std::srand(11);
  for (int n : {21, 22, 50, 1000, 100000}) {
    std::vector<int> a(n);
    for (auto &x : a) x = std::rand() % (n / 3 + 1);
    std::vector<int> expect = a;
    std::sort(expect.begin(), expect.end());
    iintsort__(n, a.data());
    EXPECT_EQ(a, expect) << n;

    std::vector<int> keys(n);
    for (auto &x : keys) x = std::rand() % 50;
    auto asc = Pairs(keys);
    ikeysort__(n, asc.data());
    for (int i = 1; i < n; i++) ASSERT_LE(asc[i - 1].key, asc[i].key);
    for (auto &kv : asc) ASSERT_EQ(keys[kv.val], kv.key);

    auto desc = Pairs(keys);
    dkeysort__(n, desc.data());
    for (int i = 1; i < n; i++) ASSERT_GE(desc[i - 1].key, desc[i].key);
    for (auto &kv : desc) ASSERT_EQ(keys[kv.val], kv.key);
  }
}

TEST(Sort, SortedAndReversedInputsKeepShallowStack) {
  for (int n : {200000}) {
    std::vector<int> a(n);
    for (int i = 0; i < n; i++) a[i] = n - i;
    iintsort__(n, a.data());
    EXPECT_TRUE(std::is_sorted(a.begin(), a.end()));
    for (int i = 0; i < n; i++) a[i] = i % 2;
    iintsort__(n, a.data());
    EXPECT_TRUE(std::is_sorted(a.begin(), a.end()));
  }
}

// 100 keys, mostly 1 with some 0s: the descents are the 1->0 steps.
std::vector<int> KeysWithDescents(int descents) {
  std::vector<int> keys(100, 1);
  for (int d = 0; d < descents; d++) keys[19 + 20 * d] = 0;
  return keys;
}

TEST(Sort, FewDescentsUseInsertionSort) {
  auto keys = KeysWithDescents(4);  // 100 * 0.05 = 5.0 > 4
  auto viaKeysort = Pairs(keys), viaInsertion = Pairs(keys);
  ikeysort__(100, viaKeysort.data());
  ikeysort2__(100, viaInsertion.data());
  EXPECT_EQ(Vals(viaKeysort), Vals(viaInsertion));
}

TEST(Sort, FiveDescentsUseQuicksort) {
  auto keys = KeysWithDescents(5);  // 5.0 is not greater than 5
  auto viaKeysort = Pairs(keys), viaInsertion = Pairs(keys);
  ikeysort__(100, viaKeysort.data());
  ikeysort2__(100, viaInsertion.data());
  for (int i = 1; i < 100; i++) ASSERT_LE(viaKeysort[i - 1].key, viaKeysort[i].key);
  // Same keys, but the quicksort leaves the ties in another order than insertion would.
  EXPECT_NE(Vals(viaKeysort), Vals(viaInsertion));
}

TEST(Sort, DescendingKeepsValuesWithKeys) {
  std::vector<KeyValue> p = {{3, 10}, {1, 11}, {2, 12}};
  dkeysort__(3, p.data());
  EXPECT_EQ(p[0].key, 3);
  EXPECT_EQ(p[0].val, 10);
  EXPECT_EQ(p[1].key, 2);
  EXPECT_EQ(p[1].val, 12);
  EXPECT_EQ(p[2].key, 1);
  EXPECT_EQ(p[2].val, 11);
}

TEST(Sort, TiesAreLegal) {
  std::vector<KeyValue> p(30, KeyValue{5, 0});
  for (int i = 0; i < 30; i++) p[i].val = i;
  ikeysort__(30, p.data());
  dkeysort__(30, p.data());
  std::vector<int> v = Vals(p);
  std::sort(v.begin(), v.end());
  for (int i = 0; i < 30; i++) EXPECT_EQ(v[i], i);
}

}  // namespace
