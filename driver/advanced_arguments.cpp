// The tunable program's command line: every value is checked against its range here, before any
// file is read, so that a script learns of a typo at once and by the exit status.
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "driver/advanced.h"
#include "io/io.h"

#ifndef HYPRA_VERSION_STRING
#define HYPRA_VERSION_STRING "unknown"
#endif

namespace hypra {

namespace {

void PrintUsage(FILE *out, const char *program) {
  std::fprintf(out,
               "Usage: %s GraphFile Nparts UBfactor [--fix FILE] [--runs N] [--ctype C] "
               "[--rtype R]\n"
               "       [--vcycle V] [--reconst] [--seed S] [--dbglvl D] [--kway] [--out FILE]\n"
               "       [--threads N] [--imbalance EPS] [--format F] [--json FILE] [--progress]\n"
               "       [--preset P]\n"
               "   or: %s GraphFile Nparts --imbalance EPS [options]\n",
               program, program);
  std::fprintf(out, "Where:\n");
  std::fprintf(out, " GraphFile   : name of the hypergraph file\n");
  std::fprintf(out,
               " Nparts      : number of partitions desired, 2 up to the number of vertices\n");
  std::fprintf(out,
               " UBfactor    : balance, 1 to 49 (5 allows a 45-55 bisection; with --kway a part "
               "may weigh 1.05 x the average)\n");
  std::fprintf(out,
               " --imbalance EPS : every part weighs at most (1 + EPS) x ceil(W / Nparts), W the "
               "total\n"
               "               vertex weight, 0 < EPS < 1 (replaces UBfactor, which may then be "
               "left out)\n");
  std::fprintf(out,
               " --fix FILE  : pre-assignment of vertices to partitions (-1 = free); not with "
               "--kway\n");
  std::fprintf(out, " --runs N    : multilevel runs per bisection, or trials with --kway (10)\n");
  std::fprintf(out, " --ctype C   : coarsening, 1 HFC, 2 FC, 3 GFC, 4 HEDGE, 5 EDGE (1)\n");
  std::fprintf(out,
               " --rtype R   : refinement, 1 FM, 2 1WayFM, 3 EEFM; with --kway the objective, "
               "1 cut, 2 SOED (1)\n");
  std::fprintf(out,
               " --vcycle V  : 0 none, 1 on the best runs at the end, 2 for each new minimum, 3 "
               "always (1)\n");
  std::fprintf(out,
               " --reconst   : keep cut hyperedges, restricted to each side, when splitting\n");
  std::fprintf(out, " --seed S    : random seed; the same seed repeats the same run (clock)\n");
  std::fprintf(out, " --dbglvl D  : bit mask of diagnostic output (8)\n");
  std::fprintf(out, " --kway      : partition directly into Nparts parts instead of bisecting\n");
  std::fprintf(out,
               " --out FILE  : write the partition to FILE instead of GraphFile.part.P, P the "
               "largest part\n"
               "               number used plus one (Nparts unless a part is left empty)\n");
  std::fprintf(out,
               " --threads N : parallel mode on N threads: the same result for every N (and a\n"
               "               different one from the run without --threads)\n");
  std::fprintf(out,
               " --format F  : hgr, mtx-colnet, mtx-rownet or patoh (by extension: .mtx is "
               "mtx-colnet,\n"
               "               .patoh is patoh, anything else hgr)\n");
  std::fprintf(out, " --json FILE : also write the run's figures to FILE as one JSON object\n");
  std::fprintf(
      out,
      " --preset P  : default, or quality: recursive bisection with 2 to 4 runs per "
      "bisection\n"
      "               (unless --runs), then k-way refinement with k-way FM; for 3 to 8 "
      "parts the\n"
      "               recursion also coarsens within communities (twice up to 4 parts), "
      "the lowest\n"
      "               cuts refined, the best kept; with --kway, k-way FM on every level of the "
      "direct\n"
      "               path (default)\n");
  std::fprintf(out,
               " --progress  : show a progress line on standard error even when it is not a "
               "terminal\n");
  std::fprintf(out, " --version   : print the version\n");
  std::fprintf(out, " --help      : print this text\n");
  std::fprintf(out,
               "Exit status: 0 done, 1 bad input file, unwritable output or unmet bound, 2 bad "
               "command line\n");
}

[[noreturn]] void UsageError(const char *program, const char *format, ...)
    __attribute__((format(printf, 2, 3)));

void UsageError(const char *program, const char *format, ...) {
  std::fprintf(stderr, "%s: ", program);
  va_list args;
  va_start(args, format);
  std::vfprintf(stderr, format, args);
  va_end(args);
  std::fprintf(stderr, "\n");
  PrintUsage(stderr, program);
  std::exit(kExitUsage);
}

int ParseInt(const char *program, const char *name, const char *text) {
  char *end = nullptr;
  errno = 0;
  const long value = std::strtol(text, &end, 10);
  if (end == text || *end != '\0' || errno == ERANGE || value < INT_MIN || value > INT_MAX)
    UsageError(program, "%s expects an integer, got '%s'", name, text);
  return static_cast<int>(value);
}

// An integer option in lo..hi.
int ParseRange(const char *program, const char *name, const char *text, int lo, int hi) {
  const int value = ParseInt(program, name, text);
  if (value < lo || value > hi)
    UsageError(program, "%s should be between %d and %d, not %s", name, lo, hi, text);
  return value;
}

double ParseImbalance(const char *program, const char *text) {
  char *end = nullptr;
  errno = 0;
  const double value = std::strtod(text, &end);
  if (end == text || *end != '\0' || errno == ERANGE || !std::isfinite(value))
    UsageError(program, "--imbalance expects a number, got '%s'", text);
  if (value <= 0 || value >= 1)
    UsageError(program, "--imbalance should be above 0 and below 1, not %s", text);
  return value;
}

bool IsFlag(const char *arg) {
  return std::strncmp(arg, "--", 2) == 0 && arg[2] != '\0';
}

// Applies one flag that takes a value.
void ApplyValueFlag(const char *program, const char *flag, const char *value, AdvancedArgs *a) {
  if (std::strcmp(flag, "--fix") == 0) {
    a->fixfile = value;
  } else if (std::strcmp(flag, "--out") == 0) {
    a->outfile = value;
  } else if (std::strcmp(flag, "--json") == 0) {
    a->jsonfile = value;
  } else if (std::strcmp(flag, "--format") == 0) {
    a->format = FormatFromName(value);
    if (a->format < 0)
      UsageError(program, "--format is hgr, mtx-colnet, mtx-rownet or patoh, not '%s'", value);
  } else if (std::strcmp(flag, "--runs") == 0) {
    a->runs = ParseRange(program, flag, value, 1, INT_MAX);
    a->runs_given = true;
  } else if (std::strcmp(flag, "--ctype") == 0) {
    a->ctype = ParseRange(program, flag, value, 1, 5);
  } else if (std::strcmp(flag, "--rtype") == 0) {
    a->rtype = ParseRange(program, flag, value, 1, 3);
  } else if (std::strcmp(flag, "--vcycle") == 0) {
    a->vcycle = ParseRange(program, flag, value, 0, 3);
  } else if (std::strcmp(flag, "--dbglvl") == 0) {
    a->dbglvl = ParseRange(program, flag, value, 0, INT_MAX);
  } else if (std::strcmp(flag, "--threads") == 0) {
    a->threads = ParseRange(program, flag, value, 1, 4096);
  } else if (std::strcmp(flag, "--preset") == 0) {
    if (std::strcmp(value, "quality") == 0)
      a->quality = true;
    else if (std::strcmp(value, "default") == 0)
      a->quality = false;
    else
      UsageError(program, "--preset is default or quality, not '%s'", value);
  } else if (std::strcmp(flag, "--imbalance") == 0) {
    a->imbalance = ParseImbalance(program, value);
  } else {
    a->seed = ParseInt(program, flag, value);
    a->seeded = true;
  }
}

// Flags without a value; false when arg is none of them.
bool ApplySwitch(const char *program, const char *arg, AdvancedArgs *a) {
  if (std::strcmp(arg, "--help") == 0) {
    PrintUsage(stdout, program);
    std::exit(0);
  }
  if (std::strcmp(arg, "--version") == 0) {
    std::printf("hypra-advanced %s\n", HYPRA_VERSION_STRING);
    std::exit(0);
  }
  if (std::strcmp(arg, "--reconst") == 0) {
    a->reconst = 1;
  } else if (std::strcmp(arg, "--kway") == 0) {
    a->kway = true;
  } else if (std::strcmp(arg, "--progress") == 0) {
    a->progress = 1;
  } else {
    return false;
  }
  return true;
}

bool TakesValue(const char *arg) {
  static const char *const kWithValue[] = {
      "--fix", "--runs",    "--ctype",     "--rtype",  "--vcycle", "--seed",  "--dbglvl",
      "--out", "--threads", "--imbalance", "--format", "--json",   "--preset"};
  for (const char *flag : kWithValue)
    if (std::strcmp(arg, flag) == 0) return true;
  return false;
}

// Checks that need the whole command line.
void CheckCombinations(const char *program, const AdvancedArgs &a) {
  // The direct k-way path has two objectives; any other refinement code has nothing to refine.
  if (a.kway && a.rtype > 2)
    UsageError(program, "with --kway, --rtype is 1 (cut) or 2 (SOED), got %d", a.rtype);
  if (a.kway && a.fixfile != nullptr)
    UsageError(program, "--fix cannot be used with --kway: the direct path has no fixed vertices");
  if (a.jsonfile != nullptr && a.outfile != nullptr && std::strcmp(a.jsonfile, a.outfile) == 0)
    UsageError(program, "--json and --out name the same file '%s'", a.jsonfile);
}

}  // namespace

bool UsesDirectPath(const AdvancedArgs &a) {
  return a.kway;
}

AdvancedArgs ParseAdvancedArguments(int argc, char *argv[]) {
  AdvancedArgs a;
  const char *program = argc > 0 ? argv[0] : a.program;
  a.program = program;
  const char *positional[3];
  int npositional = 0;
  for (int i = 1; i < argc; i++) {
    const char *arg = argv[i];
    if (!IsFlag(arg)) {
      if (npositional == 3) UsageError(program, "unexpected argument '%s'", arg);
      positional[npositional++] = arg;
      continue;
    }
    if (ApplySwitch(program, arg, &a)) continue;
    if (!TakesValue(arg)) UsageError(program, "unknown option '%s'", arg);
    if (i + 1 >= argc) UsageError(program, "option '%s' needs a value", arg);
    ApplyValueFlag(program, arg, argv[++i], &a);
  }
  // UBfactor may be left out only when --imbalance states the balance instead.
  const int wanted = a.imbalance > 0 && npositional == 2 ? 2 : 3;
  if (npositional != wanted)
    UsageError(program, "expected GraphFile, Nparts and UBfactor, got %d of them", npositional);
  a.graphfile = positional[0];
  a.nparts = ParseRange(program, "Nparts", positional[1], 2, INT_MAX);
  if (npositional == 3) a.ubfactor = ParseRange(program, "UBfactor", positional[2], 1, 49);
  CheckCombinations(program, a);
  // The quality preset spends its time on k-way FM rather than on many runs per bisection.
  if (a.quality && !a.runs_given && !a.kway) a.runs = QualityRuns(a.nparts);
  return a;
}

}  // namespace hypra
