// The configuration file where it is not a small regular file, or read
// under a fault-injecting read(): this program
// defines read() itself, so every read() of the library (and of the C++
// library) comes here first. While a test has armed a Fault, the reads of
// the one file it names misbehave as the Fault says; all other reads, and
// all reads while nothing is armed, go to the next read() unchanged.
#include "LogCapture.h"

#include "Zel/AppHostConfig.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <limits>
#include <string>

namespace Zel {
namespace {

constexpr std::size_t kMiB = 1024 * 1024;
constexpr std::size_t kEndless = std::numeric_limits<std::size_t>::max();

struct Fault {
  Fault(std::size_t chunk = 0, bool interrupt = false, std::size_t failAt = kEndless, bool removeAtFirstRead = false, std::size_t length = 0)
      : chunk(chunk), interrupt(interrupt), failAt(failAt), removeAtFirstRead(removeAtFirstRead), length(length) {}
  std::size_t chunk;       // at most this many bytes per read (0: as many as asked)
  bool interrupt;          // every other read fails with EINTR before reading
  std::size_t failAt;      // EIO once this many bytes were delivered
  bool removeAtFirstRead;  // the file is unlinked before the first read
  // The file reads as this long (kEndless: never ends): its bytes, then
  // spaces, although it does not grow on disk.
  std::size_t length;

  // Filled in by Arm() and the reads.
  std::string path;  // the file whose reads misbehave
  struct stat file {};
  unsigned int reads = 0;
  std::size_t delivered = 0;
};

std::atomic<Fault*> g_fault{nullptr};

// Writes `content` to `path` and arms `fault` for its reads, until g_fault is reset.
void Arm(Fault& fault, const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
  EXPECT_EQ(::stat(path.c_str(), &fault.file), 0) << path;
  fault.path = path;
  g_fault.store(&fault);
}

using ReadFunction = ssize_t (*)(int, void*, std::size_t);

ReadFunction NextRead() {
  static const auto next = reinterpret_cast<ReadFunction>(::dlsym(RTLD_NEXT, "read"));
  return next;
}

const std::string kContent = "<ZelAppHostConfig WithoutKNX='1'/>";

// Whatever lies at the path or however its reads misbehave, the load either
// reads it or ends in the can-not-be-read failure and changes nothing;
// never more than 1 MiB is read (a hang is the test's time-out).
TEST(AppHostConfigFileFault, WhatCannotBeReadChangesNothing) {
  const std::string dir = ::testing::TempDir();
  const std::string fifo = dir + "fault.fifo";  // no writer: opening it would wait for ever
  ::unlink(fifo.c_str());
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  std::ofstream(dir + "fault.sparse", std::ios::binary | std::ios::trunc) << kContent;
  // 3 GiB (the largest size where off_t has 32 bits), taking almost no disk.
  ASSERT_EQ(::truncate((dir + "fault.sparse").c_str(), sizeof(off_t) >= 8 ? static_cast<off_t>(3LL << 30) : std::numeric_limits<off_t>::max()), 0);
  std::ofstream(dir + "fault.unreadable", std::ios::binary | std::ios::trunc) << kContent;
  ::chmod((dir + "fault.unreadable").c_str(), 0);
  std::ofstream(dir + "fault.big", std::ios::binary | std::ios::trunc) << std::string(kMiB + 1, ' ');
  std::ofstream(dir + "fault.max", std::ios::binary | std::ios::trunc) << kContent + std::string(kMiB - kContent.size(), ' ');
  const struct {
    const char* label;
    std::string path;  // empty: a small file read under the fault
    Fault fault;       // chunk, interrupt, failAt, removeAtFirstRead, length
    bool loaded;       // else: cannot be read, nothing changed
  } cases[] = {
      {"short reads of 3 bytes", "", {3}, true},
      {"short reads of 1 byte, interrupted", "", {1, true}, true},
      {"removed between open and read", "", {0, false, kEndless, true}, true},
      {"read error at the start", "", {0, false, 0}, false},
      {"read error after 10 bytes", "", {4, false, 10}, false},
      {"grows to 1 MiB while read", "", {0, false, kEndless, false, kMiB}, true},
      {"grows past 1 MiB while read", "", {0, false, kEndless, false, kMiB + 1}, false},
      {"never ends", "", {0, false, kEndless, false, kEndless}, false},
      {"never ends, in short reads", "", {4096, false, kEndless, false, kEndless}, false},
      {"a directory", dir, {}, false},
      {"a FIFO", fifo, {}, false},
      {"/dev/zero", "/dev/zero", {}, false},
      {"3 GiB", dir + "fault.sparse", {}, false},
      {"1 MiB and a byte", dir + "fault.big", {}, false},
      {"1 MiB", dir + "fault.max", {}, true},
      {"no read permission", dir + "fault.unreadable", {}, ::geteuid() == 0},  // root reads it anyway
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    const std::string path = c.path.empty() ? dir + "fault.xml" : c.path;
    Fault fault = c.fault;
    AppHostConfiguration config;
    Tests::LogCapture log;
    if (c.path.empty())
      Arm(fault, path, kContent);
    config.LoadConfigurationFile(path);
    g_fault.store(nullptr);
    EXPECT_EQ(fault.reads > 0, c.path.empty());
    EXPECT_LE(fault.delivered, kMiB + 4096);  // nothing read beyond the bound
    EXPECT_EQ(config.IsAppHostWithoutKNX(), c.loaded);
    EXPECT_TRUE(c.loaded ? log.Empty() : log.Equals({Tests::Error("App host config file cannot be read from: \"" + path + "\"")}));
    EXPECT_TRUE(c.path.empty() || LoadFile(path).has_value() == c.loaded);
  }
}

// Every byte arrives, in order, however the reads are cut.
TEST(AppHostConfigFileFault, ShortReadsKeepEveryByte) {
  std::string bytes;
  for (int i = 0; i < 70000; ++i)
    bytes += static_cast<char>(i * 7 % 256);
  for (const std::size_t chunk : {1u, 7u, 4096u, 65537u}) {
    Fault fault{chunk, true};
    Arm(fault, ::testing::TempDir() + "short.bin", bytes);
    EXPECT_EQ(LoadFile(fault.path).value_or(std::vector<char>()), std::vector<char>(bytes.begin(), bytes.end())) << chunk;
    g_fault.store(nullptr);
  }
}

}  // namespace
}  // namespace Zel

// Default visibility, so that it is exported and takes the place of the C
// library's read() for the shared libraries too.
extern "C" __attribute__((visibility("default"))) ssize_t read(int fd, void* buffer, std::size_t count) {
  Zel::Fault* const fault = Zel::g_fault.load();
  struct stat status {};
  if (fault == nullptr || ::fstat(fd, &status) != 0 || status.st_dev != fault->file.st_dev || status.st_ino != fault->file.st_ino)
    return Zel::NextRead()(fd, buffer, count);
  ++fault->reads;
  if (fault->removeAtFirstRead && fault->reads == 1)
    ::unlink(fault->path.c_str());
  if (fault->interrupt && fault->reads % 2 == 1)
    return errno = EINTR, -1;
  if (fault->delivered >= fault->failAt)
    return errno = EIO, -1;
  if (fault->chunk != 0 && count > fault->chunk)
    count = fault->chunk;
  if (fault->failAt != Zel::kEndless && count > fault->failAt - fault->delivered)
    count = fault->failAt - fault->delivered;
  ssize_t got = Zel::NextRead()(fd, buffer, count);
  if (got == 0 && fault->delivered < fault->length) {  // the file's end: pad up to the length
    got = static_cast<ssize_t>(std::min(count, fault->length - fault->delivered));
    std::memset(buffer, ' ', static_cast<std::size_t>(got));
  }
  if (got > 0)
    fault->delivered += static_cast<std::size_t>(got);
  return got;
}
