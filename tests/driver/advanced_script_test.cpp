// The tunable program as scripts use it: exit statuses that tell failure from success, a command
// line checked before any file is read, the imbalance users state, the sparse-matrix formats, a
// JSON report whose numbers match the partition file, and a progress line only where wanted.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "driver_test_util.h"

namespace {

using driver_test::ReadFile;
using driver_test::ReadParts;
using driver_test::RunAdvanced;
using driver_test::RunProgram;
using driver_test::RunResult;
using driver_test::ScratchDir;
using driver_test::WithoutTimes;

// A grid-like netlist of n vertices: each hyperedge joins a vertex with its next neighbours, so
// that good partitions exist and every vertex has pins. Weights (fmt 11) when weighted.
struct Netlist {
  int nvtxs = 0;
  std::vector<std::vector<int>> hedges;  // 0-based pins
  std::vector<int> hwgt, vwgt;
};

Netlist MakeNetlist(int n, bool weighted) {
  Netlist h;
  h.nvtxs = n;
  for (int i = 0; i < n; i++) {
    h.hedges.push_back({i, (i + 1) % n, (i + 11) % n});
    h.hwgt.push_back(weighted ? 1 + i % 4 : 1);
  }
  for (int v = 0; v < n; v++) h.vwgt.push_back(weighted ? 1 + (v * 7) % 5 : 1);
  return h;
}

std::string HgrText(const Netlist &h, bool weighted) {
  std::ostringstream s;
  s << h.hedges.size() << " " << h.nvtxs << (weighted ? " 11" : "") << "\n";
  for (size_t e = 0; e < h.hedges.size(); e++) {
    if (weighted) s << h.hwgt[e] << " ";
    for (size_t j = 0; j < h.hedges[e].size(); j++) s << (j ? " " : "") << h.hedges[e][j] + 1;
    s << "\n";
  }
  if (weighted)
    for (int w : h.vwgt) s << w << "\n";
  return s.str();
}

struct Figures {
  long long cut = 0, soed = 0, km1 = 0, maxpart = 0, total = 0;
  std::vector<long long> pwgts;
  double imbalance = 0;
};

Figures Recompute(const Netlist &h, const std::vector<int> &part, int k) {
  Figures f;
  f.pwgts.assign(k, 0);
  for (int v = 0; v < h.nvtxs; v++) {
    f.pwgts[part[v]] += h.vwgt[v];
    f.total += h.vwgt[v];
  }
  for (size_t e = 0; e < h.hedges.size(); e++) {
    std::set<int> parts;
    for (int v : h.hedges[e]) parts.insert(part[v]);
    const long long n = static_cast<long long>(parts.size());
    if (n > 1) {
      f.cut += h.hwgt[e];
      f.soed += n * h.hwgt[e];
      f.km1 += (n - 1) * h.hwgt[e];
    }
  }
  f.maxpart = *std::max_element(f.pwgts.begin(), f.pwgts.end());
  const long long even = (f.total + k - 1) / k;
  f.imbalance = static_cast<double>(f.maxpart) / even - 1;
  return f;
}

// The number after "name": in a JSON text.
std::string JsonField(const std::string &json, const std::string &name) {
  std::smatch m;
  const std::regex re("\"" + name + "\": ([^,\\n]+)");
  if (!std::regex_search(json, m, re)) return "";
  return m[1];
}

TEST(AdvancedScript, BadCommandLinesEndWithStatus2BeforeAnyFileIsRead) {
  ScratchDir dir;
  // The hypergraph file does not exist: each mistake must be found before it is opened.
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {{"missing.hgr", "2", "5", "--runs", "0"}, "--runs should be between 1 and"},
      {{"missing.hgr", "2", "5", "--ctype", "9"}, "--ctype should be between 1 and 5, not 9"},
      {{"missing.hgr", "2", "5", "--rtype", "4"}, "--rtype should be between 1 and 3, not 4"},
      {{"missing.hgr", "2", "5", "--vcycle", "4"}, "--vcycle should be between 0 and 3, not 4"},
      {{"missing.hgr", "1", "5"}, "Nparts should be between 2 and"},
      {{"missing.hgr", "2", "50"}, "UBfactor should be between 1 and 49, not 50"},
      {{"missing.hgr", "2", "0"}, "UBfactor should be between 1 and 49, not 0"},
      {{"missing.hgr", "2", "--imbalance", "0"}, "--imbalance should be above 0 and below 1"},
      {{"missing.hgr", "2", "--imbalance", "1"}, "--imbalance should be above 0 and below 1"},
      {{"missing.hgr", "2", "--imbalance", "3%"}, "--imbalance expects a number, got '3%'"},
      {{"missing.hgr", "2", "5", "--format", "csv"}, "--format is hgr, mtx-colnet"},
      {{"missing.hgr", "2", "5", "--kway", "--fix", "f"}, "--fix cannot be used with --kway"},
      {{"missing.hgr", "2", "5", "--kway", "--rtype", "3"}, "with --kway, --rtype is 1"},
      {{"missing.hgr", "2"}, "expected GraphFile, Nparts and UBfactor, got 2 of them"},
  };
  for (const auto &[args, message] : cases) {
    SCOPED_TRACE(message);
    const RunResult r = RunAdvanced(args, dir.path);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.out, "");
    EXPECT_NE(r.err.find(message), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find("missing.hgr"), std::string::npos) << r.err;
  }
}

TEST(AdvancedScript, VersionIsPrinted) {
  const RunResult r = RunAdvanced({"--version"}, HYPRA_BINARY_DIR);
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(std::regex_match(r.out, std::regex("hypra-advanced [0-9]+\\.[0-9]+\\.[0-9]+\n")))
      << r.out;
}

TEST(AdvancedScript, BadInputFilesEndWithStatus1NamingFileAndLine) {
  ScratchDir dir;
  dir.Write("g.hgr", HgrText(MakeNetlist(40, false), false));
  const std::vector<std::tuple<std::string, std::string, std::vector<std::string>, std::string>>
      cases = {
          {"fmt7.hgr", "2 3 7\n1 2\n2 3\n", {}, "fmt7.hgr:1:"},
          {"stray.hgr", "2 3\n1 2\n2 3 x\n", {}, "stray.hgr:3:"},
          {"pin.hgr", "2 3\n1 2\n2 4\n", {}, "pin.hgr:3:"},
          {"short.hgr", "3 3\n1 2\n2 3\n", {}, "short.hgr"},
          {"weight.hgr", "2 3 1\n0 1 2\n1 2 3\n", {}, "weight.hgr:2:"},
          {"few.hgr", "2 3\n1 2\n2 3\n", {"--imbalance", "0.1"}, "fewer than the 4 parts"},
      };
  for (const auto &[name, text, extra, message] : cases) {
    SCOPED_TRACE(name);
    dir.Write(name, text);
    std::vector<std::string> args = {name, "4", "5"};
    if (!extra.empty()) args = {name, "4", extra[0], extra[1]};
    const RunResult r = RunAdvanced(args, dir.path);
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find(message), std::string::npos) << r.err;
    EXPECT_FALSE(std::filesystem::exists(dir.File(name + ".part.4")));
  }
  // A fix file with too few entries, and one with a part outside the range.
  dir.Write("few.fix", "-1\n0\n1\n");
  RunResult r = RunAdvanced({"g.hgr", "2", "5", "--fix", "few.fix"}, dir.path);
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("few.fix"), std::string::npos) << r.err;
  std::string fix;
  for (int v = 0; v < 40; v++) fix += v == 17 ? "2\n" : "-1\n";
  dir.Write("range.fix", fix);
  r = RunAdvanced({"g.hgr", "2", "5", "--fix", "range.fix"}, dir.path);
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("range.fix:18:"), std::string::npos) << r.err;
  // A file that does not exist.
  r = RunAdvanced({"nothing.hgr", "2", "5"}, dir.path);
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("nothing.hgr"), std::string::npos) << r.err;
}

TEST(AdvancedScript, ImbalanceBoundHoldsAndIsReported) {
  ScratchDir dir;
  for (bool weighted : {false, true}) {
    const Netlist h = MakeNetlist(400, weighted);
    dir.Write("g.hgr", HgrText(h, weighted));
    for (int k : {2, 3, 7, 16}) {
      for (const char *eps : {"0.01", "0.03", "0.1"}) {
        for (bool kway : {false, true}) {
          SCOPED_TRACE(std::string(weighted ? "weighted" : "unit") + " k=" + std::to_string(k) +
                       " eps=" + eps + (kway ? " kway" : ""));
          std::vector<std::string> args = {
              "g.hgr", std::to_string(k), "--imbalance", eps,      "--seed", "3", "--runs",
              "2",     "--out",           "g.part",      "--json", "g.json"};
          if (kway) args.push_back("--kway");
          const RunResult r = RunAdvanced(args, dir.path);
          ASSERT_EQ(r.status, 0) << r.err;
          const Figures f = Recompute(h, ReadParts(dir.File("g.part")), k);
          const long long bound =
              static_cast<long long>((1 + std::stod(eps)) * ((f.total + k - 1) / k) * (1 + 1e-12));
          EXPECT_LE(f.maxpart, bound);
          const std::string json = ReadFile(dir.File("g.json"));
          EXPECT_EQ(JsonField(json, "max_part_weight_bound"), std::to_string(bound));
          EXPECT_NEAR(std::stod(JsonField(json, "imbalance")), f.imbalance, 1e-12);
          EXPECT_NE(r.out.find("#Parts: " + std::to_string(k) + ", Imbalance: " + eps +
                               " (every part at most " + std::to_string(bound) + ")\n"),
                    std::string::npos)
              << r.out;
          EXPECT_NE(r.out.find("; at most " + std::string(eps) + ", a part at most " +
                               std::to_string(bound) + ")"),
                    std::string::npos);
        }
      }
    }
  }
}

TEST(AdvancedScript, UnmeetableBoundEndsWithStatus1) {
  ScratchDir dir;
  Netlist h = MakeNetlist(40, true);
  h.vwgt[5] = 100;  // heavier than any part may weigh
  dir.Write("g.hgr", HgrText(h, true));
  const RunResult r = RunAdvanced({"g.hgr", "4", "--imbalance", "0.05"}, dir.path);
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("cannot be met"), std::string::npos) << r.err;
  EXPECT_FALSE(std::filesystem::exists(dir.File("g.hgr.part.4")));
}

TEST(AdvancedScript, JsonNumbersMatchThePartitionFile) {
  ScratchDir dir;
  const Netlist h = MakeNetlist(300, true);
  dir.Write("g.hgr", HgrText(h, true));
  for (bool kway : {false, true}) {
    std::vector<std::string> args = {"g.hgr", "5",      "5",      "--seed", "1",
                                     "--out", "g.part", "--json", "g.json"};
    if (kway) args.push_back("--kway");
    const RunResult r = RunAdvanced(args, dir.path);
    ASSERT_EQ(r.status, 0) << r.err;
    const Figures f = Recompute(h, ReadParts(dir.File("g.part")), 5);
    const std::string json = ReadFile(dir.File("g.json"));
    EXPECT_EQ(JsonField(json, "cut"), std::to_string(f.cut));
    EXPECT_EQ(JsonField(json, "soed"), std::to_string(f.soed));
    EXPECT_EQ(JsonField(json, "km1"), std::to_string(f.km1));
    EXPECT_EQ(JsonField(json, "vertices"), "300");
    EXPECT_EQ(JsonField(json, "hyperedges"), "300");
    EXPECT_EQ(JsonField(json, "pins"), "900");
    EXPECT_EQ(JsonField(json, "k"), "5");
    EXPECT_EQ(JsonField(json, "seed"), "1");
    EXPECT_EQ(JsonField(json, "method"), kway ? "\"direct\"" : "\"recursive\"");
    EXPECT_EQ(JsonField(json, "format"), "\"hgr\"");
    EXPECT_NEAR(std::stod(JsonField(json, "imbalance")), f.imbalance, 1e-12);
    std::string weights = "[";
    for (int p = 0; p < 5; p++) weights += (p ? ", " : "") + std::to_string(f.pwgts[p]);
    EXPECT_NE(json.find("\"part_weights\": " + weights + "]"), std::string::npos) << json;
    // The same figures in the printed report.
    EXPECT_NE(r.out.find("Connectivity - 1:" + std::string(10 - std::to_string(f.km1).size(), ' ') +
                         std::to_string(f.km1)),
              std::string::npos)
        << r.out;
  }
}

// The column-net model of a matrix: rows are vertices, columns hyperedges.
TEST(AdvancedScript, MatrixMarketAndItsHypergraphGiveTheSamePartition) {
  ScratchDir dir;
  const int n = 200;
  std::ostringstream mtx, hgr;
  mtx << "%%MatrixMarket matrix coordinate real general\n% a comment\n";
  std::vector<std::vector<int>> cols(n);
  for (int c = 0; c < n; c++) cols[c] = {c, (c + 1) % n, (c + 17) % n};
  for (auto &rows : cols) std::sort(rows.begin(), rows.end());
  mtx << n << " " << n << " " << 3 * n << "\n";
  for (int c = 0; c < n; c++)
    for (int r : cols[c]) mtx << r + 1 << " " << c + 1 << " 1.5\n";
  hgr << n << " " << n << "\n";
  for (int c = 0; c < n; c++)
    hgr << cols[c][0] + 1 << " " << cols[c][1] + 1 << " " << cols[c][2] + 1 << "\n";
  dir.Write("m.mtx", mtx.str());
  dir.Write("m.hgr", hgr.str());
  const RunResult a = RunAdvanced({"m.mtx", "4", "5", "--seed", "2", "--out", "a.part"}, dir.path);
  const RunResult b = RunAdvanced({"m.hgr", "4", "5", "--seed", "2", "--out", "b.part"}, dir.path);
  ASSERT_EQ(a.status, 0) << a.err;
  ASSERT_EQ(b.status, 0) << b.err;
  EXPECT_EQ(ReadFile(dir.File("a.part")), ReadFile(dir.File("b.part")));
  // The format may also be named.
  dir.Write("m.txt", mtx.str());
  const RunResult c = RunAdvanced(
      {"m.txt", "4", "5", "--seed", "2", "--format", "mtx-colnet", "--out", "c.part"}, dir.path);
  ASSERT_EQ(c.status, 0) << c.err;
  EXPECT_EQ(ReadFile(dir.File("c.part")), ReadFile(dir.File("b.part")));
}

TEST(AdvancedScript, ProgressLineOnlyWhenAskedForOutsideATerminal) {
  ScratchDir dir;
  dir.Write("g.hgr", HgrText(MakeNetlist(200, false), false));
  RunResult r = RunAdvanced({"g.hgr", "4", "5", "--seed", "1", "--runs", "3"}, dir.path);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  r = RunAdvanced({"g.hgr", "4", "5", "--seed", "1", "--runs", "3", "--progress"}, dir.path);
  ASSERT_EQ(r.status, 0) << r.err;
  // Three bisections of three runs each; the last report is always shown.
  EXPECT_NE(r.err.find("runs 9 of 9"), std::string::npos) << r.err;
  r = RunAdvanced({"g.hgr", "4", "5", "--seed", "1", "--runs", "3", "--kway", "--progress"},
                  dir.path);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.err.find("trials 3 of 3"), std::string::npos) << r.err;
}

TEST(AdvancedScript, UnwritableJsonTargetEndsBeforePartitioning) {
  ScratchDir dir;
  dir.Write("g.hgr", HgrText(MakeNetlist(40, false), false));
  const RunResult r = RunAdvanced({"g.hgr", "2", "5", "--json", "no/such/folder/g.json"}, dir.path);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_NE(r.err.find("no/such/folder/g.json"), std::string::npos) << r.err;
}

}  // namespace
