// The fix-file reader: exactly one part (or -1) per vertex, every problem with its line, and the
// caller's array untouched by a file it refuses.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "driver/driver_test_util.h"
#include "io/io.h"

using namespace hypra;

namespace {

using driver_test::ScratchDir;

struct Fix {
  std::vector<int> part;
  IoError err{};
  int status;
  Fix(const std::string &path, int nvtxs, int nparts) : part(nvtxs, 99) {
    status = ReadFixFile(path.c_str(), nvtxs, nparts, part.data(), &err);
  }
};

TEST(ReadFix, OnePartPerLine) {
  ScratchDir dir;
  Fix f(dir.Write("a.fix", "0\n-1\n3\n-1\n1\n"), 5, 4);
  ASSERT_EQ(f.status, IO_OK) << f.err.message;
  EXPECT_EQ(f.part, (std::vector<int>{0, -1, 3, -1, 1}));
}

TEST(ReadFix, AnyBlanksBetweenEntries) {
  ScratchDir dir;
  Fix f(dir.Write("a.fix", "  0\r\n\n\t-1 +2\n1"), 4, 3);
  ASSERT_EQ(f.status, IO_OK) << f.err.message;
  EXPECT_EQ(f.part, (std::vector<int>{0, -1, 2, 1}));
}

void ExpectRefused(const std::string &text, int nvtxs, int nparts, int line,
                   const std::string &what) {
  ScratchDir dir;
  const std::string path = dir.Write("f.fix", text);
  Fix f(path, nvtxs, nparts);
  EXPECT_EQ(f.status, IO_ERR_FORMAT) << "accepted:\n" << text;
  EXPECT_EQ(f.err.line, line);
  EXPECT_EQ(std::string(f.err.message), path + ":" + std::to_string(line) + ": " + what);
  EXPECT_EQ(f.part, std::vector<int>(nvtxs, 99));  // untouched
}

TEST(ReadFix, Problems) {
  ExpectRefused("0\n1\n", 3, 2, 3, "the file ends after 2 entries; the hypergraph has 3 vertices");
  ExpectRefused("", 1, 2, 1, "the file ends after 0 entries; the hypergraph has 1 vertices");
  ExpectRefused("0\n1\n\n1\n", 2, 2, 4,
                "unexpected '1': the file holds more entries than the 2 vertices");
  ExpectRefused("0\n2\n", 2, 2, 2,
                "vertex 2 is fixed to part '2'; a part must be -1 (free) or 0..1");
  ExpectRefused("-2\n1\n", 2, 2, 1,
                "vertex 1 is fixed to part '-2'; a part must be -1 (free) or 0..1");
  ExpectRefused("0\n99999999999999999999999\n", 2, 2, 2,
                "vertex 2 is fixed to part '99999999999999999999999'; a part must be -1 (free) or "
                "0..1");
  for (const char *bad : {"1.0", "x", "1e0", "0x1", "% c"})
    ExpectRefused(std::string("0\n") + bad + "\n", 2, 2, 2,
                  std::string("the part '") +
                      std::string(bad).substr(0, std::string(bad).find(' ')) +
                      "' of vertex 2 is not a whole number");
}

TEST(ReadFix, CallProblems) {
  ScratchDir dir;
  const std::string path = dir.Write("a.fix", "0\n");
  int part[1] = {7};
  IoError err;
  EXPECT_EQ(ReadFixFile(path.c_str(), 1, 0, part, &err), IO_ERR_ARGS);
  EXPECT_EQ(ReadFixFile(path.c_str(), -1, 2, part, &err), IO_ERR_ARGS);
  EXPECT_EQ(ReadFixFile(path.c_str(), 1, 2, nullptr, &err), IO_ERR_ARGS);
  EXPECT_EQ(ReadFixFile(nullptr, 1, 2, part, &err), IO_ERR_ARGS);
  EXPECT_EQ(ReadFixFile(dir.File("none.fix").c_str(), 1, 2, part, &err), IO_ERR_OPEN);
  EXPECT_EQ(err.line, 0);
  EXPECT_EQ(part[0], 7);
  EXPECT_EQ(ReadFixFile(path.c_str(), 1, 2, part, nullptr), IO_OK);
  EXPECT_EQ(part[0], 0);
}

}  // namespace
