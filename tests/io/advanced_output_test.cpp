// The programs' partition files: written through links and into devices, an unwritable target
// found before any partitioning, and an interrupted run that leaves no temporary file.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>

#include "driver/driver_test_util.h"

namespace {

using driver_test::ReadFile;
using driver_test::RunProgram;
using driver_test::ScratchDir;

std::string Advanced() {
  return std::string(HYPRA_BINARY_DIR) + "/hypra-advanced";
}

std::string Hypra() {
  return std::string(HYPRA_BINARY_DIR) + "/hypra";
}

// A ring of 3-pin hyperedges over n vertices.
std::string RingFile(int n) {
  std::ostringstream s;
  s << n << " " << n << "\n";
  for (int i = 0; i < n; i++)
    s << i + 1 << " " << (i + 1) % n + 1 << " " << (i + 7) % n + 1 << "\n";
  return s.str();
}

int Lines(const std::string &text) {
  int n = 0;
  for (char c : text) n += c == '\n';
  return n;
}

int TemporaryFilesIn(const std::string &dir) {
  int n = 0;
  for (const auto &e : std::filesystem::directory_iterator(dir))
    n += e.path().filename().string().find(".hypra-") != std::string::npos;
  return n;
}

TEST(AdvancedOutput, SymbolicLinkIsWrittenThrough) {
  ScratchDir dir;
  dir.Write("ring.hgr", RingFile(60));
  dir.Write("real.part", "old\n");
  ASSERT_EQ(chmod(dir.File("real.part").c_str(), 0604), 0);
  ASSERT_EQ(symlink("real.part", dir.File("link.part").c_str()), 0);
  const auto r = RunProgram({"ring.hgr", "2", "10", "--seed", "1", "--out", "link.part"}, dir.path,
                            Advanced());
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(std::filesystem::is_symlink(dir.File("link.part")));
  EXPECT_EQ(Lines(ReadFile(dir.File("real.part"))), 60);
  struct stat st;
  ASSERT_EQ(stat(dir.File("real.part").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0604u);
}

TEST(AdvancedOutput, DevNullStaysADevice) {
  ScratchDir dir;
  dir.Write("ring.hgr", RingFile(60));
  const auto r = RunProgram({"ring.hgr", "2", "10", "--seed", "1", "--out", "/dev/null"}, dir.path,
                            Advanced());
  ASSERT_EQ(r.status, 0) << r.err;
  struct stat st;
  ASSERT_EQ(stat("/dev/null", &st), 0);
  EXPECT_TRUE(S_ISCHR(st.st_mode));
}

TEST(AdvancedOutput, FifoReceivesThePartition) {
  ScratchDir dir;
  dir.Write("ring.hgr", RingFile(60));
  ASSERT_EQ(mkfifo(dir.File("pipe").c_str(), 0600), 0);
  std::fflush(nullptr);
  const pid_t reader = fork();
  if (reader == 0) {
    driver_test::WriteFile(dir.File("received"), ReadFile(dir.File("pipe")));
    _exit(0);
  }
  const auto r =
      RunProgram({"ring.hgr", "3", "10", "--seed", "1", "--out", "pipe"}, dir.path, Advanced());
  // A program that failed before opening the pipe would leave the reader waiting for a writer
  // for ever; opening and closing it here lets the reader see the end instead.
  const int unblock = open(dir.File("pipe").c_str(), O_WRONLY | O_NONBLOCK);
  if (unblock >= 0) close(unblock);
  int status = 0;
  waitpid(reader, &status, 0);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Lines(ReadFile(dir.File("received"))), 60);
  struct stat st;
  ASSERT_EQ(lstat(dir.File("pipe").c_str(), &st), 0);
  EXPECT_TRUE(S_ISFIFO(st.st_mode));
}

TEST(AdvancedOutput, MissingFolderEndsBeforePartitioning) {
  ScratchDir dir;
  dir.Write("ring.hgr", RingFile(60));
  const auto r =
      RunProgram({"ring.hgr", "2", "10", "--out", "no/such/folder/x"}, dir.path, Advanced());
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");  // nothing was read or partitioned
  EXPECT_NE(r.err.find("cannot write the partition file no/such/folder/x: No such file or "
                       "directory"),
            std::string::npos)
      << r.err;
}

TEST(AdvancedOutput, DefaultNameInAMissingFolderEndsBeforePartitioning) {
  ScratchDir dir;
  const auto r = RunProgram({"gone/ring.hgr", "2", "10"}, dir.path, Advanced());
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_NE(r.err.find("cannot write the partition file gone/ring.hgr.part.2"), std::string::npos)
      << r.err;
}

TEST(AdvancedOutput, UnwritableFolderEndsBeforePartitioning) {
  ScratchDir dir;
  dir.Write("ring.hgr", RingFile(60));
  // /proc takes no new files, whoever asks.
  const auto r =
      RunProgram({"ring.hgr", "2", "10", "--out", "/proc/hypra-test.part"}, dir.path, Advanced());
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_NE(r.err.find("cannot write the partition file /proc/hypra-test.part"), std::string::npos)
      << r.err;
}

TEST(AdvancedOutput, ReadOnlyFolderEndsBeforePartitioning) {
  ScratchDir dir;
  chmod(dir.path.c_str(), 0755);
  dir.Write("ring.hgr", RingFile(60));
  ASSERT_EQ(mkdir(dir.File("ro").c_str(), 0555), 0);
  // Root may write any folder, so the program runs as an ordinary user ("nobody").
  std::fflush(nullptr);
  const pid_t pid = fork();
  if (pid == 0) {
    if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(100);
    if (chdir(dir.path.c_str()) != 0 || !std::freopen("/dev/null", "w", stderr)) _exit(101);
    execl(Advanced().c_str(), Advanced().c_str(), "ring.hgr", "2", "10", "--out", "ro/x",
          static_cast<char *>(nullptr));
    _exit(102);
  }
  int status = 0;
  ASSERT_EQ(waitpid(pid, &status, 0), pid);
  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) == 100) GTEST_SKIP() << "cannot run as an ordinary user here";
  EXPECT_EQ(WEXITSTATUS(status), 1);
  EXPECT_FALSE(std::filesystem::exists(dir.File("ro/x")));
  EXPECT_EQ(TemporaryFilesIn(dir.File("ro")), 0);
}

TEST(HypraOutput, UnwritableFolderKeepsTheSpecifiedMessage) {
  // hypra finds out when it writes, prints the open failure and ends with status 0.
  ScratchDir dir;
  dir.Write("ring.hgr", RingFile(60));
  ASSERT_EQ(symlink("/proc/hypra-test.hgr.part.2", dir.File("ring.hgr.part.2").c_str()), 0);
  const auto r = RunProgram({"ring.hgr", "2", "10"}, dir.path, Hypra());
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("Recursive Partitioning"), std::string::npos);
  EXPECT_EQ(r.err.rfind("WriteHGraphPart: partfile: ", 0), 0u) << r.err;
}

TEST(HypraOutput, SymbolicLinkIsWrittenThrough) {
  ScratchDir dir;
  dir.Write("ring.hgr", RingFile(60));
  ASSERT_EQ(symlink("elsewhere", dir.File("ring.hgr.part.2").c_str()), 0);
  const auto r = RunProgram({"ring.hgr", "2", "10"}, dir.path, Hypra());
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(std::filesystem::is_symlink(dir.File("ring.hgr.part.2")));
  EXPECT_EQ(Lines(ReadFile(dir.File("elsewhere"))), 60);
}

// Interrupts runs at several moments, from reading to writing; none may leave a temporary file.
void InterruptRuns(int sig) {
  ScratchDir dir;
  dir.Write("ring.hgr", RingFile(20000));
  for (int delay_ms : {5, 20, 60, 150, 400}) {
    std::fflush(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
      if (chdir(dir.path.c_str()) != 0 || !std::freopen("/dev/null", "w", stdout)) _exit(127);
      execl(Advanced().c_str(), Advanced().c_str(), "ring.hgr", "4", "5", "--seed", "1",
            static_cast<char *>(nullptr));
      _exit(127);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(delay_ms));
    kill(pid, sig);
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFSIGNALED(status) || (WIFEXITED(status) && WEXITSTATUS(status) == 0));
    EXPECT_EQ(TemporaryFilesIn(dir.path), 0) << "after " << delay_ms << " ms";
    // A partition file, if the run got that far, is complete.
    if (std::filesystem::exists(dir.File("ring.hgr.part.4"))) {
      EXPECT_EQ(Lines(ReadFile(dir.File("ring.hgr.part.4"))), 20000);
    }
  }
}

TEST(AdvancedOutput, InterruptedRunLeavesNoTemporaryFile) {
  InterruptRuns(SIGINT);
  InterruptRuns(SIGTERM);
}

}  // namespace
