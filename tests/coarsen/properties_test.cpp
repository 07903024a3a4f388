// Invariants of whole coarsening hierarchies on generated and benchmark hypergraphs.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "coarsen/coarsen.h"
#include "common/test_run.h"
#include "test_graphs.h"

using namespace hypra;

namespace {

struct TopCopy {
  std::vector<int> netind, cellwgt, adjwgt, incptr, incind;
  explicit TopCopy(const HGraph *g)
      : netind(g->netind, g->netind + g->netptr[g->nhedges]),
        cellwgt(g->cellwgt, g->cellwgt + g->nvtxs),
        adjwgt(g->adjwgt, g->adjwgt + g->nvtxs),
        incptr(g->incptr, g->incptr + g->nvtxs + 1),
        incind(g->incind, g->incind + g->incptr[g->nvtxs]) {}
  bool operator==(const TopCopy &) const = default;
};

using testgraphs::MakeCtrl;

std::vector<int> CoarsePins(const HGraph *f, int h) {
  std::set<int> s;
  for (int j = f->netptr[h]; j < f->netptr[h + 1]; j++) s.insert(f->cellmap[f->netind[j]]);
  return std::vector<int>(s.begin(), s.end());
}

// Checks one finer/coarser pair after the whole hierarchy was built.
void CheckLevel(const HGraph *f, const HGraph *c) {
  const int ngroups = c->nvtxs + c->nislands;
  long long fw = 0, cw = 0;
  for (int v = 0; v < f->nvtxs; v++) fw += f->cellwgt[v];
  for (int v = 0; v < ngroups; v++) cw += c->cellwgt[v];
  EXPECT_EQ(fw, cw);

  // Every finer vertex lies in one coarse vertex, and each coarse vertex weighs what its
  // members do. (The groups and the hyperedge map of a level are gone once its coarser level is
  // built; the maps that stay must tell the same story.)
  std::vector<long long> members(ngroups, 0);
  for (int v = 0; v < f->nvtxs; v++) {
    ASSERT_TRUE(f->cellmap[v] >= 0 && f->cellmap[v] < ngroups) << "vertex " << v;
    members[f->cellmap[v]] += f->cellwgt[v];
  }
  for (int g = 0; g < ngroups; g++) EXPECT_EQ(members[g], c->cellwgt[g]) << "coarse vertex " << g;

  long long fn = f->lostwgt, cn = c->lostwgt;
  for (int e = 0; e < f->nhedges; e++) fn += f->netwgt[e];
  for (int e = 0; e < c->nhedges; e++) cn += c->netwgt[e];
  EXPECT_EQ(fn, cn);

  // A finer hyperedge with pins in two coarse vertices or more becomes the coarse hyperedge on
  // exactly those vertices, which carries the weight of all the finer ones that became it; one
  // with a single coarse pin vanishes.
  std::map<std::vector<int>, int> coarse;
  for (int e = 0; e < c->nhedges; e++) {
    std::vector<int> cp(c->netind + c->netptr[e], c->netind + c->netptr[e + 1]);
    std::sort(cp.begin(), cp.end());
    EXPECT_GE(cp.size(), 2u) << "coarse hyperedge " << e;
    ASSERT_TRUE(coarse.emplace(cp, e).second) << "coarse hyperedge " << e << " is a duplicate";
  }
  std::vector<long long> merged(c->nhedges, 0);
  for (int h = 0; h < f->nhedges; h++) {
    const std::vector<int> pins = CoarsePins(f, h);
    if (pins.size() == 1) continue;
    const auto it = coarse.find(pins);
    ASSERT_NE(it, coarse.end()) << "hyperedge " << h;
    merged[it->second] += f->netwgt[h];
  }
  for (int e = 0; e < c->nhedges; e++)
    EXPECT_EQ(merged[e], c->netwgt[e]) << "coarse hyperedge " << e;
}

void CheckHierarchy(HGraph *g, int ctype) {
  PartCtrl ctrl = MakeCtrl(ctype, g);
  const TopCopy before(g);
  testrun::Seed(ctype * 17 + 1);
  HGraph *coarsest = Coarsen__(&ctrl, g);
  EXPECT_LT(coarsest->nvtxs, g->nvtxs + g->nislands) << ctype;
  int levels = 0;
  for (HGraph *f = g; f->coarser; f = f->coarser, levels++) {
    EXPECT_EQ(f->coarser->level, f->level + 1);
    CheckLevel(f, f->coarser);
  }
  EXPECT_EQ(coarsest->level, levels);
  CombineIslands__(g);
  EXPECT_TRUE(TopCopy(g) == before);
  testgraphs::FreeChain(g);
}

TEST(CoarsenProperties, GeneratedHypergraphsEveryScheme) {
  for (int ctype = 1; ctype <= 7; ctype++) {
    HGraph *g = testgraphs::Random(3000, 3500, 6, ctype);
    // A few islands and a heavy vertex.
    CheckHierarchy(g, ctype);
  }
}

TEST(CoarsenProperties, GeneratedWithIslands) {
  for (int ctype = 1; ctype <= 7; ctype++) {
    std::vector<std::vector<int>> nets;
    for (int i = 0; i + 3 < 900; i += 3) nets.push_back({i, i + 3, i + 1});
    HGraph *g = testgraphs::Make(900, nets);  // vertices 3k+2 are islands
    CheckHierarchy(g, ctype);
  }
}

std::string BenchPath(const char *name) {
  return std::string(HYPRA_BENCH_DIR) + "/" + name;
}

TEST(CoarsenProperties, BenchHypergraphsEveryScheme) {
  for (int ctype = 1; ctype <= 7; ctype++) {
    HGraph *g = testgraphs::ReadBench(BenchPath(ctype % 2 ? "ibm01.hgr" : "ibm01.weight.hgr"));
    if (!g) GTEST_SKIP() << "benchmark hypergraphs absent from " << HYPRA_BENCH_DIR;
    CheckHierarchy(g, ctype);
  }
}

int Cut(const HGraph *g, const int *where) {
  int cut = 0;
  for (int e = 0; e < g->nhedges; e++) {
    for (int j = g->netptr[e] + 1; j < g->netptr[e + 1]; j++)
      if (where[g->netind[j]] != where[g->netind[g->netptr[e]]]) {
        cut += g->netwgt[e];
        break;
      }
  }
  return cut;
}

void CheckRestricted(HGraph *g, int ctype, unsigned seed) {
  PartCtrl ctrl = MakeCtrl(ctype, g);
  const int n = g->nvtxs;
  std::vector<int> where(n);
  unsigned x = seed;
  for (int v = 0; v < n; v++) {
    x = x * 1664525u + 1013904223u;
    where[v] = (x >> 16) & 1;
  }
  g->where = imalloc__(n, "test: where");
  std::copy(where.begin(), where.end(), g->where);
  testrun::Seed(seed);
  HGraph *coarsest = CCoarsen__(&ctrl, g);
  ASSERT_NE(coarsest, g);

  // Top level in its separated numbering.
  std::vector<int> w(n);
  for (int v = 0; v < n; v++) w[g->islandmap ? g->islandmap[v] : v] = where[v];
  for (HGraph *f = g; f->coarser; f = f->coarser) {
    const HGraph *c = f->coarser;
    std::vector<int> cw(c->nvtxs + c->nislands, -1);
    for (int v = 0; v < f->nvtxs; v++) {
      const int cv = f->cellmap[v];
      ASSERT_TRUE(cw[cv] == -1 || cw[cv] == w[v]) << "group mixes parts";
      cw[cv] = w[v];
    }
    EXPECT_EQ(Cut(f, w.data()), Cut(c, cw.data()));
    if (c == coarsest)
      EXPECT_EQ(cw, std::vector<int>(c->where, c->where + c->nvtxs + c->nislands));
    else
      EXPECT_EQ(c->where, nullptr);
    w = cw;
  }
  testgraphs::FreeChain(g);
}

TEST(CoarsenProperties, RestrictedKeepsTheCut) {
  for (int ctype : {0, 1})
    CheckRestricted(testgraphs::Random(3000, 3500, 6, 9 + ctype), ctype, 5 + ctype);
}

TEST(CoarsenProperties, RestrictedKeepsTheCutOnBench) {
  for (int ctype : {0, 1}) {
    HGraph *g = testgraphs::ReadBench(BenchPath("ibm02.hgr"));
    if (!g) GTEST_SKIP() << "benchmark hypergraph " << BenchPath("ibm02.hgr") << " absent";
    CheckRestricted(g, ctype, 7);
  }
}

TEST(CoarsenTiming, Ibm10HeavyFirst) {
  HGraph *g = testgraphs::ReadBench(BenchPath("ibm10.hgr"));
  if (!g) GTEST_SKIP() << "benchmark hypergraphs absent from " << HYPRA_BENCH_DIR;
  PartCtrl ctrl = MakeCtrl(1, g);
  const int pins = g->netptr[g->nhedges];
  testrun::Seed(1);
  const double start = seconds__();
  HGraph *c = Coarsen__(&ctrl, g);
  const double elapsed = seconds__() - start;
  std::printf(
      "ibm10: %d vertices, %d hyperedges, %d pins coarsened to %d vertices in %d levels: "
      "%.3f s\n",
      g->nvtxs + g->nislands, g->nhedges, pins, c->nvtxs, c->level, elapsed);
  EXPECT_LE(c->nvtxs, ctrl.run->now.CoarsenTo * 2);
  testgraphs::FreeChain(g);
}

}  // namespace
