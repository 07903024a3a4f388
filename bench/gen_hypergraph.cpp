// Writes a circuit-like hypergraph in the program's input format, the same file for the same
// arguments on every platform (the generator is our own, not the C library's).
//
//   gen_hypergraph PINS [--seed S] [--fmt F] [--out FILE]
//
// The netlist model: cells sit on a square grid in row order; every net has a driver cell and
// picks its other pins near the driver, at a distance that grows with the net's size, with the
// odd pin from anywhere on the chip. Net sizes are mostly 2 to 5 pins with a long tail up to
// 60; about one net in 20,000 is a global net of 1,000 to 5,000 pins; a few hub cells (one in
// 50,000) join one net in 25, so their degree runs into the thousands. About 4.3 pins per cell and
// 1.1 nets per cell, as in real netlists. fmt 1 adds hyperedge weights (mostly 1), fmt 10 cell
// areas (mostly small, pads weigh 0, a few macros are huge), fmt 11 both.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

// splitmix64: small, fast and identical everywhere.
struct Rng {
  uint64_t state;
  uint64_t Next() {
    uint64_t z = (state += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  // Uniform in [0, n).
  int64_t Below(int64_t n) { return static_cast<int64_t>(Next() % static_cast<uint64_t>(n)); }
  double Unit() { return static_cast<double>(Next() >> 11) * 0x1.0p-53; }
};

struct Options {
  long long pins = 0;
  uint64_t seed = 1;
  int fmt = 0;
  const char *out = nullptr;
};

[[noreturn]] void Usage(const char *program) {
  std::fprintf(stderr, "Usage: %s PINS [--seed S] [--fmt 0|1|10|11] [--out FILE]\n", program);
  std::exit(2);
}

long long ParseNumber(const char *program, const char *text) {
  char *end = nullptr;
  errno = 0;
  const long long value = std::strtoll(text, &end, 10);
  if (end == text || *end != '\0' || errno == ERANGE || value < 0) Usage(program);
  return value;
}

Options ParseOptions(int argc, char **argv) {
  Options opt;
  if (argc < 2) Usage(argv[0]);
  opt.pins = ParseNumber(argv[0], argv[1]);
  for (int i = 2; i < argc; i++) {
    if (i + 1 >= argc) Usage(argv[0]);
    if (std::strcmp(argv[i], "--seed") == 0)
      opt.seed = static_cast<uint64_t>(ParseNumber(argv[0], argv[++i]));
    else if (std::strcmp(argv[i], "--fmt") == 0)
      opt.fmt = static_cast<int>(ParseNumber(argv[0], argv[++i]));
    else if (std::strcmp(argv[i], "--out") == 0)
      opt.out = argv[++i];
    else
      Usage(argv[0]);
  }
  if (opt.pins < 100 || opt.pins > 1'000'000'000 ||
      (opt.fmt != 0 && opt.fmt != 1 && opt.fmt != 10 && opt.fmt != 11))
    Usage(argv[0]);
  return opt;
}

// Size of an ordinary net: 2 to 5 pins most of the time, then a geometric tail up to 60.
int OrdinaryNetSize(Rng &rng) {
  const double u = rng.Unit();
  if (u < 0.58) return 2;
  if (u < 0.74) return 3;
  if (u < 0.82) return 4;
  if (u < 0.87) return 5;
  int size = 6;
  while (size < 60 && rng.Unit() < 0.86) size++;
  return size;
}

struct Chip {
  int64_t ncells;
  int64_t side;  // grid width
  std::vector<int64_t> hubs;
};

// A cell near `driver`, within `radius` grid steps in each direction.
int64_t NearbyCell(const Chip &chip, Rng &rng, int64_t driver, int64_t radius) {
  const int64_t row = driver / chip.side, col = driver % chip.side;
  const int64_t r = std::clamp(row + rng.Below(2 * radius + 1) - radius, int64_t{0},
                               (chip.ncells - 1) / chip.side);
  const int64_t c = std::clamp(col + rng.Below(2 * radius + 1) - radius, int64_t{0}, chip.side - 1);
  return std::min(r * chip.side + c, chip.ncells - 1);
}

// Fills `pins` with `size` distinct cells for a net driven by `driver`.
void PickPins(const Chip &chip, Rng &rng, int64_t driver, int size, bool global,
              std::vector<int64_t> &pins, std::vector<int64_t> &stamp, int64_t net) {
  pins.clear();
  auto add = [&](int64_t cell) {
    if (stamp[cell] == net) return false;
    stamp[cell] = net;
    pins.push_back(cell);
    return true;
  };
  add(driver);
  const int64_t radius = 1 + static_cast<int64_t>(std::sqrt(static_cast<double>(size)) * 2.0);
  int attempts = 0;
  while (static_cast<int>(pins.size()) < size && attempts < 50 * size) {
    attempts++;
    int64_t cell;
    if (global || rng.Unit() < 0.01)
      cell = rng.Below(chip.ncells);
    else
      cell = NearbyCell(chip, rng, driver, radius);
    add(cell);
  }
  // Hub cells (clock and reset buffers, say) join about one net in 25.
  if (!chip.hubs.empty() && rng.Unit() < 1.0 / 25.0)
    add(chip.hubs[static_cast<size_t>(rng.Below(static_cast<int64_t>(chip.hubs.size())))]);
}

int CellArea(Rng &rng) {
  const double u = rng.Unit();
  if (u < 0.02) return 0;                                          // pads
  if (u < 0.9995) return 1 + static_cast<int>(rng.Below(12)) * 8;  // standard cells
  return 2000 + static_cast<int>(rng.Below(20000));                // macros
}

int NetWeight(Rng &rng) {
  const double u = rng.Unit();
  if (u < 0.85) return 1;
  if (u < 0.97) return 2 + static_cast<int>(rng.Below(3));
  return 5 + static_cast<int>(rng.Below(20));
}

}  // namespace

int main(int argc, char **argv) {
  const Options opt = ParseOptions(argc, argv);
  Rng rng{opt.seed * 0x2545F4914F6CDD1Dull + 12345};

  Chip chip;
  chip.ncells = std::max<int64_t>(8, opt.pins * 10 / 43);
  chip.side =
      std::max<int64_t>(1, static_cast<int64_t>(std::sqrt(static_cast<double>(chip.ncells))));
  const int64_t nhubs = 1 + chip.ncells / 50000;
  for (int64_t i = 0; i < nhubs; i++) chip.hubs.push_back(rng.Below(chip.ncells));

  // Nets are generated until the pin budget is spent; they are kept in memory because the
  // header needs their count.
  std::vector<int64_t> netptr{0};
  std::vector<int32_t> netind;
  netind.reserve(static_cast<size_t>(opt.pins + 64));
  std::vector<int64_t> stamp(static_cast<size_t>(chip.ncells), -1);
  std::vector<int64_t> pins;
  // Every cell drives at least one net, in a shuffled order, so no cell is left unconnected.
  std::vector<int64_t> order(static_cast<size_t>(chip.ncells));
  for (int64_t i = 0; i < chip.ncells; i++) order[static_cast<size_t>(i)] = i;
  for (int64_t i = chip.ncells - 1; i > 0; i--)
    std::swap(order[static_cast<size_t>(i)], order[static_cast<size_t>(rng.Below(i + 1))]);
  int64_t net = 0;
  while (static_cast<long long>(netind.size()) < opt.pins) {
    const int64_t driver =
        net < chip.ncells ? order[static_cast<size_t>(net)] : rng.Below(chip.ncells);
    const bool global = rng.Below(20000) == 0 && chip.ncells > 4000;
    const int size = global ? 1000 + static_cast<int>(rng.Below(4001)) : OrdinaryNetSize(rng);
    PickPins(chip, rng, driver, std::min<int64_t>(size, chip.ncells), global, pins, stamp, net);
    if (pins.size() >= 2) {
      for (int64_t p : pins) netind.push_back(static_cast<int32_t>(p + 1));
      netptr.push_back(static_cast<int64_t>(netind.size()));
      net++;
    }
  }

  FILE *out = opt.out != nullptr ? std::fopen(opt.out, "w") : stdout;
  if (out == nullptr) {
    std::perror(opt.out);
    return 1;
  }
  const int64_t nnets = static_cast<int64_t>(netptr.size()) - 1;
  std::fprintf(out, "%% circuit-like hypergraph: gen_hypergraph %lld --seed %llu --fmt %d\n",
               opt.pins, static_cast<unsigned long long>(opt.seed), opt.fmt);
  if (opt.fmt == 0)
    std::fprintf(out, "%lld %lld\n", static_cast<long long>(nnets),
                 static_cast<long long>(chip.ncells));
  else
    std::fprintf(out, "%lld %lld %d\n", static_cast<long long>(nnets),
                 static_cast<long long>(chip.ncells), opt.fmt);
  for (int64_t e = 0; e < nnets; e++) {
    if (opt.fmt % 10 == 1) std::fprintf(out, "%d ", NetWeight(rng));
    for (int64_t i = netptr[static_cast<size_t>(e)]; i < netptr[static_cast<size_t>(e) + 1]; i++)
      std::fprintf(out, i + 1 < netptr[static_cast<size_t>(e) + 1] ? "%d " : "%d\n",
                   netind[static_cast<size_t>(i)]);
  }
  if (opt.fmt >= 10)
    for (int64_t v = 0; v < chip.ncells; v++) std::fprintf(out, "%d\n", CellArea(rng));
  if (out != stdout && std::fclose(out) != 0) {
    std::perror(opt.out);
    return 1;
  }
  return 0;
}
