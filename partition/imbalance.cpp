// The bounded-imbalance mode: one absolute bound L on the weight of every final part, and the
// tolerance of each bisection of the recursion derived from it.
//
// Why the bound holds when every bisection meets its tolerance. A bisection of weight W' into k'
// parts (k1 = k'/2 on side 0, k2 = k' - k1 on side 1) starts with W' <= k' L; at the root this is
// W <= k ceil(W/k) <= k L. Let g = (k' L / W')^(1/d), d = ceil(log2 k') the bisection levels still
// ahead, and d_s = ceil(log2 k_s) those below side s. Side s may weigh up to
//   U_s = (k_s / k') W' g^(d - d_s),
// that is its proportional share with the growth of the levels it skips, at most (since
// d - d_s <= d) (k_s / k') W' g^d = k_s L. So every side starts its own recursion with
// W_s <= k_s L again, and a side holding one part weighs at most L. Spreading the slack as
// g per level leaves each later bisection the same relative freedom instead of spending it all
// on the first; a side that ends in one part (d_s = 0) may take the whole remaining slack.
//
// A bisection bounds each side from below, side 0 by (TargetFrac - u) W' and side 1 by
// (1 - TargetFrac - u) W', so side 1 weighs at most W' - min0 and side 0 at most W' - min1; u is
// the largest value that keeps both within U_s, less a margin for the single-precision rounding
// and the truncation of those bounds. When a bisection misses its tolerance anyway, the next
// ones adapt to the weights they actually receive, and the k-way rebalancer settles what remains.
#include <cmath>

#include "partition/partition.h"

namespace hypra {

namespace {

// The tolerance stays within what the two-way refiners handle: never zero (an exact split may
// not exist, and the refiners then need some room), never beyond the widest ubfactor.
constexpr double kMinTolerance = 1e-4;
constexpr double kMaxTolerance = 0.49;

int Levels(int nparts) {
  int d = 0;
  while ((1LL << d) < nparts) d++;
  return d;
}

// The most side s (holding kside of nparts parts) may weigh: its share grown by g per level it
// skips below the bisection.
double SideLimit(double total, int nparts, int kside, double g, int d) {
  return total * kside / nparts * std::pow(g, d - Levels(kside));
}

}  // namespace

int PartWeightBound__(long long total, int nparts, double imbalance) {
  const long long share = (total + nparts - 1) / nparts;
  // EPS x share rounded down, except that a product a rounding error below a whole number counts
  // as that number: 0.03 x 200 is 6, even where the double product reads 5.999...
  const double extra = imbalance * static_cast<double>(share);
  double whole = std::floor(extra);
  if (extra - whole > 1 - (1e-12 + 1e-13 * extra)) whole += 1;
  const long long bound = share + static_cast<long long>(whole);
  return bound > INT_MAX ? INT_MAX : static_cast<int>(bound);
}

float BisectionTolerance__(const PartCtrl *ctrl, const HGraph *graph, int nparts, int nleft) {
  long long sum = 0;
  for (int v = 0; v < graph->nvtxs; v++) sum += graph->cellwgt[v];
  const double total = static_cast<double>(sum);
  const double room = static_cast<double>(ctrl->MaxPartWgt) * nparts / total;
  if (!(sum > 0 && room > 1)) return static_cast<float>(kMinTolerance);

  const int d = Levels(nparts);
  const double g = std::pow(room, 1.0 / d);
  const double frac = ctrl->run->now.TargetFrac;
  const double margin = 1 + 1e-6 * total;
  const double u1 =
      frac - (total - SideLimit(total, nparts, nparts - nleft, g, d) + margin) / total;
  const double u0 = (1 - frac) - (total - SideLimit(total, nparts, nleft, g, d) + margin) / total;
  double u = u0 < u1 ? u0 : u1;
  if (!(u >= kMinTolerance)) u = kMinTolerance;
  if (u > kMaxTolerance) u = kMaxTolerance;
  return static_cast<float>(u);
}

}  // namespace hypra
