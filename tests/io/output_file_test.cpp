// Output files: a regular or new file is replaced whole (keeping its mode), a symbolic link is
// written through, a device or FIFO is written in place, an unwritable target ends the process
// with a message, and a signal during the write leaves no temporary file.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <string>

#include "driver/driver_test_util.h"
#include "io/io.h"

using namespace hypra;

namespace {

using driver_test::ReadFile;
using driver_test::ScratchDir;

int FilesIn(const std::string &dir) {
  int n = 0;
  for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator(dir)) n++;
  return n;
}

void WriteText(const std::string &path, const char *text, int failure_status = 0) {
  OutputFile out;
  OpenOutputFile(path.c_str(), "test: output", failure_status, &out);
  std::fputs(text, out.fp);
  CloseOutputFile(&out);
}

mode_t ModeOf(const std::string &path) {
  struct stat st;
  EXPECT_EQ(stat(path.c_str(), &st), 0) << path;
  return st.st_mode;
}

TEST(OutputFile, NewFileIsCreatedWithTheUmaskMode) {
  ScratchDir dir;
  const mode_t old = umask(022);
  WriteText(dir.File("new.txt"), "abc\n");
  umask(old);
  EXPECT_EQ(ReadFile(dir.File("new.txt")), "abc\n");
  EXPECT_EQ(ModeOf(dir.File("new.txt")) & 07777, 0644u);
  EXPECT_EQ(FilesIn(dir.path), 1);  // no temporary file left behind
}

TEST(OutputFile, RegularFileIsReplacedKeepingItsMode) {
  ScratchDir dir;
  const std::string path = dir.Write("old.txt", "stale contents that are longer\n");
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  WriteText(path, "1\n2\n");
  EXPECT_EQ(ReadFile(path), "1\n2\n");
  EXPECT_TRUE(S_ISREG(ModeOf(path)));
  EXPECT_EQ(ModeOf(path) & 07777, 0640u);
  EXPECT_EQ(FilesIn(dir.path), 1);
}

TEST(OutputFile, SymbolicLinkIsWrittenThrough) {
  ScratchDir dir;
  const std::string real = dir.Write("real.txt", "old\n");
  ASSERT_EQ(chmod(real.c_str(), 0600), 0);
  ASSERT_EQ(symlink("real.txt", dir.File("link.txt").c_str()), 0);  // relative link
  WriteText(dir.File("link.txt"), "new\n");
  EXPECT_TRUE(std::filesystem::is_symlink(dir.File("link.txt")));
  EXPECT_EQ(ReadFile(real), "new\n");
  EXPECT_EQ(ModeOf(real) & 07777, 0600u);
  EXPECT_EQ(FilesIn(dir.path), 2);
}

TEST(OutputFile, ChainOfLinksAcrossFolders) {
  ScratchDir a, b;
  const std::string real = b.Write("target", "x\n");
  ASSERT_EQ(symlink(real.c_str(), a.File("first").c_str()), 0);  // absolute link
  ASSERT_EQ(symlink("first", a.File("second").c_str()), 0);
  WriteText(a.File("second"), "y\n");
  EXPECT_EQ(ReadFile(real), "y\n");
  EXPECT_TRUE(std::filesystem::is_symlink(a.File("first")));
  EXPECT_TRUE(std::filesystem::is_symlink(a.File("second")));
  EXPECT_EQ(FilesIn(a.path), 2);
  EXPECT_EQ(FilesIn(b.path), 1);
}

TEST(OutputFile, DanglingLinkCreatesTheFileItNames) {
  ScratchDir dir;
  ASSERT_EQ(symlink("made.txt", dir.File("link").c_str()), 0);
  WriteText(dir.File("link"), "z\n");
  EXPECT_TRUE(std::filesystem::is_symlink(dir.File("link")));
  EXPECT_EQ(ReadFile(dir.File("made.txt")), "z\n");
}

TEST(OutputFile, LinkLoopIsRefused) {
  ScratchDir dir;
  ASSERT_EQ(symlink("b", dir.File("a").c_str()), 0);
  ASSERT_EQ(symlink("a", dir.File("b").c_str()), 0);
  char target[4096];
  EXPECT_EQ(ResolveOutputTarget(dir.File("a").c_str(), target, sizeof(target)), ELOOP);
  EXPECT_EQ(CheckOutputTarget(dir.File("a").c_str()), ELOOP);
}

TEST(OutputFile, DevNullStaysADevice) {
  WriteText("/dev/null", "discarded\n");
  struct stat st;
  ASSERT_EQ(stat("/dev/null", &st), 0);
  EXPECT_TRUE(S_ISCHR(st.st_mode));
  EXPECT_EQ(CheckOutputTarget("/dev/null"), 0);
}

TEST(OutputFile, FifoIsWrittenInPlace) {
  ScratchDir dir;
  const std::string fifo = dir.File("pipe");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  std::fflush(nullptr);
  const pid_t reader = fork();
  if (reader == 0) {
    // The reader copies what comes through the FIFO into a regular file.
    const std::string copy = ReadFile(fifo);
    driver_test::WriteFile(dir.File("received"), copy);
    _exit(0);
  }
  WriteText(fifo, "through the pipe\n");
  int status = 0;
  ASSERT_EQ(waitpid(reader, &status, 0), reader);
  EXPECT_EQ(ReadFile(dir.File("received")), "through the pipe\n");
  struct stat st;
  ASSERT_EQ(lstat(fifo.c_str(), &st), 0);
  EXPECT_TRUE(S_ISFIFO(st.st_mode));
  EXPECT_EQ(FilesIn(dir.path), 2);
}

TEST(OutputFileDeathTest, MissingFolderEndsWithTheFailureStatus) {
  EXPECT_EXIT(WriteText("/nonexistent/dir/x", "a\n", 3), ::testing::ExitedWithCode(3),
              "^test: output: No such file or directory\n$");
  EXPECT_EQ(CheckOutputTarget("/nonexistent/dir/x"), ENOENT);
}

TEST(OutputFileDeathTest, FolderThatNobodyMayWrite) {
  // /proc refuses new files even to root, so this case runs for every user.
  EXPECT_NE(CheckOutputTarget("/proc/hypra-output-test"), 0);
  EXPECT_EXIT(WriteText("/proc/hypra-output-test", "a\n", 4), ::testing::ExitedWithCode(4),
              "^test: output: ");
}

// Runs fn in a child process as an ordinary user (root drops to "nobody", for whom permissions
// hold) and returns its exit status; -1 when the child could not become an ordinary user.
template <typename F>
int AsOrdinaryUser(F fn) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(100);
    _exit(fn());
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) == 100) return -1;
  return WEXITSTATUS(status);
}

// A scratch folder that the ordinary user can enter, holding a folder of mode 0555.
struct ReadOnlyFolder {
  ScratchDir dir;
  std::string path = dir.File("ro");
  ReadOnlyFolder() {
    chmod(dir.path.c_str(), 0755);
    mkdir(path.c_str(), 0555);
  }
};

TEST(OutputFile, ReadOnlyFolder) {
  ReadOnlyFolder ro;
  const std::string target = ro.path + "/x";
  const int check = AsOrdinaryUser([&] { return CheckOutputTarget(target.c_str()); });
  if (check == -1) GTEST_SKIP() << "cannot run as an ordinary user here";
  EXPECT_EQ(check, EACCES);
  // The write itself ends with the open failure and the failure status.
  const int status = AsOrdinaryUser([&] {
    std::fclose(stderr);
    WriteText(target, "a\n", 5);
    return 0;
  });
  EXPECT_EQ(status, 5);
  EXPECT_EQ(FilesIn(ro.path), 0);
}

TEST(OutputFile, ReadOnlyFileIsNotReplaced) {
  ScratchDir dir;
  chmod(dir.path.c_str(), 0777);
  const std::string path = dir.Write("ro.txt", "keep\n");
  ASSERT_EQ(chmod(path.c_str(), 0444), 0);
  const int check = AsOrdinaryUser([&] { return CheckOutputTarget(path.c_str()); });
  if (check == -1) GTEST_SKIP() << "cannot run as an ordinary user here";
  EXPECT_EQ(check, EACCES);
  const int status = AsOrdinaryUser([&] {
    std::fclose(stderr);
    WriteText(path, "a\n", 6);
    return 0;
  });
  EXPECT_EQ(status, 6);
  EXPECT_EQ(ReadFile(path), "keep\n");
  EXPECT_EQ(FilesIn(dir.path), 1);
}

TEST(OutputFile, CheckLeavesNothingBehind) {
  ScratchDir dir;
  EXPECT_EQ(CheckOutputTarget(dir.File("later.txt").c_str()), 0);
  EXPECT_EQ(FilesIn(dir.path), 0);
  EXPECT_EQ(CheckOutputTarget(dir.path.c_str()), EISDIR);
}

// A child opens the output, writes part of it, tells the parent and waits to be killed.
void InterruptedWrite(int sig) {
  ScratchDir dir;
  const std::string path = dir.Write("out.txt", "before\n");
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    close(ready[0]);
    OutputFile out;
    OpenOutputFile(path.c_str(), "test: output", 0, &out);
    std::fputs("half of it\n", out.fp);
    std::fflush(out.fp);
    if (write(ready[1], "x", 1) != 1) _exit(2);
    for (;;) pause();
  }
  close(ready[1]);
  char c;
  ASSERT_EQ(read(ready[0], &c, 1), 1);
  close(ready[0]);
  EXPECT_EQ(FilesIn(dir.path), 2);  // the target and the temporary file
  kill(child, sig);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), sig);
  EXPECT_EQ(FilesIn(dir.path), 1);
  EXPECT_EQ(ReadFile(path), "before\n");
}

TEST(OutputFile, InterruptedBySigintLeavesNoTemporaryFile) {
  InterruptedWrite(SIGINT);
}

TEST(OutputFile, InterruptedBySigtermLeavesNoTemporaryFile) {
  InterruptedWrite(SIGTERM);
}

}  // namespace
