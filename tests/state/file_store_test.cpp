#include "state/file_store.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "platform/file_lock.h"
#include "state/globals.h"
#include "tests/support/test_directory.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

constexpr unsigned kLongestChildSeconds = 60;

template <typename Body>
pid_t startChild(const Body& body) {
  const pid_t child = fork();
  if (child != 0) return child;
  alarm(kLongestChildSeconds);
  _exit(body() ? 0 : 1);
}

int endOf(pid_t child) {
  int status = -1;
  return waitpid(child, &status, 0) == child ? status : -1;
}

int count(const std::optional<std::string>& text) { return text ? std::stoi(*text) : 0; }

bool increment(FileStore& store, const std::string& name) {
  return store.update(name, [](const auto& old) { return std::to_string(count(old) + 1); });
}

bool isRunning(pid_t child) {
  siginfo_t info{};
  const int options = WEXITED | WNOHANG | WNOWAIT;
  return waitid(P_PID, static_cast<id_t>(child), &info, options) == 0 && info.si_pid == 0;
}

std::string compactText(const std::string& path) {
  const JsonTree root = FileStore::parse(readBytes(path));
  const JsonText text(root ? jsonPrintUnformatted(root.get()) : nullptr);
  return text ? text.get() : "no store";
}

TEST(FileStore, LosesNoUpdateOfProcessesAndThreads) {
  constexpr int kThreads = 3;
  constexpr int kUpdates = 25;
  const TestDirectory directory;
  const std::string path = directory.path("new/folder/store.json");

  const auto hammer = [&path](int process) {
    constexpr std::chrono::seconds kWait{5};  // for a slow disk under the others
    FileStore shared(path, kWait);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&, t] {
        // Instances in several libraries of one process do not share an object.
        FileStore own(path, kWait);
        FileStore& store = t == 0 ? own : shared;
        const std::string name = std::to_string(process) + "." + std::to_string(t);
        for (int i = 0; i < kUpdates; ++i) {
          failures += increment(store, "all") ? 0 : 1;
          failures += increment(store, name) ? 0 : 1;
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    return failures == 0;
  };
  const pid_t children[] = {startChild([&] { return hammer(0); }),
                            startChild([&] { return hammer(1); })};
  for (const pid_t child : children) EXPECT_EQ(endOf(child), 0);

  FileStore store(path);
  EXPECT_EQ(count(store.read("all")), 2 * kThreads * kUpdates);
  for (const char* const name : {"0.0", "0.1", "0.2", "1.0", "1.1", "1.2"}) {
    EXPECT_EQ(count(store.read(name)), kUpdates) << name;
  }
}

TEST(FileStore, HoldsACommittedTextWheneverItsWriterIsKilled) {
  struct Progress {
    std::atomic<int> begun{0};
    std::atomic<int> done{0};
  };
  void* const memory =
      mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  auto* const progress = new (memory) Progress;
  const TestDirectory directory;
  const std::string path = directory.path("store.json");
  FileStore store(path);
  ASSERT_TRUE(store.write("other", std::string(20'000, 'x')));

  const unsigned seed = std::random_device()();
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);
  for (int round = 0; round < 20; ++round) {
    const int before = progress->done;
    const pid_t child = startChild([&] {
      FileStore own(path);
      for (int i = progress->begun + 1;; ++i) {
        progress->begun = i;
        if (!own.write("value", std::to_string(i))) return false;
        progress->done = i;
      }
    });
    // Not before it has been at work, then at any moment of an update.
    while (progress->done == before && isRunning(child)) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
    kill(child, SIGKILL);
    ASSERT_EQ(WTERMSIG(endOf(child)), SIGKILL);
    const int value = count(store.read("value"));
    ASSERT_GE(value, progress->done);
    ASSERT_LE(value, progress->begun);
    ASSERT_EQ(store.read("other"), std::string(20'000, 'x'));
  }
  EXPECT_TRUE(store.write("value", "free again")) << store.takeNotice();
  munmap(memory, sizeof(Progress));
}

TEST(FileStore, KeepsWhatIsNotItsOwn) {
  const TestDirectory directory;
  const std::string path = directory.path("store.json");
  const std::string before =
      R"({ "map":5,"map":"old","Map":"case" , "list":[0.1234567891,{"a":null}],"":"",
         "text":"a\"\\\u00e9\n}" })";
  writeBytes(path, before);
  FileStore store(path);
  EXPECT_EQ(store.read("map"), "old");
  EXPECT_EQ(store.read("text"), "a\"\\\u00e9\n}");
  for (const char* const name : {"", "list", "MAP", "a", "absent"}) {
    EXPECT_EQ(store.read(name), std::nullopt) << name;
  }

  std::optional<std::string> seen = "nothing";
  const auto look = [&seen](const std::optional<std::string>& old) {
    seen = old;
    return std::optional<std::string>();
  };
  EXPECT_TRUE(store.update("", look));
  EXPECT_EQ(seen, std::nullopt);
  EXPECT_TRUE(store.write("map", "old"));
  EXPECT_EQ(readBytes(path), before) << "nothing to write";

  EXPECT_TRUE(store.write("map", "new\x01\xff"));
  EXPECT_TRUE(store.write("fresh", "x"));
  EXPECT_TRUE(store.write("Map", ""));
  EXPECT_EQ(compactText(path), R"({"map":5,"map":"new\u0001)"
                               "\xff"
                               R"(","Map":"","list":[0.1234567891,{"a":null}],"":"","text":"a\"\\)"
                               "\u00e9"
                               R"(\n}","fresh":"x"})");
  EXPECT_EQ(store.read("Map"), std::nullopt);
  EXPECT_EQ(store.takeNotice(), "");
}

TEST(FileStore, MovesForeignFilesAsideAndTellsWhere) {
  const std::string zero(1, '\0');
  const std::string tooLarge = R"({"a":")" + std::string(kMostDocumentBytes, 'x') + "\"}";
  const Texts foreign = {R"({"a":"1")",     R"({"a":"1)", "[\"a\"]",
                         "\"text\"",        "a = 1\n",    " ",
                         R"({"a":"1"} x)",  tooLarge,     R"({"a":"1"}{"b":"2"})",
                         "{\"a\":1e999}",   "{}" + zero,  "{\"a\":\"1\"}" + zero + "{}",
                         "{\"a\":\"1\"}\n}"};
  for (const std::string& bytes : foreign) {
    SCOPED_TRACE(bytes.substr(0, 40));
    const TestDirectory directory;
    const std::string path = directory.path("store.json");
    writeBytes(path, bytes);
    FileStore store(path);
    EXPECT_EQ(store.read("a"), std::nullopt);
    EXPECT_TRUE(store.update("a", [](const auto&) { return std::optional<std::string>(); }));
    EXPECT_TRUE(readBytes(path) == bytes) << "touched before anything was to be written";

    EXPECT_TRUE(store.write("a", "2"));
    EXPECT_EQ(compactText(path), R"({"a":"2"})");
    EXPECT_TRUE(readBytes(path + ".kept") == bytes);
    EXPECT_EQ(directory.names(), (Texts{"store.json", "store.json.kept", "store.json.lock"}));
    const std::string notice = store.takeNotice();
    EXPECT_NE(notice.find(path + " "), std::string::npos) << notice;
    EXPECT_NE(notice.find(path + ".kept,"), std::string::npos) << notice;
    EXPECT_EQ(store.takeNotice(), "");
  }
}

TEST(FileStore, MovesAsideWhatIsNoFileAndReplacesNothingKept) {
  const TestDirectory directory;
  const std::string path = directory.path("store.json");
  fs::create_directories(path + "/inside");
  writeBytes(path + ".kept", "older");
  fs::create_symlink("nowhere", path + ".kept-2");
  FileStore store(path);
  EXPECT_TRUE(store.write("a", "1"));
  EXPECT_TRUE(fs::is_directory(path + ".kept-3/inside"));
  fs::remove(path);
  fs::create_symlink("store.json", path);  // a circle
  EXPECT_TRUE(store.write("a", "2"));
  EXPECT_TRUE(fs::is_symlink(path + ".kept-4"));
  EXPECT_EQ(readBytes(path + ".kept"), "older");
  EXPECT_EQ(fs::read_symlink(path + ".kept-2"), "nowhere");

  // An empty file and a link to a store are not foreign.
  fs::rename(path, directory.path("linked"));
  fs::create_symlink("linked", path);
  EXPECT_TRUE(store.write("b", "3"));
  EXPECT_TRUE(fs::is_symlink(path));
  EXPECT_EQ(compactText(directory.path("linked")), R"({"a":"2","b":"3"})");
  writeBytes(path, "");
  EXPECT_TRUE(store.write("c", "4"));
  EXPECT_EQ(compactText(path), R"({"c":"4"})");
  EXPECT_FALSE(fs::exists(path + ".kept-5"));
}

// Writes fail while it lives, as on a full disk.
class FullDisk {
 public:
  FullDisk() : oldHandler(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit none = {0, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &none);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit old{};
  void (*oldHandler)(int);
};

TEST(FileStore, FailsWithANoticeAndChangesNothing) {
  const TestDirectory directory;
  writeBytes(directory.path("file"), "bytes");
  FileStore nowhere("");
  FileStore belowFile(directory.path("file/store.json"));
  for (FileStore* const store : {&nowhere, &belowFile}) {
    EXPECT_EQ(store->read("a"), std::nullopt);
    EXPECT_FALSE(store->write("a", "1"));
    EXPECT_NE(store->takeNotice(), "");
    EXPECT_EQ(store->takeNotice(), "");
  }
  EXPECT_EQ(directory.names(), Texts{"file"});

  const std::string zero(1, '\0');
  const std::string tooLarge(kMostDocumentBytes, 'x');
  for (const std::string& before : {std::string(R"({"a":"1"})"), std::string("foreign")}) {
    const TestDirectory own;
    const std::string path = own.path("store.json");
    writeBytes(path, before);
    FileStore store(path);
    EXPECT_FALSE(store.write("a", zero));
    EXPECT_FALSE(store.write(zero, "2"));
    EXPECT_FALSE(store.write("a", tooLarge));
    {
      const FullDisk disk;
      EXPECT_FALSE(store.write("a", "2"));
    }
    EXPECT_NE(store.takeNotice().find(path), std::string::npos);
    EXPECT_EQ(readBytes(path), before);
    EXPECT_EQ(own.names(), (Texts{"store.json", "store.json.lock"}));
  }
}

TEST(FileStore, TellsOfAFailureOnceUntilSomethingIsWritten) {
  const TestDirectory directory;
  writeBytes(directory.path("folder"), "in the way");
  FileStore store(directory.path("folder/store.json"));
  for (int round = 0; round < 2; ++round) {
    for (int attempt = 0; attempt < 3; ++attempt) {
      EXPECT_FALSE(store.write("a", std::string(1, '\0')));
      EXPECT_EQ(store.takeNotice().empty(), attempt > 0) << round << ' ' << attempt;
    }
    if (round == 0) std::filesystem::remove(directory.path("folder"));
    EXPECT_TRUE(store.write("a", std::to_string(round)));
    EXPECT_EQ(store.takeNotice(), "");
  }
}

TEST(FileStore, AForeignLockCostsAFirstInstanceNothingAndAChangeLittle) {
  const TestDirectory directory;
  const std::string path = directory.path("store.json");
  FileStore store(path);
  ASSERT_TRUE(store.write("a", "1"));
  FileLock other;
  ASSERT_FALSE(other.lock(path + ".lock", FileStore::kBriefWait));
  const auto secondsOf = [](const auto& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  };
  std::optional<Globals> globals;
  EXPECT_LT(secondsOf([&] {
              globals.emplace(store);
              globals->initGlobals(R"({"A":{"value":3},"B":{"value":4}})");
            }),
            0.2);
  EXPECT_EQ(globals->getGlobal("A"), 3);
  EXPECT_EQ(store.takeNotice(), "") << "nothing is lost";
  EXPECT_LT(secondsOf([&] { globals->setGlobal("A", 5); }), 1.0);
  EXPECT_NE(store.takeNotice().find("locked"), std::string::npos);
  EXPECT_EQ(store.read("a"), "1") << "reading waits for nobody";
  static_cast<void>(other.lock(directory.path("elsewhere"), FileStore::kBriefWait));
  globals->setGlobal("B", 6);
  EXPECT_EQ(store.read("globals"), R"({"A":5,"B":6})");
}

}  // namespace
