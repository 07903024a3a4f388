#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <utility>

#include "driver/driver.h"

using namespace hypra;

namespace {

// instance -> (vertices, hyperedges), from the table of the bench folder's README.
std::map<std::string, std::pair<int, int>> ReadmeCounts(const std::string &dir) {
  std::map<std::string, std::pair<int, int>> counts;
  std::ifstream in(dir + "/README.md");
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind("| ibm", 0) != 0) continue;
    std::istringstream row(line);
    std::string bar, name, bar2, v, bar3, h;
    row >> bar >> name >> bar2 >> v >> bar3 >> h;
    if (name.find('.') != std::string::npos || name.find('`') != std::string::npos) continue;
    counts[name] = {std::stoi(v), std::stoi(h)};
  }
  return counts;
}

TEST(ReadHGraphBench, CountsMatchTheTableAndPinsAreInRange) {
  const std::string dir = HYPRA_BENCH_DIR;
  if (!std::filesystem::exists(dir + "/README.md"))
    GTEST_SKIP() << "no benchmark folder at " << dir;
  const auto counts = ReadmeCounts(dir);
  ASSERT_EQ(counts.size(), 10u);

  int files = 0;
  for (const auto &entry : std::filesystem::directory_iterator(dir)) {
    const std::string file = entry.path().filename().string();
    if (entry.path().extension() != ".hgr") continue;
    SCOPED_TRACE(file);
    const auto it = counts.find(file.substr(0, file.find('.')));
    ASSERT_NE(it, counts.end());
    HGraph *g = ReadHGraph(entry.path().c_str());
    EXPECT_EQ(g->nvtxs, it->second.first);
    EXPECT_EQ(g->nhedges, it->second.second);
    int bad = 0;
    for (int j = 0; j < g->netptr[g->nhedges]; j++)
      bad += g->netind[j] < 0 || g->netind[j] >= g->nvtxs;
    EXPECT_EQ(bad, 0);
    EXPECT_EQ(g->netwgt, nullptr);
    if (file.find(".weight.") != std::string::npos) {
      ASSERT_NE(g->cellwgt, nullptr);
      long long total = 0;
      for (int v = 0; v < g->nvtxs; v++) total += g->cellwgt[v];
      EXPECT_GT(total, 0);
    } else {
      EXPECT_EQ(g->cellwgt, nullptr);
    }
    FreeHGraph__(g);
    files++;
  }
  EXPECT_EQ(files, 15);
}

}  // namespace
