// Helpers for the reader tests: a read whose arrays are released at the end of the test, the
// arrays as vectors, and the failure of a file written from the test.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "driver/driver_test_util.h"
#include "io/io.h"

namespace io_test {

using driver_test::ScratchDir;

// One read and what came of it.
struct Read {
  hypra::HypergraphArrays h{};
  hypra::IoError err{};
  int status = -1;
  Read(const std::string &path, int format) {
    status = hypra::ReadHypergraphFile(path.c_str(), format, &h, &err);
  }
  ~Read() { hypra::FreeHypergraphArrays(&h); }
  Read(const Read &) = delete;
  Read &operator=(const Read &) = delete;

  std::vector<int> Pins(int e) const {
    return std::vector<int>(h.netind + h.netptr[e], h.netind + h.netptr[e + 1]);
  }
  std::vector<int> Netptr() const { return std::vector<int>(h.netptr, h.netptr + h.nhedges + 1); }
  std::vector<int> Netind() const {
    return std::vector<int>(h.netind, h.netind + h.netptr[h.nhedges]);
  }
  std::vector<int> Netwgt() const {
    return h.netwgt == nullptr ? std::vector<int>()
                               : std::vector<int>(h.netwgt, h.netwgt + h.nhedges);
  }
  std::vector<int> Cellwgt() const {
    return h.cellwgt == nullptr ? std::vector<int>()
                                : std::vector<int>(h.cellwgt, h.cellwgt + h.nvtxs);
  }
};

// Both reads succeeded and gave the same hypergraph.
inline void ExpectSameArrays(const Read &a, const Read &b) {
  ASSERT_EQ(a.status, hypra::IO_OK) << a.err.message;
  ASSERT_EQ(b.status, hypra::IO_OK) << b.err.message;
  EXPECT_EQ(a.h.nvtxs, b.h.nvtxs);
  ASSERT_EQ(a.h.nhedges, b.h.nhedges);
  EXPECT_EQ(a.Netptr(), b.Netptr());
  EXPECT_EQ(a.Netind(), b.Netind());
  EXPECT_EQ(a.h.netwgt == nullptr, b.h.netwgt == nullptr);
  EXPECT_EQ(a.Netwgt(), b.Netwgt());
  EXPECT_EQ(a.h.cellwgt == nullptr, b.h.cellwgt == nullptr);
  EXPECT_EQ(a.Cellwgt(), b.Cellwgt());
  EXPECT_EQ(a.h.fmt, b.h.fmt);
}

// Writes text as name in dir, reads it and expects a format failure at line whose message is
// "PATH:LINE: " followed by what; the record is left empty.
inline void ExpectRefused(const ScratchDir &dir, const std::string &name, const std::string &text,
                          int format, int line, const std::string &what) {
  const std::string path = dir.Write(name, text);
  Read r(path, format);
  EXPECT_EQ(r.status, hypra::IO_ERR_FORMAT) << "accepted:\n" << text;
  EXPECT_EQ(r.err.line, line) << r.err.message;
  EXPECT_EQ(std::string(r.err.message), path + ":" + std::to_string(line) + ": " + what);
  EXPECT_EQ(r.h.netptr, nullptr);
  EXPECT_EQ(r.h.netind, nullptr);
  EXPECT_EQ(r.h.netwgt, nullptr);
  EXPECT_EQ(r.h.cellwgt, nullptr);
}

}  // namespace io_test
