// The configuration file read under a fault-injecting read(): this program
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
  std::string path;                // the file whose reads misbehave
  std::size_t chunk = 0;           // at most this many bytes per read (0: as many as asked)
  bool interrupt = false;          // every other read fails with EINTR before reading
  std::size_t failAt = kEndless;   // EIO once this many bytes were delivered
  bool removeAtFirstRead = false;  // the file is unlinked before the first read
  // The file reads as this long (kEndless: never ends): its bytes, then
  // spaces, although it does not grow on disk.
  std::size_t length = 0;

  // Filled in by Arm() and the reads.
  dev_t device = 0;
  ino_t inode = 0;
  unsigned int reads = 0;
  std::size_t delivered = 0;
};

std::atomic<Fault*> g_fault{nullptr};

// Arms `fault` for the lifetime of the object.
class Armed {
 public:
  explicit Armed(Fault& fault) {
    struct stat status {};
    EXPECT_EQ(::stat(fault.path.c_str(), &status), 0) << fault.path;
    fault.device = status.st_dev;
    fault.inode = status.st_ino;
    g_fault.store(&fault);
  }
  ~Armed() { g_fault.store(nullptr); }
  Armed(const Armed&) = delete;
  Armed& operator=(const Armed&) = delete;
};

using ReadFunction = ssize_t (*)(int, void*, std::size_t);

ReadFunction NextRead() {
  static const auto next = reinterpret_cast<ReadFunction>(::dlsym(RTLD_NEXT, "read"));
  return next;
}

ssize_t FaultyRead(Fault& fault, int fd, void* buffer, std::size_t count) {
  ++fault.reads;
  if (fault.removeAtFirstRead && fault.reads == 1)
    ::unlink(fault.path.c_str());
  if (fault.interrupt && fault.reads % 2 == 1) {
    errno = EINTR;
    return -1;
  }
  if (fault.delivered >= fault.failAt) {
    errno = EIO;
    return -1;
  }
  if (fault.chunk != 0 && count > fault.chunk)
    count = fault.chunk;
  if (fault.failAt != kEndless && count > fault.failAt - fault.delivered)
    count = fault.failAt - fault.delivered;
  ssize_t got = NextRead()(fd, buffer, count);
  if (got == 0 && fault.delivered < fault.length) {  // the file's end: pad up to the length
    got = static_cast<ssize_t>(std::min(count, fault.length - fault.delivered));
    std::memset(buffer, ' ', static_cast<std::size_t>(got));
  }
  if (got > 0)
    fault.delivered += static_cast<std::size_t>(got);
  return got;
}

}  // namespace
}  // namespace Zel

// Default visibility, so that it is exported and takes the place of the C
// library's read() for the shared libraries too.
extern "C" __attribute__((visibility("default"))) ssize_t read(int fd, void* buffer, std::size_t count) {
  Zel::Fault* const fault = Zel::g_fault.load();
  struct stat status {};
  if (fault == nullptr || ::fstat(fd, &status) != 0 || status.st_dev != fault->device ||
      status.st_ino != fault->inode) {
    return Zel::NextRead()(fd, buffer, count);
  }
  return Zel::FaultyRead(*fault, fd, buffer, count);
}

namespace Zel {
namespace {

const std::string kContent = "<ZelAppHostConfig WithoutKNX='1'/>";

TEST(AppHostConfigFileFault, ReadsThatMisbehave) {
  struct Case {
    const char* label;
    Fault fault;
    bool loaded;  // else: cannot be read, nothing changed
  };
  const auto with = [](auto set) {
    Fault fault;
    set(fault);
    return fault;
  };
  const Case cases[] = {
      {"short reads of 3 bytes", with([](Fault& f) { f.chunk = 3; }), true},
      {"short reads of 1 byte, interrupted", with([](Fault& f) { f.chunk = 1, f.interrupt = true; }), true},
      {"removed between open and read", with([](Fault& f) { f.removeAtFirstRead = true; }), true},
      {"read error at the start", with([](Fault& f) { f.failAt = 0; }), false},
      {"read error after 10 bytes", with([](Fault& f) { f.failAt = 10, f.chunk = 4; }), false},
      {"grows to 1 MiB while read", with([](Fault& f) { f.length = kMiB; }), true},
      {"grows past 1 MiB while read", with([](Fault& f) { f.length = kMiB + 1; }), false},
      {"never ends", with([](Fault& f) { f.length = kEndless; }), false},
      {"never ends, in short reads", with([](Fault& f) { f.length = kEndless, f.chunk = 4096; }), false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    Fault fault = c.fault;
    fault.path = ::testing::TempDir() + "fault.xml";
    std::ofstream(fault.path, std::ios::binary | std::ios::trunc) << kContent;
    AppHostConfiguration config;
    Tests::LogCapture log;
    {
      const Armed armed(fault);
      config.LoadConfigurationFile(fault.path);
    }
    EXPECT_GT(fault.reads, 0u);
    EXPECT_LE(fault.delivered, kMiB + 4096);  // nothing read beyond the bound
    EXPECT_EQ(config.IsAppHostWithoutKNX(), c.loaded);
    if (c.loaded) {
      EXPECT_TRUE(log.Empty());
    } else {
      EXPECT_TRUE(log.Equals({Tests::Error("App host config file cannot be read from: \"" + fault.path + "\"")}));
    }
    ::unlink(fault.path.c_str());
  }
}

// Every byte arrives, in order, however the reads are cut.
TEST(AppHostConfigFileFault, ShortReadsKeepEveryByte) {
  std::string bytes;
  for (int i = 0; i < 70000; ++i)
    bytes += static_cast<char>(i * 7 % 256);
  for (const std::size_t chunk : {1u, 7u, 4096u, 65537u}) {
    Fault fault;
    fault.path = ::testing::TempDir() + "short.bin";
    fault.chunk = chunk;
    fault.interrupt = true;
    std::ofstream(fault.path, std::ios::binary | std::ios::trunc) << bytes;
    const Armed armed(fault);
    EXPECT_EQ(LoadFile(fault.path).value_or(std::vector<char>()), std::vector<char>(bytes.begin(), bytes.end()))
        << chunk;
  }
}

}  // namespace
}  // namespace Zel
