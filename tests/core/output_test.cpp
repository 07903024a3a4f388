#include <gtest/gtest.h>

#include <string>

#include "core/core.h"

using namespace hypra;

namespace {

std::string Text(const OutputBuffer &out) {
  return std::string(out.data, static_cast<size_t>(out.size));
}

TEST(Output, LinesGoToTheRunsBufferWhenItHasOne) {
  RunState run;
  InitRunState__(&run, 1);
  OutputBuffer out{nullptr, 0, 0};
  run.out = &out;
  PartCtrl ctrl{};
  ctrl.run = &run;
  testing::internal::CaptureStdout();
  Printf__(&ctrl, "cut %d", 42);
  Printf__(&ctrl, " [%4.2f]\n", 0.5);
  Flush__(&ctrl);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(Text(out), "cut 42 [0.50]\n");
  FreeOutput__(&out);
  FreeRunState__(&run);
}

TEST(Output, LongLinesAreKeptWhole) {
  RunState run;
  InitRunState__(&run, 1);
  OutputBuffer out{nullptr, 0, 0};
  run.out = &out;
  PartCtrl ctrl{};
  ctrl.run = &run;
  const std::string longword(5000, 'x');
  for (int i = 0; i < 3; i++) Printf__(&ctrl, "%s%d\n", longword.c_str(), i);
  EXPECT_EQ(Text(out), longword + "0\n" + longword + "1\n" + longword + "2\n");
  FreeOutput__(&out);
  FreeRunState__(&run);
}

TEST(Output, EmittedBuffersJoinTheTargetInOrder) {
  RunState outer, inner;
  InitRunState__(&outer, 1);
  InitRunState__(&inner, 1);
  OutputBuffer outerbuf{nullptr, 0, 0}, innerbuf{nullptr, 0, 0};
  outer.out = &outerbuf;
  inner.out = &innerbuf;
  PartCtrl octrl{}, ictrl{};
  octrl.run = &outer;
  ictrl.run = &inner;
  Printf__(&ictrl, "second\n");
  Printf__(&octrl, "first\n");
  EmitOutput__(&octrl, &innerbuf);
  EXPECT_EQ(innerbuf.size, 0);
  EXPECT_EQ(Text(outerbuf), "first\nsecond\n");

  // Without a buffer of its own the run's lines reach standard output.
  outer.out = nullptr;
  testing::internal::CaptureStdout();
  Printf__(&octrl, "direct ");
  EmitOutput__(&octrl, &outerbuf);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "direct first\nsecond\n");
  FreeOutput__(&outerbuf);
  FreeOutput__(&innerbuf);
  FreeRunState__(&outer);
  FreeRunState__(&inner);
}

}  // namespace
