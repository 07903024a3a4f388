// Coarsening drivers: repeated grouping steps until the hypergraph is small enough or stalls,
// with and without a partition that every level must keep representable.
#include "coarsen/coarsen.h"

#include <algorithm>
#include <cstdio>

#include "coarsen/grouping.h"

namespace hypra {

namespace {

// Scratch lent to every grouping step, sized once for the first (largest) level.
struct Scratch {
  int *htable;
  int *perm;
  KeyValue *vpairs;
};

Scratch AllocateScratch(const HGraph *graph) {
  const int n = std::max({graph->nvtxs, graph->nhedges, 0});
  Scratch s;
  s.htable = ismalloc__(2LL * n, -1, "Coarsen: htable");
  s.perm = imalloc__(n, "Coarsen: perm");
  s.vpairs = static_cast<KeyValue *>(RVmalloc__(sizeof(KeyValue) * n, "Coarsen: vpairs"));
  return s;
}

void FreeScratch(Scratch &s) {
  RVfree__(&s.htable, &s.perm, &s.vpairs);
}

void PrintLevel(const PartCtrl *ctrl, const HGraph *graph) {
  const int nvtxs = graph->nvtxs, nhedges = graph->nhedges;
  const int netsum = iasum__(nhedges, graph->netwgt);
  const double dv = nvtxs, dh = nhedges;
  Printf__(ctrl, "[%6d %6d %6.2f %6.2f %6.2f %6.2f, %6d %6d %6d %6.2f]\n", nvtxs, nhedges,
           graph->incptr[nvtxs] / dv, graph->netptr[nhedges] / dh, dh / dv,
           NumOfLargeNets__(nhedges, graph->netptr) / dv, netsum, graph->lostwgt,
           netsum + graph->lostwgt, netsum / dv);
}

void PrintSlowProgress(const PartCtrl *ctrl, int nvtxs) {
  Printf__(ctrl, "\nSlow progress in coarsening. Aborted at %d nodes\n", nvtxs);
  Printf__(ctrl, "\n");
}

// The grouping schemes, by CType. Codes 1 to 5 are the ones a caller may choose; 6 and 7 are the
// hyperedge-only variants kept for the engine's own use. The hyperedge schemes fall back to plain
// pairs once progress has been slow.
using GroupStep = void (*)(const PartCtrl *ctrl, HGraph *graph, Scratch &s, int built, bool slow);

struct SchemeEntry {
  int ctype;
  const char *name;
  GroupStep group;
};

template <void (*Hedges)(const PartCtrl *, HGraph *, int *, int *, KeyValue *)>
void HedgesUntilSlow(const PartCtrl *ctrl, HGraph *graph, Scratch &s, int, bool slow) {
  if (slow)
    Match_Edges__(ctrl, graph, s.perm, s.htable, s.vpairs);
  else
    Hedges(ctrl, graph, s.perm, s.htable, s.vpairs);
}

constexpr SchemeEntry kSchemes[] = {
    // Connection strength for the first four levels built, degree from then on.
    {1, "HFC",
     [](const PartCtrl *ctrl, HGraph *graph, Scratch &s, int built, bool) {
       Match_EdgesStars__(ctrl, graph, s.perm, s.htable, s.vpairs, built < 4 ? 1 : 0);
     }},
    {2, "FC",
     [](const PartCtrl *ctrl, HGraph *graph, Scratch &s, int, bool) {
       Match_EdgesStars__(ctrl, graph, s.perm, s.htable, s.vpairs, 0);
     }},
    {3, "GFC",
     [](const PartCtrl *ctrl, HGraph *graph, Scratch &s, int, bool) {
       Match_EdgesStars__(ctrl, graph, s.perm, s.htable, s.vpairs, 1);
     }},
    {4, "HEDGE", HedgesUntilSlow<Match_Hedges_PHedges_Edges__>},
    {5, "EDGE",
     [](const PartCtrl *ctrl, HGraph *graph, Scratch &s, int, bool) {
       Match_Edges__(ctrl, graph, s.perm, s.htable, s.vpairs);
     }},
    {6, "HEDGE-ONLY", HedgesUntilSlow<Match_Hedges__>},
    {7, "HEDGE-EDGE", HedgesUntilSlow<Match_Hedges_Edges__>},
};
constexpr int kPublicSchemes = 5;  // codes 1 .. 5

const SchemeEntry *FindScheme(int ctype) {
  for (const SchemeEntry &entry : kSchemes)
    if (entry.ctype == ctype) return &entry;
  return nullptr;
}

// Runs the scheme that CType selects for the current level.
void GroupLevel(const PartCtrl *ctrl, HGraph *graph, Scratch &s, int built, bool slow) {
  const SchemeEntry *scheme = FindScheme(ctrl->run->now.CType);
  if (scheme == nullptr) errexit__("Unknown matching type! %d\n", ctrl->run->now.CType);
  scheme->group(ctrl, graph, s, built, slow);
}

// What only the grouping of a level and the building of its coarser level read: the groups
// (mptr, mind), the hyperedge map and the rating weights. Uncoarsening needs none of them, and
// held on every level they would stay alive through the whole hierarchy. The first level's
// rating weights may belong to the caller's hypergraph, so they stay.
void ReleaseGroupingWork(HGraph *level) {
  RVfree__(&level->mptr, &level->mind, &level->netmap);
  if (level->level > 0) RVfree__(&level->edgewgt);
}

// Builds one coarser level from current and gives it its number; returns it.
template <typename Step>
HGraph *NextLevel(const PartCtrl *ctrl, HGraph *current, int built, Step step) {
  SeparateIslands__(current);
  step(current);
  ReleaseGroupingWork(current);
  HGraph *coarser = current->coarser;
  coarser->level = built;
  if (ctrl->run->now.dbglvl & DBG_COARSEN) PrintLevel(ctrl, coarser);
  return coarser;
}

// The next level's communities: each group lies within one, which it takes.
void PassCommunities(HGraph *level) {
  if (level->community == nullptr) return;
  HGraph *coarser = level->coarser;
  coarser->community = imalloc__(coarser->nvtxs, "Coarsen: community");
  for (int v = 0; v < level->nvtxs; v++)
    coarser->community[level->cellmap[v]] = level->community[v];
  RVfree__(&level->community);
}

const char kLongRule[] = "----------------------------------------------------------\n";
const char kShortRule[] = "-----------------------------------\n";

}  // namespace

bool CoarseningProgress__(int c, int f, float ratio) {
  return !(static_cast<float>(c) > ratio * static_cast<float>(f)) && c != f;
}

int NumOfLargeNets__(int nhedges, const int *netptr) {
  int count = 0;
  for (int e = 0; e < nhedges; e++)
    if (netptr[e + 1] - netptr[e] >= 4) count++;
  return count;
}

HGraph *Coarsen__(const PartCtrl *ctrl, HGraph *graph, const int *community) {
  starttimer__(ctrl, ctrl->run->time.CoarsenTmr);
  Scratch s = AllocateScratch(graph);
  graph->level = 0;
  // The coarsening's own copy: the islands of each level are moved behind its other vertices.
  if (community != nullptr)
    graph->community =
        icopy__(graph->nvtxs, community, imalloc__(graph->nvtxs, "Coarsen: community"));
  if (ctrl->run->now.dbglvl & DBG_COARSEN) {
    Printf__(ctrl, "%s", kLongRule);
    PrintLevel(ctrl, graph);
  }

  HGraph *current = graph;
  int built = 0;
  bool slow = false;
  float ratio = 0.8f;
  while (ctrl->run->now.CoarsenTo < current->nvtxs) {
    current = NextLevel(ctrl, current, built + 1, [&](HGraph *level) {
      starttimer__(ctrl, ctrl->run->time.AuxTmr1);
      GroupLevel(ctrl, level, s, built, slow);
      PassCommunities(level);
      stoptimer__(ctrl, ctrl->run->time.AuxTmr1);
    });
    built++;
    if (CoarseningProgress__(current->nvtxs, current->finer->nvtxs, ratio)) continue;
    if (current->community != nullptr) {
      // The communities are as coarse as they get; from here vertices group freely.
      RVfree__(&current->community);
      continue;
    }
    if (slow || ctrl->run->now.CType == 5) {
      if (ctrl->run->now.dbglvl & DBG_COARSEN) PrintSlowProgress(ctrl, current->nvtxs);
      FreeScratch(s);
      stoptimer__(ctrl, ctrl->run->time.CoarsenTmr);
      return current;
    }
    if (ctrl->run->now.dbglvl & DBG_COARSEN) Printf__(ctrl, "%s", kShortRule);
    ratio = static_cast<float>(ratio * 1.075);
    slow = true;
  }

  if (ctrl->run->now.dbglvl & DBG_COARSEN) Printf__(ctrl, "\n");
  RVfree__(&current->community);
  FreeScratch(s);
  stoptimer__(ctrl, ctrl->run->time.CoarsenTmr);
  return current;
}

HGraph *CCoarsen__(const PartCtrl *ctrl, HGraph *graph) {
  starttimer__(ctrl, ctrl->run->time.CoarsenTmr);
  Scratch s = AllocateScratch(graph);
  graph->level = 0;
  if (ctrl->run->now.dbglvl & DBG_COARSEN) {
    Printf__(ctrl, "%s", kLongRule);
    PrintLevel(ctrl, graph);
  }

  HGraph *current = graph;
  int built = 0;
  while (ctrl->run->now.CoarsenTo < current->nvtxs) {
    current = NextLevel(ctrl, current, built + 1, [&](HGraph *level) {
      switch (ctrl->run->now.CType) {
        case 0:
          CMatch_EdgesStars__(ctrl, level, level->where, s.perm, s.htable, s.vpairs);
          break;
        case 1:
          CMatch_Edges__(ctrl, level, level->where, s.perm, s.htable, s.vpairs);
          break;
        default:
          errexit__("Unknown matching type! %d\n", ctrl->run->now.CType);
      }
      // Groups never mix parts, so each coarse vertex takes the part of its members.
      HGraph *coarser = level->coarser;
      int *cwhere = imalloc__(coarser->nvtxs, "CCoarsen: cwhere");
      for (int v = 0; v < level->nvtxs; v++) cwhere[level->cellmap[v]] = level->where[v];
      RVfree__(&level->where);
      coarser->where = cwhere;
    });
    built++;
    if (!CoarseningProgress__(current->nvtxs, current->finer->nvtxs, 0.8f)) {
      if (ctrl->run->now.dbglvl & DBG_COARSEN) PrintSlowProgress(ctrl, current->nvtxs);
      FreeScratch(s);
      stoptimer__(ctrl, ctrl->run->time.CoarsenTmr);
      return current;
    }
  }

  if (ctrl->run->now.dbglvl & DBG_COARSEN) Printf__(ctrl, "\n");
  FreeScratch(s);
  stoptimer__(ctrl, ctrl->run->time.CoarsenTmr);
  return current;
}

bool IsCoarseningScheme__(int ctype) {
  return ctype >= 1 && ctype <= kPublicSchemes;
}

const char *CoarseningSchemeName__(int ctype) {
  const SchemeEntry *scheme = IsCoarseningScheme__(ctype) ? FindScheme(ctype) : nullptr;
  return scheme != nullptr ? scheme->name : "??";
}

}  // namespace hypra
